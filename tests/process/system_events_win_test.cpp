#include <climits>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/sessions_win.h"
#include "KFramework/process.h"
#include "tests/support/import_hook_win.h"

using kf::test::import_hook;
using KFramework::KProcesses::SendCustomEvent;
using KFramework::KProcesses::SendSystemEvent;
using journal = std::vector<std::string>;

namespace
{
constexpr LUID kPrivilege{7, 9};
constexpr DWORD kFormerAttributes = SE_PRIVILEGE_ENABLED_BY_DEFAULT;
int token_place; // its address stands for the token

/// What the system does and was asked; one at a time.
struct machine_state
{
    journal calls;
    std::string failing; ///< as it stands in calls; "" fails none
    bool privilege_changes = true;
    std::vector<WTS_SESSION_INFOW> sessions;
    BOOL (*close_handle)(HANDLE) = nullptr;
};
machine_state machine;

HANDLE token_handle()
{
    return &token_place;
}

bool note(const std::string& call)
{
    machine.calls.push_back(call);
    if (call != machine.failing)
        return true;
    ::SetLastError(ERROR_ACCESS_DENIED);
    return false;
}

BOOL WINAPI open_token(HANDLE process, DWORD access, HANDLE* token)
{
    const bool as_stated =
        process == ::GetCurrentProcess() && access == (TOKEN_ADJUST_PRIVILEGES | TOKEN_QUERY);
    if (!note(as_stated ? "open token" : "open token otherwise"))
        return FALSE;
    *token = token_handle();
    return TRUE;
}

BOOL WINAPI look_up(const wchar_t* system, const wchar_t* name, LUID* luid)
{
    *luid = kPrivilege;
    return note("look up " + std::string(name, name + std::wcslen(name)) +
                (system != nullptr ? " elsewhere" : ""));
}

bool is_the_privilege(const TOKEN_PRIVILEGES& state, DWORD attributes)
{
    return state.PrivilegeCount == 1 && state.Privileges[0].Luid.LowPart == kPrivilege.LowPart &&
           state.Privileges[0].Luid.HighPart == kPrivilege.HighPart &&
           state.Privileges[0].Attributes == attributes;
}

BOOL WINAPI adjust(HANDLE token, BOOL disable_all, TOKEN_PRIVILEGES* wanted, DWORD size,
                   TOKEN_PRIVILEGES* former, DWORD* needed)
{
    std::string call = "adjust otherwise";
    if (token == token_handle() && !disable_all && is_the_privilege(*wanted, SE_PRIVILEGE_ENABLED))
        call = "enable";
    else if (token == token_handle() && !disable_all && is_the_privilege(*wanted, kFormerAttributes))
        call = "restore";
    if (!note(call))
        return FALSE;
    if (former != nullptr && size >= sizeof *former)
    {
        former->PrivilegeCount = machine.privilege_changes ? 1 : 0;
        former->Privileges[0] = {kPrivilege, kFormerAttributes};
        *needed = sizeof *former;
    }
    ::SetLastError(machine.privilege_changes ? ERROR_SUCCESS : ERROR_NOT_ALL_ASSIGNED);
    return TRUE;
}

BOOL WINAPI shut_down(wchar_t* host, wchar_t* message, DWORD seconds, BOOL force, BOOL restart, DWORD reason)
{
    const bool as_stated =
        host == nullptr && message == nullptr && seconds == 0 && force == TRUE && reason == 0x40001;
    return note(!as_stated ? "shut down otherwise" : restart != FALSE ? "restart" : "shut down");
}

BOOLEAN WINAPI suspend(BOOLEAN hibernate, BOOLEAN force, BOOLEAN wake_events_disabled)
{
    const bool as_stated = force == TRUE && wake_events_disabled == FALSE;
    return note(!as_stated ? "suspend otherwise" : hibernate != FALSE ? "hibernate" : "sleep");
}

BOOL WINAPI list_sessions(HANDLE server, DWORD reserved, DWORD version, WTS_SESSION_INFOW** list,
                          DWORD* count)
{
    if (!note(server == nullptr && reserved == 0 && version == 1 ? "list" : "list otherwise"))
        return FALSE;
    *list = machine.sessions.data();
    *count = static_cast<DWORD>(machine.sessions.size());
    return TRUE;
}

BOOL WINAPI log_off(HANDLE server, DWORD session, BOOL wait)
{
    return note("log off " + std::to_string(session) +
                (server == nullptr && wait == FALSE ? "" : " otherwise"));
}

void WINAPI free_list(void* list)
{
    note(list == machine.sessions.data() ? "free list" : "free something else");
}

BOOL WINAPI close_handle(HANDLE handle)
{
    if (handle != token_handle())
        return machine.close_handle(handle);
    note("close token");
    return TRUE;
}

/// The machine with every call of an event in the test's hands.
class machine_calls
{
public:
    machine_calls() { machine.close_handle = close_.original(); }
    ~machine_calls() { machine = {}; }

private:
    import_hook<decltype(open_token)> open_{"OpenProcessToken", &open_token};
    import_hook<decltype(look_up)> look_up_{"LookupPrivilegeValueW", &look_up};
    import_hook<decltype(adjust)> adjust_{"AdjustTokenPrivileges", &adjust};
    import_hook<decltype(shut_down)> shut_down_{"InitiateSystemShutdownExW", &shut_down};
    import_hook<decltype(suspend)> suspend_{"SetSuspendState", &suspend};
    import_hook<decltype(list_sessions)> list_{"WTSEnumerateSessionsW", &list_sessions};
    import_hook<decltype(log_off)> log_off_{"WTSLogoffSession", &log_off};
    import_hook<decltype(free_list)> free_{"WTSFreeMemory", &free_list};
    import_hook<decltype(close_handle)> close_{"CloseHandle", &close_handle};
};

WTS_SESSION_INFOW session(DWORD id, WTS_CONNECTSTATE_CLASS state)
{
    return {id, nullptr, state};
}

/// The calls between opening and closing the token.
journal with_token(const journal& calls)
{
    journal all{"open token", "look up SeShutdownPrivilege", "enable"};
    all.insert(all.end(), calls.begin(), calls.end());
    all.emplace_back("close token");
    return all;
}

journal sent(int event, bool expected, const std::string& failing = "")
{
    machine.calls.clear();
    machine.failing = failing;
    EXPECT_EQ(SendSystemEvent(event, "ignored"), expected) << event << " with failing " << failing;
    return machine.calls;
}
} // namespace

