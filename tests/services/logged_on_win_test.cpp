#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/platform/sessions_win.h"
#include "KFramework/services.h"
#include "tests/services/logon_counters.h"
#include "tests/support/import_hook_win.h"

using kf::services::test::counted;
using kf::services::test::counters;
using kf::test::import_hook;
using KFramework::KServices::IsSomeoneLogged;

namespace
{
/// One logon, and what the terminal services say of its session.
struct logon
{
    ULONG type = 2;
    WTS_CONNECTSTATE_CLASS state = WTSActive;
    bool has_data = true;  ///< false when the security authority knows it no longer
    bool has_state = true; ///< false when the terminal services do not know it
    bool raises = false;   ///< they raise a structured exception
};

constexpr ULONG kFirstSession = 100;

/// What the system knows, and what it gave and got back; one at a time.
struct system_state
{
    std::vector<logon> logons;
    NTSTATUS list_status = 0;
    std::vector<LUID> list;
    std::vector<SECURITY_LOGON_SESSION_DATA> data;
    std::map<void*, int> given;
    std::string version;
};
system_state host;

void give(void* memory)
{
    ++host.given[memory];
}

BOOL WINAPI verify_version(OSVERSIONINFOEXW* wanted, DWORD types, DWORDLONG conditions)
{
    DWORDLONG or_later = 0;
    for (const DWORD part : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR})
        or_later = ::VerSetConditionMask(or_later, part, VER_GREATER_EQUAL);
    EXPECT_EQ(conditions, or_later);
    host.version = std::to_string(wanted->dwMajorVersion) + "." + std::to_string(wanted->dwMinorVersion) +
                   "." + std::to_string(wanted->wServicePackMajor) + " " + std::to_string(types);
    return TRUE;
}

NTSTATUS WINAPI list_logons(ULONG* count, LUID** list)
{
    if (host.list_status != 0)
        return host.list_status;
    host.list.clear();
    for (std::size_t i = 0; i < host.logons.size(); ++i)
        host.list.push_back({static_cast<DWORD>(i), 0});
    *count = static_cast<ULONG>(host.list.size());
    *list = host.list.data();
    if (*list != nullptr)
        give(*list);
    return 0;
}

NTSTATUS WINAPI describe_logon(LUID* id, SECURITY_LOGON_SESSION_DATA** data)
{
    const logon& one = host.logons.at(id->LowPart);
    if (!one.has_data)
        return static_cast<NTSTATUS>(0xC000005F);
    host.data.resize(host.logons.size());
    *data = &host.data[id->LowPart];
    (*data)->LogonType = one.type;
    (*data)->Session = kFirstSession + id->LowPart;
    give(*data);
    return 0;
}

NTSTATUS WINAPI take_logon_memory(void* memory)
{
    --host.given[memory];
    return 0;
}

BOOL WINAPI query_session(HANDLE server, DWORD session, WTS_INFO_CLASS what, wchar_t** answer, DWORD* size)
{
    logon& one = host.logons.at(session - kFirstSession);
    EXPECT_EQ(server, nullptr);
    EXPECT_EQ(what, WTSConnectState);
    if (one.raises)
        ::RaiseException(0xC0000005, 0, 0, nullptr);
    if (!one.has_state)
        return FALSE;
    *answer = reinterpret_cast<wchar_t*>(&one.state);
    *size = sizeof one.state;
    give(*answer);
    return TRUE;
}

void WINAPI take_session_memory(void* memory)
{
    --host.given[memory];
}

/// A system of version 5.2 with these logons.
class logons_of_test
{
public:
    explicit logons_of_test(std::vector<logon> logons) { host.logons = std::move(logons); }
    ~logons_of_test()
    {
        for (const auto& [memory, owed] : host.given)
            EXPECT_EQ(owed, 0) << memory;
        host = {};
    }

private:
    import_hook<decltype(verify_version)> verify_{"VerifyVersionInfoW", &verify_version};
    import_hook<decltype(list_logons)> list_{"LsaEnumerateLogonSessions", &list_logons};
    import_hook<decltype(describe_logon)> describe_{"LsaGetLogonSessionData", &describe_logon};
    import_hook<decltype(take_logon_memory)> take_logon_{"LsaFreeReturnBuffer", &take_logon_memory};
    import_hook<decltype(query_session)> query_{"WTSQuerySessionInformationW", &query_session};
    import_hook<decltype(take_session_memory)> take_session_{"WTSFreeMemory", &take_session_memory};
};
} // namespace

TEST(IsSomeoneLogged, CountsActiveInteractiveLogonsByKind)
{
    const logons_of_test logons({{.type = 2},
                                 {.type = 10},
                                 {.type = 10},
                                 {.type = 2, .state = WTSDisconnected},
                                 {.type = 10, .state = WTSConnected},
                                 {.type = 3},
                                 {.type = 5},
                                 {.type = 0},
                                 {.type = 7},
                                 {.type = 11}});
    EXPECT_EQ(counted(), counters({1, 2}));
    EXPECT_EQ(host.version, "5.2.0 35");
}

// KEPT[logons-not-people]
TEST(IsSomeoneLogged, CountsTwoLogonsOfOneSessionTwice)
{
    const logons_of_test logons({logon{}, logon{}});
    EXPECT_EQ(counted(), counters({2, 0}));
}

// KEPT[logons-added]
TEST(IsSomeoneLogged, AddsToTheCounters)
{
    const logons_of_test logons({{.type = 2}, {.type = 10}});
    counters now{40, 50};
    EXPECT_TRUE(IsSomeoneLogged(&now.console, &now.remote));
    EXPECT_EQ(now, counters({41, 51}));
    EXPECT_TRUE(IsSomeoneLogged(nullptr, nullptr));
}

TEST(IsSomeoneLogged, PassesOverLogonsThatCannotBeAskedFor)
{
    const logons_of_test logons({{.has_data = false},
                                 {.has_state = false},
                                 {.raises = true},
                                 {.type = 10, .raises = true},
                                 {},
                                 {.type = 10}});
    EXPECT_EQ(counted(), counters({1, 1}));
}

TEST(IsSomeoneLogged, IsFalseWhenTheLogonsCannotBeListed)
{
    const logons_of_test logons({logon{}});
    host.list_status = static_cast<NTSTATUS>(0xC0000022);
    EXPECT_EQ(counted(false), counters());
}

TEST(IsSomeoneLogged, AsksTheRealSystem)
{
    counters now;
    EXPECT_TRUE(IsSomeoneLogged(&now.console, &now.remote));
    EXPECT_GE(now.console, 0);
    EXPECT_GE(now.remote, 0);
}
