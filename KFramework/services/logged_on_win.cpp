#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/platform/sessions_win.h"
#include "KFramework/platform/version_win.h"
#include "KFramework/services.h"
#include "KFramework/services/session_keys_win.h"

namespace
{
using kf::platform::logon_memory;
using kf::platform::session_memory;

constexpr ULONG kInteractive = 2;
constexpr ULONG kRemoteInteractive = 10;

/// Asks the terminal services, which may raise for a session that is ending.
bool is_active(ULONG session)
{
    struct question
    {
        ULONG session;
        wchar_t* answer;
        bool active;
    } asked{session, nullptr, false};
    const auto ask = [](void* argument)
    {
        auto& one = *static_cast<question*>(argument);
        DWORD size = 0;
        if (::WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, one.session, WTSConnectState,
                                          &one.answer, &size) &&
            one.answer != nullptr)
            one.active = *reinterpret_cast<const WTS_CONNECTSTATE_CLASS*>(one.answer) == WTSActive;
    };
    if (!kf::platform::guarded_call(ask, &asked))
        return false; // whether it gave memory is not known then
    const session_memory<wchar_t> answer(asked.answer);
    return asked.active;
}

/// Counts one logon, unless it has ended meanwhile.
void count_logon(LUID& logon, int* consoleCount, int* remoteCount)
{
    logon_memory<SECURITY_LOGON_SESSION_DATA> data;
    if (::LsaGetLogonSessionData(&logon, data.put()) != 0 || !data)
        return;
    int* const counter = data.get()->LogonType == kInteractive         ? consoleCount
                         : data.get()->LogonType == kRemoteInteractive ? remoteCount
                                                                       : nullptr;
    // KEPT[logons-not-people]: nobody asks whose logon it is.
    if (counter != nullptr && is_active(data.get()->Session))
        ++*counter; // KEPT[logons-added]
}

bool count_logons(int* consoleCount, int* remoteCount)
{
    ULONG count = 0;
    logon_memory<LUID> logons;
    if (::LsaEnumerateLogonSessions(&count, logons.put()) != 0)
        return false;
    for (ULONG i = 0; i < count; ++i)
        count_logon(logons.get()[i], consoleCount, remoteCount);
    return true;
}
} // namespace

namespace KFramework::KServices
{
bool IsSomeoneLogged(int* consoleCount, int* remoteCount)
{
    if (kf::platform::version_is_at_least(5, 2))
        return count_logons(consoleCount, remoteCount);
    int sessions = 0;
    if (consoleCount != nullptr)
        *consoleCount = 0;
    const bool examined = kf::services::count_session_keys(sessions);
    if (remoteCount != nullptr)
        *remoteCount += sessions;
    return examined;
}
} // namespace KFramework::KServices
