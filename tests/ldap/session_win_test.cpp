#include "tests/ldap/client_calls_win.h" // before any header that includes <windows.h>

#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/ldap.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/left_behind_win.h"

using namespace KFramework::KLDAP;
using kf::ldap::test::client_answers;
using kf::ldap::test::client_calls;
using calls = std::vector<std::string>;

namespace
{
constexpr unsigned int kUntouched = 4711;

/// A client in which one call fails.
client_answers failing(const char* call, ULONG code, bool ssl_is_on = true)
{
    client_answers answers;
    answers.failing = call;
    answers.code = code;
    answers.ssl_is_on = ssl_is_on;
    return answers;
}

client_answers with_ssl(bool is_on)
{
    return failing("", 0, is_on);
}

/// The calls of a session that is made.
calls calls_of_session(int ssl, bool ssl_is_on)
{
    const client_calls client(with_ssl(ssl_is_on));
    unsigned int error = kUntouched;
    EXPECT_EQ(allocateSession("h\xC3\xA4user", 1389, ssl, &error), client_calls::session());
    EXPECT_EQ(error, kUntouched);
    EXPECT_EQ(client_calls::imbalance(), "session not freed; ");
    return client_calls::journal();
}
} // namespace

TEST(allocateSession, MakesAPlainSessionOfVersionThree)
{
    EXPECT_EQ(calls_of_session(0, false), calls({"init h\xC3\xA4user 1389", "set version 3"}));
}

// KEPT[ldap-ssl-one]
TEST(allocateSession, MakesSureOfSslForExactlyOneAndOpensItForEveryOtherValueButZero)
{
    const std::string open = "sslinit h\xC3\xA4user 1389 1";
    EXPECT_EQ(calls_of_session(1, true), calls({open, "set version 3", "get ssl"}));
    EXPECT_EQ(calls_of_session(1, false), calls({open, "set version 3", "get ssl", "set ssl on"}));
    for (const int ssl : {2, -1})
        EXPECT_EQ(calls_of_session(ssl, false), calls({open, "set version 3"})) << ssl;
}

TEST(allocateSession, GivesTheSystemsErrorWhenThereIsNoSession)
{
    for (const auto& [call, ssl] : {std::pair("init host 389", 0), std::pair("sslinit host 389 1", 1)})
    {
        const client_calls client(failing(call, ERROR_NOT_ENOUGH_MEMORY));
        unsigned int error = kUntouched;
        EXPECT_EQ(allocateSession("host", 389, ssl, &error), nullptr);
        EXPECT_EQ(error, unsigned{ERROR_NOT_ENOUGH_MEMORY});
        EXPECT_EQ(client_calls::journal(), calls({call}));
    }
}

TEST(allocateSession, UnbindsAndGivesTheResultWhenAnOptionFails)
{
    for (const char* option : {"set version 3", "get ssl", "set ssl on"})
    {
        const client_calls client(failing(option, LDAP_PARAM_ERROR, false));
        unsigned int error = kUntouched;
        EXPECT_EQ(allocateSession("host", 389, 1, &error), nullptr) << option;
        EXPECT_EQ(error, unsigned{LDAP_PARAM_ERROR}) << option;
        EXPECT_EQ(client_calls::imbalance(), "") << option;
        const calls& journal = client_calls::journal();
        ASSERT_GE(journal.size(), 2u);
        EXPECT_EQ(journal[journal.size() - 2], option);
        EXPECT_EQ(journal.back(), "unbind");
    }
}

TEST(allocateSession, PassesANullHostAndAllowsANullError)
{
    {
        const client_calls client;
        EXPECT_NE(allocateSession(nullptr, 389, 0, nullptr), nullptr);
        EXPECT_EQ(client_calls::journal().front(), "init (null) 389");
    }
    const client_calls client(failing("set version 3", LDAP_PARAM_ERROR));
    EXPECT_EQ(allocateSession("host", 389, 0, nullptr), nullptr);
}

TEST(connectSession, WaitsWithoutALimitOfItsOwnAndGivesTheResult)
{
    {
        const client_calls client;
        unsigned int error = kUntouched;
        EXPECT_TRUE(connectSession(client_calls::session(), &error));
        EXPECT_EQ(error, kUntouched);
        EXPECT_EQ(client_calls::journal(), calls({"connect"}));
    }
    const client_calls client(failing("connect", LDAP_SERVER_DOWN));
    unsigned int error = kUntouched;
    EXPECT_FALSE(connectSession(client_calls::session(), &error));
    EXPECT_EQ(error, unsigned{LDAP_SERVER_DOWN});
    EXPECT_FALSE(connectSession(client_calls::session(), nullptr));
}

