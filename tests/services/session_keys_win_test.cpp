#include <string>

#include <gtest/gtest.h>

#include "KFramework/platform/handles_win.h"
#include "KFramework/services.h"
#include "tests/services/logon_counters.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/import_hook_win.h"

#include <sddl.h>

using kf::platform::local_memory;
using kf::platform::unique_handle;
using kf::platform::unique_registry_key;
using kf::services::test::counted;
using kf::services::test::counters;
using kf::test::call_fault;
using kf::test::fail_each_call;
using kf::test::fault_span;
using kf::test::import_hook;
using KFramework::KServices::IsSomeoneLogged;

namespace
{
std::wstring own_identifier()
{
    unique_handle token;
    EXPECT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.put()));
    alignas(TOKEN_USER) unsigned char room[512];
    DWORD size = 0;
    EXPECT_TRUE(::GetTokenInformation(token.get(), TokenUser, room, sizeof room, &size));
    local_memory<wchar_t> text;
    EXPECT_TRUE(::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(room)->User.Sid, text.put()));
    return text.get();
}

/// A key below the users' root, gone at the scope's end.
class users_key
{
public:
    explicit users_key(const std::wstring& path) : path_(path)
    {
        EXPECT_EQ(::RegCreateKeyExW(HKEY_USERS, path.c_str(), 0, nullptr, 0, KEY_ALL_ACCESS, nullptr,
                                    key_.put(), nullptr),
                  ERROR_SUCCESS);
    }
    ~users_key()
    {
        key_.reset();
        EXPECT_EQ(::RegDeleteKeyW(HKEY_USERS, path_.c_str()), ERROR_SUCCESS);
    }
    users_key(const users_key&) = delete;
    users_key& operator=(const users_key&) = delete;

    /// @param name  with its terminator.
    void set_session_name(const std::wstring& name) const
    {
        EXPECT_EQ(::RegSetValueExW(key_.get(), L"SESSIONNAME", 0, REG_SZ,
                                   reinterpret_cast<const BYTE*>(name.c_str()),
                                   static_cast<DWORD>((name.size() + 1) * sizeof(wchar_t))),
                  ERROR_SUCCESS);
    }

private:
    std::wstring path_;
    unique_registry_key key_;
};

/// A system before version 5.2; the registry is the real one.
class IsSomeoneLoggedOnOldSystems : public testing::Test
{
protected:
    /// Remote sessions found more than there were before the test.
    int added() const
    {
        const counters now = counted();
        EXPECT_EQ(now.console, 0);
        return now.remote - before_;
    }

    const std::wstring identifier_ = own_identifier();
    const std::wstring environment_ = identifier_ + L"\\Volatile Environment";

private:
    import_hook<BOOL WINAPI(OSVERSIONINFOEXW*, DWORD, DWORDLONG)> old_{
        "VerifyVersionInfoW", +[](OSVERSIONINFOEXW*, DWORD, DWORDLONG) -> BOOL { return FALSE; }};
    const int before_ = counted().remote;
};
} // namespace

// KEPT[old-logons-remote]
TEST_F(IsSomeoneLoggedOnOldSystems, CountsEverySessionNameAsRemote)
{
    const users_key first(environment_ + L"\\kf_first"), second(environment_ + L"\\kf_second");
    EXPECT_EQ(added(), 0);
    first.set_session_name(L"Console");
    EXPECT_EQ(added(), 1);
    second.set_session_name(L"RDP-Tcp#1");
    EXPECT_EQ(added(), 2);
}

// KEPT[logons-added]
TEST_F(IsSomeoneLoggedOnOldSystems, SetsTheConsoleToZeroAndAddsToTheRemoteOnes)
{
    const users_key session(environment_ + L"\\kf_session");
    session.set_session_name(L"Console");
    const int found = counted().remote;
    EXPECT_GE(found, 1);
    counters now{40, 50};
    EXPECT_TRUE(IsSomeoneLogged(&now.console, &now.remote));
    EXPECT_EQ(now, counters({0, 50 + found}));
    EXPECT_TRUE(IsSomeoneLogged(nullptr, nullptr));
}

TEST_F(IsSomeoneLoggedOnOldSystems, ReadsSessionNamesOfAtMost1024Bytes)
{
    const users_key session(environment_ + L"\\kf_session");
    session.set_session_name(std::wstring(511, L'x'));
    EXPECT_EQ(added(), 1);
    session.set_session_name(std::wstring(512, L'x'));
    EXPECT_EQ(added(), 0);
}

TEST_F(IsSomeoneLoggedOnOldSystems, LooksOnlyAtUsersThatTheSystemKnows)
{
    const std::wstring stranger = L"S-1-5-21-9-9-9-1234";
    for (const std::wstring& name :
         {stranger, identifier_ + L"_Classes_kf", std::wstring(L"kf_no_identifier")})
    {
        const users_key user(name), environment(name + L"\\Volatile Environment");
        environment.set_session_name(L"Console");
        EXPECT_EQ(added(), 0);
    }
}

