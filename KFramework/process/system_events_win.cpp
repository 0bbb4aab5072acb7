#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/sessions_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"

#include <powrprof.h>

namespace
{
using kf::platform::last_error_guard;
using kf::platform::session_memory;
using kf::platform::unique_handle;

/// KEPT[event-numbers]
enum system_event
{
    kShutDown = 0,
    kSleep = 1,
    kHibernate = 2,
    kRestart = 3,
    kLogOffAll = 4
};

constexpr const wchar_t* kPrivilege = L"SeShutdownPrivilege";
constexpr DWORD kReason = SHTDN_REASON_MAJOR_APPLICATION | SHTDN_REASON_MINOR_MAINTENANCE;
static_assert(kReason == 0x40001);

/// The process's right to shut the machine down, enabled on request.
class shutdown_privilege
{
public:
    /// False when there is no such right here. One that this process does not hold counts as enabled: what
    /// needs it fails later.
    [[nodiscard]] bool enable()
    {
        TOKEN_PRIVILEGES wanted{};
        wanted.PrivilegeCount = 1;
        wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
        DWORD size = sizeof former_;
        return ::OpenProcessToken(::GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY,
                                  token_.put()) &&
               ::LookupPrivilegeValueW(nullptr, kPrivilege, &wanted.Privileges[0].Luid) &&
               ::AdjustTokenPrivileges(token_.get(), FALSE, &wanted, sizeof former_, &former_, &size);
    }

    /// Puts it back as it was before enable().
    void restore()
    {
        const last_error_guard keep;
        if (former_.PrivilegeCount != 0)
            ::AdjustTokenPrivileges(token_.get(), FALSE, &former_, 0, nullptr, nullptr);
    }

private:
    unique_handle token_;
    TOKEN_PRIVILEGES former_{}; // empty when enabling changed nothing
};

struct event_outcome
{
    bool result; ///< what the caller is told
    bool failed; ///< whether the privilege goes back
};

event_outcome outcome_of(bool worked)
{
    return {worked, !worked};
}

bool shut_down(bool restart)
{
    return ::InitiateSystemShutdownExW(nullptr, nullptr, 0, TRUE, restart, kReason) != FALSE;
}

bool suspend(bool hibernate)
{
    constexpr BOOLEAN kForce = TRUE;
    constexpr BOOLEAN kWakeEventsDisabled = FALSE;
    return ::SetSuspendState(hibernate, kForce, kWakeEventsDisabled) != FALSE;
}

event_outcome log_off_all()
{
    // KEPT[log-off-false]: false stays false.
    event_outcome outcome{false, false};
    session_memory<WTS_SESSION_INFOW> sessions;
    DWORD count = 0;
    if (!::WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, sessions.put(), &count))
        return {false, true};
    for (DWORD i = 0; i < count; ++i)
    {
        const WTS_SESSION_INFOW& session = sessions.get()[i];
        if (session.State != WTSActive)
            continue;
        const bool logged_off =
            ::WTSLogoffSession(WTS_CURRENT_SERVER_HANDLE, session.SessionId, FALSE) != FALSE;
        outcome.result = outcome.result && logged_off;
        outcome.failed = outcome.failed || !logged_off;
    }
    return outcome;
}

event_outcome perform(int event)
{
    switch (event)
    {
    case kShutDown:
        return outcome_of(shut_down(false));
    case kSleep:
        return outcome_of(suspend(false));
    case kHibernate:
        return outcome_of(suspend(true));
    case kRestart:
        return outcome_of(shut_down(true));
    case kLogOffAll:
        return log_off_all();
    default:
        return outcome_of(false);
    }
}
} // namespace

namespace KFramework::KProcesses
{
// KEPT[event-text-unused]
bool SendSystemEvent(int event, std::string /*unused*/)
{
    shutdown_privilege privilege;
    if (!privilege.enable())
        return false;
    const event_outcome outcome = perform(event);
    if (outcome.failed)
        privilege.restore();
    return outcome.result;
}

void SendCustomEvent(std::string /*unused*/)
{
    // KEPT[custom-event-nothing]
}
} // namespace KFramework::KProcesses
