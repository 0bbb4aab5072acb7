#include <process.h>

#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/platform/last_error_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "KFramework/process/thread_record.h"

namespace
{
constexpr DWORD kKilledExitCode = 0xFFFFFFFF;
constexpr int kJoinFailed = -1;

DWORD wait_milliseconds(int timeoutMs)
{
    // KEPT[join-zero-waits]: 0 is no limit, not a look.
    return timeoutMs == 0 ? INFINITE : static_cast<DWORD>(timeoutMs);
}

void close_thread_handle(void* handle)
{
    const kf::platform::last_error_guard keep;
    if (handle != nullptr)
        kf::platform::guarded_close(handle);
}
} // namespace

namespace KFramework::KProcesses
{
KThreadObject* SpawnThread(unsigned int (*routine)(void*), void* data)
{
    KThreadObject* const thread = kf::process::make_thread_records(data);
    if (routine != nullptr)
    {
        const auto handle = ::_beginthreadex(nullptr, 0, routine, kf::process::start_of(*thread), 0, nullptr);
        thread->threadHandle = reinterpret_cast<void*>(handle);
    }
    // KEPT[spawn-always-a-record]: a failed start shows only in the null handle and in the join.
    if (thread->threadHandle == nullptr)
        kf::process::forget_routine(*thread);
    return thread;
}

int JoinThread(KThreadObject* thread, int timeoutMs, bool* timedOut)
{
    if (thread == nullptr)
        return kJoinFailed;

    switch (::WaitForSingleObject(thread->threadHandle, wait_milliseconds(timeoutMs)))
    {
    case WAIT_TIMEOUT:
        // KEPT[join-keeps-record]: the caller may join again or kill.
        if (timedOut != nullptr)
            *timedOut = true;
        return 0;

    case WAIT_OBJECT_0:
    {
        // KEPT[join-marked-code]: the code given to EndThread, not the system's exit code.
        const int code = kf::process::exit_code_of(*thread);
        close_thread_handle(thread->threadHandle);
        kf::process::free_thread_records(thread);
        return code;
    }

    default:
        close_thread_handle(thread->threadHandle);
        kf::process::abandon_thread(thread);
        return kJoinFailed;
    }
}

int TerminateThread(KThreadObject* thread)
{
    // KEPT[kill-keeps-record]: record and handle stay for the join.
    return thread == nullptr ? FALSE : ::TerminateThread(thread->threadHandle, kKilledExitCode);
}

unsigned long long GetCurrentThread()
{
    return ::GetCurrentThreadId(); // KEPT[current-thread-id]
}
} // namespace KFramework::KProcesses
