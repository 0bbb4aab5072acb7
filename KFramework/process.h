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

/// A started thread. Made by SpawnThread, freed by the JoinThread that sees its end.
struct KThreadObject
{
    void* threadHandle = nullptr; ///< null when the thread could not be started
    bool ended = false;           ///< set by EndThread; read it through CheckJoinableThread
    std::int32_t exitCode = 0;    ///< the code given to EndThread
    void* hidden = nullptr;       ///< the library's own
};

/// A condition variable and the mutex it is used with. Made by CreateConditional, freed by
/// DestroyConditional.
struct KConditional
{
    boost::mutex* mutex = nullptr; ///< not owned
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
//
// A routine calls GetThreadData on its argument first and EndThread on it last, once, and returns:
//
//   unsigned int count(void* start)
//   {
//       auto* const job = static_cast<job_data*>(GetThreadData(start));
//       const int code = job->run();
//       EndThread(code, start);
//       return 0;
//   }

/// Starts a thread at once, with the system's own security and stack size.
///
/// @param routine  runs in the new thread; receives the thread's start record.
/// @param data     given to the routine by GetThreadData; stays the caller's.
/// @return  the thread's record, never null.
/// @owns    the caller frees the record with JoinThread.
/// @threads any.
/// @kept    spawn-always-a-record: when the thread cannot be started (or routine is null) there is a record
///          all the same; its threadHandle is null, and JoinThread gives -1.
KFRAMEWORK_API KThreadObject* SpawnThread(unsigned int (*routine)(void*), void* data);

/// The data given to SpawnThread.
///
/// @param startRecord  the routine's argument; null gives null.
KFRAMEWORK_API void* GetThreadData(void* startRecord);

/// Marks the end of the calling routine, which then returns; the thread does not end here.
///
/// @param exitCode     what JoinThread gives.
/// @param startRecord  the routine's argument, no longer usable afterwards; null does nothing.
KFRAMEWORK_API void EndThread(int exitCode, void* startRecord);

/// Whether a join will not have to wait.
///
/// @return  1 once the routine has called EndThread; 0 before, for a killed thread, for one that never
///          started and for null.
/// @threads any, until the record is freed.
KFRAMEWORK_API int CheckJoinableThread(KThreadObject* thread);

/// Waits for a thread to end, and frees its record.
///
/// @param thread     null gives -1.
/// @param timeoutMs  in milliseconds; a negative value counts as its unsigned 32-bit one, so -1 is no limit
///                   too.
/// @param timedOut   set to true when the time is over and not touched otherwise; may be null.
/// @return  the code given to EndThread (0 when the routine called none or was killed); 0 when the time is
///          over; -1 when the wait failed.
/// @owns    the record is freed unless the time is over. After a failed wait the thread may still run and
///          call EndThread; what it needs for that stays until then.
/// @threads one join at a time.
/// @kept    join-zero-waits: a timeoutMs of 0 waits without limit.
/// @kept    join-keeps-record: when the time is over the record stays, for another join or TerminateThread.
/// @kept    join-marked-code: what the routine returns, the system's exit code, is never given.
KFRAMEWORK_API int JoinThread(KThreadObject* thread, int timeoutMs, bool* timedOut);

/// Kills a thread with the system's exit code 0xFFFFFFFF. What the thread has locked stays locked.
///
/// @return  the system's result, not 0 on success; 0 for null and for a thread that never started.
/// @kept    kill-keeps-record: record and handle stay until JoinThread.
KFRAMEWORK_API int TerminateThread(KThreadObject* thread);

/// The calling thread's id.
///
/// @kept    current-thread-id: an id and no handle, unlike the system's function of this name.
KFRAMEWORK_API unsigned long long GetCurrentThread();

// --- mutexes ---------------------------------------------------------------
//
// Null is taken everywhere: destroying it does nothing, locking and unlocking it do nothing, trying it fails.
// No mutex is recursive. Only exhausted memory or system objects make a Create function throw
// (std::bad_alloc).

/// A new unlocked mutex.
///
/// @owns    the caller frees it with DestroyMutex.
/// @kept    create-mutex-w: the name ends in W, as the system's headers rename CreateMutex.
KFRAMEWORK_API boost::mutex* CreateMutexW();

/// Frees a mutex that nobody holds or waits for.
///
/// @return  always true.
/// @kept    destroy-always-true: all three Destroy functions give true, for null too.
KFRAMEWORK_API bool DestroyMutex(boost::mutex* mutex);

/// Waits for the mutex and takes it.
KFRAMEWORK_API void LockMutex(boost::mutex* mutex);

/// Takes the mutex when it is free; never waits.
///
/// @return  false when another thread, or the caller, holds it.
KFRAMEWORK_API bool TryLockMutex(boost::mutex* mutex);

/// Gives the mutex back.
KFRAMEWORK_API void UnlockMutex(boost::mutex* mutex);

/// A new unlocked mutex that one writer or many readers hold.
///
/// @owns    the caller frees it with DestroySharedMutex.
KFRAMEWORK_API boost::shared_mutex* CreateSharedMutex();

/// As DestroyMutex.
KFRAMEWORK_API bool DestroySharedMutex(boost::shared_mutex* mutex);

/// Waits for exclusive use and takes it.
KFRAMEWORK_API void LockMutex(boost::shared_mutex* mutex);

/// Takes exclusive use when nobody else holds the mutex; never waits.
KFRAMEWORK_API bool TryLockMutex(boost::shared_mutex* mutex);

/// Gives exclusive use back.
KFRAMEWORK_API void UnlockMutex(boost::shared_mutex* mutex);

/// Waits for shared use and takes it.
KFRAMEWORK_API void LockSharedMutex(boost::shared_mutex* mutex);

/// Takes shared use unless someone holds the mutex exclusively or waits to; never waits.
KFRAMEWORK_API bool TryLockSharedMutex(boost::shared_mutex* mutex);

/// Gives shared use back.
KFRAMEWORK_API void UnlockSharedMutex(boost::shared_mutex* mutex);

/// A new condition variable.
///
/// @param mutex  used by every wait; stays the caller's and outlives the condition.
/// @owns    the caller frees it with DestroyConditional.
KFRAMEWORK_API KConditional* CreateConditional(boost::mutex* mutex);

/// Frees a condition variable that nobody waits on; its mutex stays.
///
/// @return  always true.
KFRAMEWORK_API bool DestroyConditional(KConditional* conditional);

/// Waits until signalled. The caller holds the mutex; it is free during the wait and the caller's again
/// afterwards.
///
/// @return  always true.
/// @kept    wait-spurious: the wait may end without a signal; the caller tests what it waits for, in a loop.
KFRAMEWORK_API bool WaitConditional(KConditional* conditional);

/// As WaitConditional, for a limited time. Setting the system's clock does not change the wait.
///
/// @param timeoutMs  in milliseconds; 0 and less do not wait.
/// @return  true when signalled (or woken without a signal), false when the time is over.
KFRAMEWORK_API bool WaitTimedConditional(KConditional* conditional, int timeoutMs);

/// Wakes one waiter.
///
/// @return  always true.
KFRAMEWORK_API bool SignalConditional(KConditional* conditional);

/// Wakes every waiter.
///
/// @return  always true.
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
