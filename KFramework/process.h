#pragma once

#include "KFramework/export.h"

#include <boost/thread/condition_variable.hpp>

#include <cstdint>
#include <map>
#include <string>

namespace boost
{
class mutex;
class shared_mutex;
} // namespace boost

namespace KClientLib
{
struct KEnvironment
{
    std::map<std::string, std::string> variables;
};
} // namespace KClientLib

namespace KFramework::KProcesses
{
// --- records -------------------------------------------------------------

struct KThreadObject
{
    void* threadHandle = nullptr;
    bool ended = false;
    std::int32_t exitCode = 0;
    void* hidden = nullptr;
};

struct KConditional
{
    boost::mutex* mutex = nullptr;
    boost::condition_variable condition;
};

struct KPipesHandles
{
    void* stdoutRead = nullptr;
    void* stdinWrite = nullptr;
    void* stderrRead = nullptr;
    void* stdinRead = nullptr;
    void* stdoutWrite = nullptr;
    void* stderrWrite = nullptr;
    bool mergeStdErr = false;
};

struct KPipeReader
{
    boost::mutex* mutex = nullptr;
    KThreadObject* thread = nullptr;
    bool stopRequested = false;
    bool abortRequested = false;
    void* pipe = nullptr;
    int detectUnicode = 0;
    std::string text; // guarded by mutex
};

struct KProcess
{
    void* processHandle = nullptr;
    void* threadHandle = nullptr;
    std::uint32_t processId = 0;
    std::uint32_t threadId = 0;
    KPipesHandles* pipes = nullptr;
};

// --- threads ---------------------------------------------------------------

KFRAMEWORK_API KThreadObject* SpawnThread(unsigned int (*routine)(void*), void* data);
KFRAMEWORK_API void* GetThreadData(void* startRecord);
KFRAMEWORK_API void EndThread(int exitCode, void* startRecord);
KFRAMEWORK_API int CheckJoinableThread(KThreadObject* thread);
KFRAMEWORK_API int JoinThread(KThreadObject* thread, int timeoutMs, bool* timedOut);
KFRAMEWORK_API int TerminateThread(KThreadObject* thread);
KFRAMEWORK_API unsigned long long GetCurrentThread();

// --- mutexes ---------------------------------------------------------------

KFRAMEWORK_API boost::mutex* CreateMutexW();
KFRAMEWORK_API bool DestroyMutex(boost::mutex* mutex);
KFRAMEWORK_API void LockMutex(boost::mutex* mutex);
KFRAMEWORK_API bool TryLockMutex(boost::mutex* mutex);
KFRAMEWORK_API void UnlockMutex(boost::mutex* mutex);

KFRAMEWORK_API boost::shared_mutex* CreateSharedMutex();
KFRAMEWORK_API bool DestroySharedMutex(boost::shared_mutex* mutex);
KFRAMEWORK_API void LockMutex(boost::shared_mutex* mutex);
KFRAMEWORK_API bool TryLockMutex(boost::shared_mutex* mutex);
KFRAMEWORK_API void UnlockMutex(boost::shared_mutex* mutex);
KFRAMEWORK_API void LockSharedMutex(boost::shared_mutex* mutex);
KFRAMEWORK_API bool TryLockSharedMutex(boost::shared_mutex* mutex);
KFRAMEWORK_API void UnlockSharedMutex(boost::shared_mutex* mutex);

KFRAMEWORK_API KConditional* CreateConditional(boost::mutex* mutex);
KFRAMEWORK_API bool DestroyConditional(KConditional* conditional);
KFRAMEWORK_API bool WaitConditional(KConditional* conditional);
KFRAMEWORK_API bool WaitTimedConditional(KConditional* conditional, int timeoutMs);
KFRAMEWORK_API bool SignalConditional(KConditional* conditional);
KFRAMEWORK_API bool BroadcastSignalConditional(KConditional* conditional);

// --- pipes -----------------------------------------------------------------

KFRAMEWORK_API KPipesHandles* CreatePipes(bool mergeStdErr);
KFRAMEWORK_API void DeletePipes(KPipesHandles* pipes, bool closeHandles);
KFRAMEWORK_API void ClosePipeHandle(void* handle);
KFRAMEWORK_API int WritePipe(void* handle, const void* data, unsigned int size);
KFRAMEWORK_API int ReadPipe(void* handle, void* buffer, unsigned int size);
KFRAMEWORK_API bool PeekPipe(void* handle);
KFRAMEWORK_API KPipeReader* CreatePipeReader(void* handle, int detectUnicode);
KFRAMEWORK_API std::string PoolPipeReader(KPipeReader* reader);
KFRAMEWORK_API void TerminatePipeReader(KPipeReader* reader, bool abort);
KFRAMEWORK_API void DestroyPipeReader(KPipeReader* reader);

// --- processes ---------------------------------------------------------------

KFRAMEWORK_API KProcess* SpawnProcess(const char* executable, const char* arguments, const char* workingDirectory,
                                      KPipesHandles* pipes, KClientLib::KEnvironment* environment, int& errorCode,
                                      std::string& errorText, void* userToken);
KFRAMEWORK_API int WaitProcess(KProcess* process, bool wait, int timeoutSeconds, unsigned long& exitCode);
KFRAMEWORK_API void TerminateProcess(KProcess* process, bool ignored);
KFRAMEWORK_API void TerminateProcess(unsigned long pid, bool ignored);
KFRAMEWORK_API bool CloseProcess(KProcess* process);
KFRAMEWORK_API KProcess* ProcessFromPid(unsigned long pid);
KFRAMEWORK_API unsigned long GetProcessPid(KProcess* process);
KFRAMEWORK_API unsigned long GetCurrentProcessPid();

KFRAMEWORK_API char** CreateArgumentsArray(const char* commandLine);
KFRAMEWORK_API void DestroyArray(char** array);
KFRAMEWORK_API char** BuildEnvironmentArray(KClientLib::KEnvironment* environment);
KFRAMEWORK_API char* GetEnvironmentAnsiString(KClientLib::KEnvironment* environment);
KFRAMEWORK_API void* GetEnvironmentWideString(KClientLib::KEnvironment* environment);
KFRAMEWORK_API bool MergeEnvironmentWithBatFile(KClientLib::KEnvironment* environment, const std::string& batchFile,
                                                std::string& errorText);
} // namespace KFramework::KProcesses