// KEPT[event-numbers] KEPT[event-text-unused]
TEST(SendSystemEvent, ShutsDownSleepsHibernatesAndRestartsInThisOrder)
{
    const machine_calls calls;
    EXPECT_EQ(sent(0, true), with_token({"shut down"}));
    EXPECT_EQ(sent(1, true), with_token({"sleep"}));
    EXPECT_EQ(sent(2, true), with_token({"hibernate"}));
    EXPECT_EQ(sent(3, true), with_token({"restart"}));
}

TEST(SendSystemEvent, PutsThePrivilegeBackAfterAFailedEvent)
{
    const machine_calls calls;
    EXPECT_EQ(sent(0, false, "shut down"), with_token({"shut down", "restore"}));
    EXPECT_EQ(sent(1, false, "sleep"), with_token({"sleep", "restore"}));
    EXPECT_EQ(sent(2, false, "hibernate"), with_token({"hibernate", "restore"}));
    EXPECT_EQ(sent(3, false, "restart"), with_token({"restart", "restore"}));
    EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_ACCESS_DENIED));
}

TEST(SendSystemEvent, ClosesTheTokenWhereverThePrivilegeFails)
{
    const machine_calls calls;
    for (int event = -1; event <= 5; ++event)
    {
        EXPECT_EQ(sent(event, false, "open token"), journal({"open token"}));
        EXPECT_EQ(sent(event, false, "look up SeShutdownPrivilege"),
                  journal({"open token", "look up SeShutdownPrivilege", "close token"}));
        EXPECT_EQ(sent(event, false, "enable"),
                  journal({"open token", "look up SeShutdownPrivilege", "enable", "close token"}));
    }
}

