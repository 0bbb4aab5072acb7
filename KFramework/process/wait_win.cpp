#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/process.h"

#include <ctime>

namespace kf::process
{
namespace
{
constexpr DWORD kLongestWaitMs = 500;
constexpr UINT kTerminatedCode = 0; // KEPT[terminate-code]: looks like success to whoever asks

bool signalled(HANDLE process)
{
    return ::WaitForSingleObject(process, 0) != WAIT_TIMEOUT;
}

/// Whether a process has ended. 259 is also a code that a process may end with,
/// so then its handle decides.
bool has_ended(HANDLE process, DWORD& exit_code)
{
    if (exit_code != STILL_ACTIVE)
        return true;
    if (!signalled(process))
        return false;
    ::GetExitCodeProcess(process, &exit_code); // it may have ended since the code was read
    return true;
}
} // namespace
} // namespace kf::process

namespace KFramework::KProcesses
{
int WaitProcess(KProcess* process, bool wait, int timeoutSeconds, unsigned long& exitCode)
{
    enum : int
    {
        running = 0,
        ended = 1,
        timedOut = 2
    };
    const long long start = ::_time64(nullptr);
    for (;;)
    {
        exitCode = 0;
        if (process == nullptr || !::GetExitCodeProcess(process->processHandle, &exitCode))
        {
            exitCode = 0;
            return ended;
        }
        // KEPT[wait-time-out-first]: a process that ended in that second counts as timed out.
        if (wait && timeoutSeconds != 0 && ::_time64(nullptr) - start >= timeoutSeconds)
            return timedOut;
        if (kf::process::has_ended(process->processHandle, exitCode))
            return ended;
        if (!wait)
            return running;
        ::WaitForSingleObject(process->processHandle, kf::process::kLongestWaitMs);
    }
}

void TerminateProcess(KProcess* process, bool ignored)
{
    if (process != nullptr)
        TerminateProcess(static_cast<unsigned long>(process->processId), ignored);
}

void TerminateProcess(unsigned long pid, bool)
{
    // KEPT[terminate-tree]: one process, whatever the flag.
    const kf::platform::unique_handle process(::OpenProcess(PROCESS_TERMINATE, FALSE, pid));
    if (process)
        ::TerminateProcess(process.get(), kf::process::kTerminatedCode);
}

bool CloseProcess(KProcess* process)
{
    if (process == nullptr)
        return false;
    const bool processClosed = kf::platform::guarded_close(process->processHandle);
    const bool threadClosed = kf::platform::guarded_close(process->threadHandle);
    delete process;
    return processClosed && threadClosed;
}
} // namespace KFramework::KProcesses