namespace
{
PSID last_made;
int made, taken;

BOOL WINAPI make_identifier(SID_IDENTIFIER_AUTHORITY* authority, BYTE count, DWORD a, DWORD b, DWORD c,
                            DWORD d, DWORD e, DWORD f, DWORD g, DWORD h, PSID* identifier)
{
    if (!::AllocateAndInitializeSid(authority, count, a, b, c, d, e, f, g, h, identifier))
        return FALSE;
    last_made = *identifier;
    ++made;
    return TRUE;
}

void* WINAPI take_identifier(PSID identifier)
{
    EXPECT_EQ(identifier, last_made);
    ++taken;
    return ::FreeSid(identifier);
}

BOOL WINAPI look_up_alias(const wchar_t*, PSID, wchar_t*, DWORD*, wchar_t*, DWORD*, SID_NAME_USE* use)
{
    *use = SidTypeAlias;
    return TRUE;
}

std::wstring looked_up;
BOOL WINAPI look_up_as_user(const wchar_t* system, PSID identifier, wchar_t*, DWORD*, wchar_t*, DWORD*,
                            SID_NAME_USE* use)
{
    EXPECT_EQ(system, nullptr);
    local_memory<wchar_t> text;
    EXPECT_TRUE(::ConvertSidToStringSidW(identifier, text.put()));
    looked_up += text.get() + std::wstring(L" ");
    *use = SidTypeUser;
    return TRUE;
}

using look_up_function = BOOL WINAPI(const wchar_t*, PSID, wchar_t*, DWORD*, wchar_t*, DWORD*, SID_NAME_USE*);
} // namespace

TEST_F(IsSomeoneLoggedOnOldSystems, AsksForEveryIdentifierAsItIsWrittenAndFreesIt)
{
    const users_key user(L"S-1-5-21-4294967295-2-3-4-5-6-7");
    const users_key environment(L"S-1-5-21-4294967295-2-3-4-5-6-7\\Volatile Environment");
    environment.set_session_name(L"Console");
    made = taken = 0;
    looked_up.clear();
    const import_hook<decltype(make_identifier)> making("AllocateAndInitializeSid", &make_identifier);
    const import_hook<decltype(take_identifier)> taking("FreeSid", &take_identifier);
    const import_hook<look_up_function> looking("LookupAccountSidW", &look_up_as_user);
    EXPECT_GE(added(), 1);
    EXPECT_NE(looked_up.find(L"S-1-5-21-4294967295-2-3-4-5-6-7 "), std::wstring::npos);
    EXPECT_GE(made, 2);
    EXPECT_EQ(taken, made);
}

TEST_F(IsSomeoneLoggedOnOldSystems, LooksOnlyAtAccountsOfUsers)
{
    const import_hook<look_up_function> looking("LookupAccountSidW", &look_up_alias);
    EXPECT_EQ(counted(), counters());
}

TEST_F(IsSomeoneLoggedOnOldSystems, IsFalseOnlyWhenTheUsersCannotBeOpenedAndClosesEveryKey)
{
    const users_key session(environment_ + L"\\kf_session");
    session.set_session_name(L"Console");
    const int found = counted().remote;

    static int opened, closed;
    const import_hook closing(
        "RegCloseKey",
        +[](HKEY key) -> LSTATUS
        {
            ++closed;
            return ::RegCloseKey(key);
        });
    const import_hook<LSTATUS WINAPI(HKEY, const wchar_t*, DWORD, REGSAM, HKEY*)> noting(
        "RegOpenKeyExW",
        +[](HKEY parent, const wchar_t* path, DWORD options, REGSAM access, HKEY* key) -> LSTATUS
        {
            const LSTATUS code = ::RegOpenKeyExW(parent, path, options, access, key);
            opened += code == ERROR_SUCCESS ? 1 : 0;
            return code;
        });
    call_fault<"RegOpenKeyExW", LSTATUS(HKEY, const wchar_t*, DWORD, REGSAM, HKEY*)> opening(
        [](HKEY, const wchar_t*, DWORD, REGSAM, HKEY*) -> LSTATUS { return ERROR_ACCESS_DENIED; });
    const int opens = fail_each_call(opening, fault_span::single,
                                     [&]
                                     {
                                         opened = closed = 0;
                                         counters now{7, 0};
                                         const bool examined = IsSomeoneLogged(&now.console, &now.remote);
                                         EXPECT_EQ(examined, opening.calls() > 1);
                                         EXPECT_EQ(now.console, 0);
                                         EXPECT_LE(now.remote, found);
                                         EXPECT_EQ(now.remote == found || opening.happened(), true);
                                         EXPECT_EQ(closed, opened);
                                     });
    EXPECT_GE(opens, 3);
}

TEST_F(IsSomeoneLoggedOnOldSystems, PassesOverWhatFails)
{
    const users_key session(environment_ + L"\\kf_session");
    session.set_session_name(L"Console");
    const int found = counted().remote;
    {
        call_fault<"RegQueryValueExW", LSTATUS(HKEY, const wchar_t*, DWORD*, DWORD*, BYTE*, DWORD*)> reading(
            [](HKEY, const wchar_t*, DWORD*, DWORD*, BYTE*, DWORD*) -> LSTATUS { return ERROR_MORE_DATA; });
        fail_each_call(reading, fault_span::single, [&] { EXPECT_LE(counted().remote, found); });
        reading.lastingly(0);
        EXPECT_EQ(counted(), counters());
    }
    call_fault<"AllocateAndInitializeSid", decltype(make_identifier)> making(FALSE, ERROR_NOT_ENOUGH_MEMORY);
    making.lastingly(0);
    EXPECT_EQ(counted(), counters());
}
