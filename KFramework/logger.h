#pragma once

#include "KFramework/export.h"

#include <cstdint>
#include <ctime>
#include <deque>
#include <string>

namespace boost
{
class mutex;
}

namespace kf::logger
{
struct instance_state;
}

namespace KFramework::KProcesses
{
struct KConditional;
struct KThreadObject;
} // namespace KFramework::KProcesses

namespace KFramework::KLogger
{
struct CKLoggerInstance
{
    std::int32_t level = 0;
    std::int32_t outputFlags = 0;
    bool rotationCompress = false;
    void* fileHandle = nullptr;
    std::string fileName;
    std::string basePath;
    std::string identifier;
    boost::mutex* writeMutex = nullptr;
    boost::mutex* queueMutex = nullptr;
    KProcesses::KConditional* flushConditional = nullptr;
    KProcesses::KThreadObject* writerThread = nullptr;
    std::int32_t rotationMode = 0;
    struct tm logStartTime = {};
    bool detached = false;
    bool stopRequested = false;
    void* rotationCallback = nullptr;
    std::deque<std::string> pendingLines; // guarded by queueMutex
    kf::logger::instance_state* hidden = nullptr;
};

KFRAMEWORK_API void SetLoggerFile(CKLoggerInstance* logger, const char* fileName);
KFRAMEWORK_API void SetLoggerBasePath(CKLoggerInstance* logger, const std::string& folder);
KFRAMEWORK_API void CreateLogger(CKLoggerInstance* logger, int level, int flags);
KFRAMEWORK_API void SetLoggerRotation(CKLoggerInstance* logger, int mode);
KFRAMEWORK_API void SetLoggerRotationCompress(CKLoggerInstance* logger, bool compress);
KFRAMEWORK_API void SetLoggerRotationCallback(CKLoggerInstance* logger, void* callback);
KFRAMEWORK_API void SetLoggerDetachedStatus(CKLoggerInstance* logger, bool detached);
KFRAMEWORK_API void AddLogEntry(CKLoggerInstance* logger, int level, const char* module, const char* format,
                                ...) __attribute__((format(gnu_printf, 4, 5)));
KFRAMEWORK_API void CheckLogRotation(CKLoggerInstance* logger);
KFRAMEWORK_API void FlushDetachedThread(CKLoggerInstance* logger);
KFRAMEWORK_API void DestroyLogger(CKLoggerInstance* logger);
} // namespace KFramework::KLogger
