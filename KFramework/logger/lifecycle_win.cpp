#include "KFramework/core.h"
#include "KFramework/filesystem.h"
#include "KFramework/logger/detached_lines.h"
#include "KFramework/logger/log_file_win.h"
#include "KFramework/logger/write_line_win.h"

#include <utility>

namespace KFramework::KLogger
{
using namespace KFramework::KProcesses;

void CreateLogger(CKLoggerInstance* logger, int level, int flags)
{
    logger->fileHandle = nullptr;
    logger->identifier = "TZFRAMEWORK"; // KEPT[identifier]
    logger->writeMutex = CreateMutexW();
    logger->queueMutex = CreateMutexW();
    logger->flushConditional = CreateConditional(logger->queueMutex);
    logger->level = level;
    logger->outputFlags = flags;
    logger->detached = false;
    logger->rotationCallback = nullptr; // KEPT[create-keeps-rotation]: mode and compression stay.
    logger->writerThread = nullptr;

    if (logger->basePath.empty())
        logger->basePath = GetModuleBasePath();
    if (logger->fileName.empty())
        logger->fileName = "default.log";
    logger->hidden = new kf::logger::instance_state;
    logger->hidden->writer.wake = CreateConditional(logger->queueMutex);
    logger->hidden->log = {logger->basePath, logger->fileName};

    // KEPT[folder-always]: also for a logger that writes no file.
    if (!KFileSystem::CheckDirectory(logger->basePath))
        KFileSystem::MakeDirectory(logger->basePath, false);

    if (kf::logger::wants_file(*logger))
    {
        const std::string path = logger->hidden->log.path();
        logger->logStartTime = kf::logger::read_start_time(path);
        logger->fileHandle = kf::logger::open_log_file(path);
    }
}

void DestroyLogger(CKLoggerInstance* logger)
{
    if (logger->hidden == nullptr)
        return; // never created, or destroyed already
    if (kf::logger::load(logger->detached))
    {
        FlushDetachedThread(logger);
        SetLoggerDetachedStatus(logger, false);
    }
    // KEPT[destroy-leaves-lines]: lines queued without a writer are not written here.
    DestroyConditional(logger->hidden->writer.wake);
    delete std::exchange(logger->hidden, nullptr);
    DestroyConditional(std::exchange(logger->flushConditional, nullptr));
    DestroyMutex(std::exchange(logger->queueMutex, nullptr));
    DestroyMutex(std::exchange(logger->writeMutex, nullptr));
    if (void* const file = std::exchange(logger->fileHandle, nullptr))
        ::CloseHandle(file);
}
} // namespace KFramework::KLogger
