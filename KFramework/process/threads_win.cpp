#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"

#include <atomic>
#include <process.h>

namespace KFramework::KProcesses
{
namespace
{
struct start_record
{
    void* data;
    KThreadObject* owner;
};
} // namespace

KThreadObject* SpawnThread(unsigned int (*routine)(void*), void* data)
{
    auto* const thread = new KThreadObject;
    auto* const start = new start_record{data, thread};
    thread->threadHandle = reinterpret_cast<void*>(::_beginthreadex(nullptr, 0, routine, start, 0, nullptr));
    return thread;
}

void* GetThreadData(void* startRecord)
{
    return static_cast<start_record*>(startRecord)->data;
}

void EndThread(int exitCode, void* startRecord)
{
    auto* const start = static_cast<start_record*>(startRecord);
    std::atomic_ref(start->owner->exitCode).store(exitCode);
    std::atomic_ref(start->owner->ended).store(true);
    delete start;
}

int CheckJoinableThread(KThreadObject* thread)
{
    return std::atomic_ref(thread->ended).load() ? 1 : 0;
}

int JoinThread(KThreadObject* thread, int timeoutMs, bool* timedOut)
{
    const DWORD waited = ::WaitForSingleObject(thread->threadHandle,
                                               timeoutMs == 0 ? INFINITE : static_cast<DWORD>(timeoutMs));
    if (waited == WAIT_TIMEOUT)
    {
        if (timedOut != nullptr)
            *timedOut = true;
        return 0;
    }
    kf::platform::guarded_close(thread->threadHandle);
    const int code = waited == WAIT_OBJECT_0 ? std::atomic_ref(thread->exitCode).load() : -1;
    delete thread;
    return code;
}

int TerminateThread(KThreadObject* thread)
{
    return ::TerminateThread(thread->threadHandle, 0xFFFFFFFF);
}

unsigned long long GetCurrentThread()
{
    return ::GetCurrentThreadId();
}
} // namespace KFramework::KProcesses