TEST(SendSystemEvent, TakesAPrivilegeThatItDoesNotHoldForEnabledAndHasNothingToPutBack)
{
    const machine_calls calls;
    machine.privilege_changes = false;
    EXPECT_EQ(sent(0, true), with_token({"shut down"}));
    EXPECT_EQ(sent(0, false, "shut down"), with_token({"shut down"}));
}

TEST(SendSystemEvent, DoesNothingForAnyOtherNumber)
{
    const machine_calls calls;
    for (const int event : {9, 5, -1, 256, INT_MIN, INT_MAX})
        EXPECT_EQ(sent(event, false), with_token({"restore"})) << event;
}

// KEPT[log-off-false]
TEST(SendSystemEvent, LogsEveryActiveSessionOffAndIsFalseAllTheSame)
{
    const machine_calls calls;
    machine.sessions = {session(1, WTSActive), session(2, WTSDisconnected), session(3, WTSActive),
                        session(0, WTSListen), session(65536, WTSConnected)};
    EXPECT_EQ(sent(4, false), with_token({"list", "log off 1", "log off 3", "free list"}));
    machine.sessions = {session(2, WTSDisconnected)};
    EXPECT_EQ(sent(4, false), with_token({"list", "free list"}));
}

TEST(SendSystemEvent, GoesOnAfterAFailedLogOffAndPutsThePrivilegeBack)
{
    const machine_calls calls;
    machine.sessions = {session(1, WTSActive), session(3, WTSActive)};
    EXPECT_EQ(sent(4, false, "log off 1"),
              with_token({"list", "log off 1", "log off 3", "free list", "restore"}));
    EXPECT_EQ(sent(4, false, "log off 3"),
              with_token({"list", "log off 1", "log off 3", "free list", "restore"}));
    EXPECT_EQ(sent(4, false, "list"), with_token({"list", "restore"}));
}

TEST(SendSystemEvent, EnablesTheRealPrivilegeForTheEventAndPutsItBackWhenThatFails)
{
    static DWORD during;
    struct own_privilege
    {
        static DWORD attributes()
        {
            kf::platform::unique_handle token;
            LUID luid{};
            EXPECT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.put()));
            EXPECT_TRUE(::LookupPrivilegeValueW(nullptr, L"SeShutdownPrivilege", &luid));
            std::vector<DWORD> room(4096);
            DWORD size = 0;
            EXPECT_TRUE(::GetTokenInformation(token.get(), TokenPrivileges, room.data(),
                                              static_cast<DWORD>(room.size() * sizeof(DWORD)), &size));
            const auto* all = reinterpret_cast<const TOKEN_PRIVILEGES*>(room.data());
            for (DWORD i = 0; i < all->PrivilegeCount; ++i)
                if (all->Privileges[i].Luid.LowPart == luid.LowPart)
                    return all->Privileges[i].Attributes & SE_PRIVILEGE_ENABLED;
            return ~0u;
        }
    };
    const DWORD before = own_privilege::attributes();
    if (before == ~0u)
        GTEST_SKIP() << "this user may not shut the machine down";
    const import_hook hook(
        "InitiateSystemShutdownExW",
        +[](wchar_t*, wchar_t*, DWORD, BOOL, BOOL, DWORD) -> BOOL
        {
            during = own_privilege::attributes();
            return FALSE;
        });
    EXPECT_FALSE(SendSystemEvent(0, ""));
    EXPECT_EQ(during, static_cast<DWORD>(SE_PRIVILEGE_ENABLED));
    EXPECT_EQ(own_privilege::attributes(), before);
}

// KEPT[custom-event-nothing]
TEST(SendCustomEvent, CallsNothing)
{
    const machine_calls calls;
    SendCustomEvent("restart");
    EXPECT_EQ(machine.calls, journal());
}
