/// Starting, stopping and flushing the background writer.

#include "KFramework/logger/detached_lines.h"
#include "KFramework/logger/rotation_win.h"
#include "KFramework/logger/write_line_win.h"

#include <cstdio>
#include <utility>

namespace kf::logger
{
using namespace KFramework::KProcesses;

namespace
{
class line_writer final : public writer_port
{
public:
    explicit line_writer(CKLoggerInstance& logger) : logger_(logger) {}

    void write(std::string& line) override
    {
        const std::size_t size = line.size();
        line.resize(size + 2);
        write_line(logger_, {line.data(), size}, false);
    }

    void flush_console() override
    {
        if (wants_console(logger_))
            std::fflush(stdout);
    }

private:
    CKLoggerInstance& logger_;
};

unsigned int writer_routine(void* start_record)
{
    CKLoggerInstance& logger = *static_cast<CKLoggerInstance*>(GetThreadData(start_record));
    line_writer port(logger);
    run_writer(logger, port);
    EndThread(0, start_record);
    return 0;
}

void start_writer(CKLoggerInstance& logger)
{
    const mutex_lock queue(logger.queueMutex); // which the new thread takes first
    const mutex_lock write(logger.writeMutex);
    if (load(logger.detached))
        return;
    store(logger.stopRequested, false);
    KThreadObject* const thread = SpawnThread(&writer_routine, &logger);
    if (thread->threadHandle == nullptr)
    {
        JoinThread(thread, 0, nullptr); // only frees the record
        return;                         // and the logger stays direct
    }
    logger.writerThread = thread;
    logger.hidden->writer.running = true;
    store(logger.detached, true);
}

void stop_writer(CKLoggerInstance& logger)
{
    KThreadObject* thread;
    {
        const mutex_lock lock(logger.writeMutex);
        thread = std::exchange(logger.writerThread, nullptr);
    }
    if (thread == nullptr)
        return; // not detached, or another thread is already stopping it

    // Without the write mutex, which the writer may be waiting for.
    request_stop(logger);
    JoinThread(thread, 0, nullptr);
    const mutex_lock lock(logger.writeMutex);
    store(logger.detached, false);
}
} // namespace
} // namespace kf::logger

namespace KFramework::KLogger
{
void SetLoggerDetachedStatus(CKLoggerInstance* logger, bool detached)
{
    if (kf::logger::in_rotation_callback(*logger))
        return; // holds the write mutex, and may be the writer that would be joined
    if (detached)
        kf::logger::start_writer(*logger);
    else
        kf::logger::stop_writer(*logger);
}

void FlushDetachedThread(CKLoggerInstance* logger)
{
    if (kf::logger::load(logger->detached) && !kf::logger::in_rotation_callback(*logger))
        kf::logger::wait_until_drained(*logger);
}
} // namespace KFramework::KLogger