TEST(bindSession, BindsSimplyThenReadsWhatNobodyLooksAt)
{
    for (const char* failing_call : {"", "get ssl information"})
    {
        const client_calls client(failing(failing_call, LDAP_NOT_SUPPORTED));
        unsigned int error = kUntouched;
        EXPECT_TRUE(bindSession(client_calls::session(), "cn=\xC3\xA4", "p\xE2\x82\xAC", nullptr, &error));
        EXPECT_EQ(error, kUntouched);
        EXPECT_EQ(client_calls::journal(), calls({"bind cn=\xC3\xA4 p\xE2\x82\xAC", "get ssl information"}));
    }
}

TEST(bindSession, GivesTheResultOfARefusal)
{
    const client_calls client(failing("bind name wrong", LDAP_INVALID_CREDENTIALS));
    unsigned int error = kUntouched;
    EXPECT_FALSE(bindSession(client_calls::session(), "name", "wrong", nullptr, &error));
    EXPECT_EQ(error, 49u);
    EXPECT_EQ(client_calls::journal(), calls({"bind name wrong"}));
    EXPECT_FALSE(bindSession(client_calls::session(), "name", "wrong", nullptr, nullptr));
}

// KEPT[ldap-map-unused]
TEST(bindSession, LeavesTheMapAlone)
{
    const client_calls client;
    std::map<std::string, std::string> map = {{"name", "other"}, {"password", "other"}};
    const auto before = map;
    EXPECT_TRUE(bindSession(client_calls::session(), "name", "password", &map, nullptr));
    EXPECT_EQ(map, before);
    EXPECT_EQ(client_calls::journal().front(), "bind name password");
}

// KEPT[ldap-empty-password]
TEST(bindSession, PassesAnEmptyPasswordOn)
{
    const client_calls client;
    EXPECT_TRUE(bindSession(client_calls::session(), "name", "", nullptr, nullptr));
    EXPECT_EQ(client_calls::journal().front(), "bind name ");
    EXPECT_TRUE(bindSession(client_calls::session(), nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(client_calls::journal()[2], "bind (null) (null)");
}

TEST(bindSession, LeavesNoConvertedPasswordBehind)
{
    for (const std::wstring wide : {L"secret7", L"a password that needs a block of its own"})
    {
        const std::string password(wide.begin(), wide.end());
        const std::string_view bytes(reinterpret_cast<const char*>(wide.data()),
                                     wide.size() * sizeof(wchar_t));
        const kf::test::import_hook bind(
            "ldap_bind_sW", +[](LDAP*, wchar_t*, wchar_t*, ULONG) -> ULONG { return LDAP_SUCCESS; });
        const kf::test::import_hook options(
            "ldap_get_optionW", +[](LDAP*, int, void*) -> ULONG { return LDAP_SUCCESS; });
        const kf::test::freed_memory watch(bytes);
        kf::test::deep_on_stack([&] { bindSession(nullptr, "name", password.c_str(), nullptr, nullptr); });
        EXPECT_FALSE(kf::test::left_on_stack(bytes));
        EXPECT_GE(watch.blocks(), 2);
        EXPECT_EQ(watch.count(), 0);
    }
}

TEST(bindSession, AsksNobodyWhenATextCannotBeConverted)
{
    const client_calls client;
    kf::test::call_fault<"MultiByteToWideChar", int WINAPI(UINT, DWORD, const char*, int, wchar_t*, int)>
        conversion(0, ERROR_NOT_ENOUGH_MEMORY);
    const int conversions = kf::test::fail_each_call(
        conversion, kf::test::fault_span::single,
        [&]
        {
            unsigned int error = kUntouched;
            const bool bound = bindSession(client_calls::session(), "name", "password", nullptr, &error);
            EXPECT_EQ(bound, !conversion.happened());
            EXPECT_EQ(error, conversion.happened() ? unsigned{LDAP_ENCODING_ERROR} : kUntouched);
        });
    EXPECT_EQ(conversions, 4);
    EXPECT_EQ(client_calls::journal(), calls({"bind name password", "get ssl information"}));

    conversion.once(0);
    unsigned int error = kUntouched;
    EXPECT_EQ(allocateSession("host", 389, 0, &error), nullptr);
    EXPECT_EQ(error, 83u);
    EXPECT_EQ(client_calls::journal().size(), 2u);
}

TEST(unbindSession, UnbindsOnceAndTakesNull)
{
    const client_calls client;
    ldap* const session = allocateSession("host", 389, 0, nullptr);
    unbindSession(session);
    unbindSession(nullptr);
    EXPECT_EQ(client_calls::journal(), calls({"init host 389", "set version 3", "unbind"}));
    EXPECT_EQ(client_calls::imbalance(), "");
}
