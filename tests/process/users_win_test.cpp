#include <cstdlib>
#include <cwchar>
#include <optional>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "KFramework/platform/handles_win.h"
#include "KFramework/process.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/left_behind_win.h"

namespace processes = KFramework::KProcesses;
using kf::platform::unique_handle;
using kf::test::import_hook;

namespace
{
int token_place; // its address stands for the token of a logon

/// What LogonUserW was asked for, and how it answers.
struct logon
{
    std::wstring account;
    std::optional<std::wstring> domain;
    std::wstring password;
    DWORD type = 0, provider = 0;
    const wchar_t* password_place = nullptr;
    int calls = 0;
    DWORD refusal = 0; ///< 0 lets the user in
};
logon asked;

BOOL WINAPI log_on(wchar_t* account, wchar_t* domain, wchar_t* password, DWORD type, DWORD provider,
                   HANDLE* token)
{
    const DWORD refusal = asked.refusal;
    const int calls = asked.calls + 1;
    asked = {account, std::nullopt, password, type, provider, password, calls, refusal};
    if (domain != nullptr)
        asked.domain = domain;
    *token = &token_place; // also when it fails
    ::SetLastError(refusal);
    return refusal == 0;
}

struct logon_result
{
    bool worked;
    void* token;
    std::string error;
};

logon_result log_on_as(const char* user, const char* password, DWORD refusal = 0)
{
    asked = {};
    asked.refusal = refusal;
    const import_hook hook("LogonUserW", &log_on);
    logon_result result{false, &asked, "untouched"};
    result.worked = processes::LogonUserW(user, password, &result.token, result.error);
    return result;
}

/// Counts how often one handle value is closed.
class closings
{
public:
    explicit closings(HANDLE counted)
    {
        wanted_ = counted;
        count_ = 0;
        original_ = hook_.original();
    }
    static int count() { return count_; }

private:
    static BOOL WINAPI close(HANDLE handle)
    {
        count_ += handle == wanted_ ? 1 : 0;
        const BOOL closed = original_(handle);
        ::SetLastError(ERROR_GEN_FAILURE); // nobody may still need what was there
        return closed;
    }
    static inline HANDLE wanted_;
    static inline int count_;
    static inline BOOL (*original_)(HANDLE);
    import_hook<BOOL WINAPI(HANDLE)> hook_{"CloseHandle", &close};
};

constexpr std::string_view kSecret = "KF_SECRET";
constexpr std::string_view kWideSecret("K\0F\0_\0S\0E\0C\0R\0E\0T", 17);

unique_handle own_token()
{
    unique_handle token;
    EXPECT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_ALL_ACCESS, token.put()));
    return token;
}

bool impersonating()
{
    unique_handle token;
    return ::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, token.put()) != FALSE;
}
} // namespace

TEST(LogonUserW, LogsAnAccountOnInteractivelyWithoutADomain)
{
    const auto result = log_on_as("render", "secret");
    EXPECT_TRUE(result.worked);
    EXPECT_EQ(result.token, &token_place);
    EXPECT_EQ(result.error, "untouched");
    EXPECT_EQ(asked.account, L"render");
    EXPECT_FALSE(asked.domain);
    EXPECT_EQ(asked.password, L"secret");
    EXPECT_EQ(asked.type, static_cast<DWORD>(LOGON32_LOGON_INTERACTIVE));
    EXPECT_EQ(asked.provider, static_cast<DWORD>(LOGON32_PROVIDER_DEFAULT));
    EXPECT_EQ(asked.calls, 1);
}

// KEPT[user-first-at]
TEST(LogonUserW, TakesWhatFollowsTheFirstAtForTheDomain)
{
    EXPECT_TRUE(log_on_as("render@farm", "x").worked);
    EXPECT_EQ(asked.account, L"render");
    EXPECT_EQ(asked.domain, L"farm");
    EXPECT_TRUE(log_on_as("a@b@c", "p@q").worked);
    EXPECT_EQ(asked.account, L"a");
    EXPECT_EQ(asked.domain, L"b@c");
    EXPECT_EQ(asked.password, L"p@q");
}

TEST(LogonUserW, TakesTextsInUtf8AndNullForEmpty)
{
    EXPECT_TRUE(log_on_as("j\xC3\xB6rg@k\xC3\xB6ln", "\xE2\x82\xAC").worked);
    EXPECT_EQ(asked.account, L"j\u00F6rg");
    EXPECT_EQ(asked.domain, L"k\u00F6ln");
    EXPECT_EQ(asked.password, L"\u20AC");
    EXPECT_TRUE(log_on_as(nullptr, nullptr).worked);
    EXPECT_EQ(asked.account, L"");
    EXPECT_FALSE(asked.domain);
    EXPECT_EQ(asked.password, L"");
}

TEST(LogonUserW, GivesTheSystemsCodeAndANullTokenOnFailure)
{
    const auto wrong = log_on_as("render", "wrong", ERROR_LOGON_FAILURE);
    EXPECT_FALSE(wrong.worked);
    EXPECT_EQ(wrong.token, nullptr);
    EXPECT_EQ(wrong.error, "LogonUser() failed, error 1326");
    EXPECT_EQ(log_on_as("render@farm", "x", 1355).error, "LogonUser() failed, error 1355");
}

TEST(LogonUserW, WipesItsCopyOfThePassword)
{
    asked = {};
    const import_hook hook(
        "LogonUserW",
        +[](wchar_t*, wchar_t*, wchar_t* password, DWORD, DWORD, HANDLE*) -> BOOL
        {
            asked.calls += std::wcscmp(password, L"KF_SECRET") == 0 ? 1 : 0;
            return FALSE;
        });
    void* token = nullptr;
    std::string error;
    for (const std::string_view secret : {kSecret, kWideSecret})
    {
        asked.calls = 0;
        const kf::test::freed_memory watch(secret);
        EXPECT_FALSE(processes::LogonUserW("render", kSecret.data(), &token, error));
        EXPECT_EQ(asked.calls, 1);
        EXPECT_GT(watch.blocks(), 0);
        EXPECT_EQ(watch.count(), 0);
    }
}

TEST(LogonUserW, ReadsTheSystemsCodeBeforeItsTextsAreFreed)
{
    const import_hook freeing(
        "libstdc++-6.dll", "free",
        +[](void* memory)
        {
            std::free(memory);
            ::SetLastError(ERROR_GEN_FAILURE);
        });
    EXPECT_EQ(log_on_as("render@farm", "wrong", ERROR_LOGON_FAILURE).error, "LogonUser() failed, error 1326");
}

TEST(LogonUserW, AsksNobodyWithoutAPlaceForTheToken)
{
    asked = {};
    const import_hook hook("LogonUserW", &log_on);
    std::string error = "untouched";
    EXPECT_FALSE(processes::LogonUserW("render", "secret", nullptr, error));
    EXPECT_EQ(error, "untouched");
    EXPECT_EQ(asked.calls, 0);
}

TEST(LogonUserW, AsksNobodyWithATextThatCouldNotBeConverted)
{
    kf::test::call_fault<"MultiByteToWideChar", int(UINT, DWORD, const char*, int, wchar_t*, int)> converting(
        0, ERROR_NO_UNICODE_TRANSLATION);
    const int calls = kf::test::fail_each_call(
        converting, kf::test::fault_span::single,
        [&]
        {
            const auto result = log_on_as("render@farm", "secret");
            const bool failed = converting.happened();
            EXPECT_EQ(result.worked, !failed);
            EXPECT_EQ(asked.calls, failed ? 0 : 1);
            EXPECT_EQ(result.token, failed ? nullptr : &token_place);
            EXPECT_EQ(result.error, failed ? "LogonUser() failed, error 1113" : "untouched");
        });
    EXPECT_EQ(calls, 6);
}

TEST(ImpersonateUser, DoesNothingForNull)
{
    std::string error = "untouched";
    EXPECT_TRUE(processes::ImpersonateUser(nullptr, error));
    EXPECT_EQ(error, "untouched");
    EXPECT_FALSE(impersonating());
}

TEST(ImpersonateUser, ActsAsTheUserUntilItIsReverted)
{
    const unique_handle token = own_token();
    const closings closed(token.get());
    std::string error = "untouched";
    EXPECT_TRUE(processes::ImpersonateUser(token.get(), error));
    EXPECT_TRUE(impersonating());
    EXPECT_TRUE(processes::RevertUserImpersonation(nullptr));
    EXPECT_TRUE(impersonating());
    EXPECT_TRUE(processes::RevertUserImpersonation(token.get()));
    EXPECT_FALSE(impersonating());
    EXPECT_EQ(error, "untouched");
    EXPECT_EQ(closings::count(), 0);
}

// KEPT[impersonation-takes-token]
TEST(ImpersonateUser, ClosesTheTokenOnceWhenItFails)
{
    unique_handle token = own_token();
    const closings closed(token.get());
    kf::test::call_fault<"ImpersonateLoggedOnUser", BOOL(HANDLE)> refusal(FALSE, ERROR_ACCESS_DENIED);
    refusal.lastingly(0);
    std::string error;
    EXPECT_FALSE(processes::ImpersonateUser(token.get(), error));
    EXPECT_EQ(error, "ImpersonateLoggedOnUser() failed, error 5");
    EXPECT_EQ(closings::count(), 1);
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(token.release(), &flags));
}

// KEPT[users-always-true]
TEST(RevertUserImpersonation, IsTrueWhateverTheSystemSays)
{
    kf::test::call_fault<"RevertToSelf", BOOL()> refusal(FALSE, ERROR_ACCESS_DENIED);
    refusal.lastingly(0);
    EXPECT_TRUE(processes::RevertUserImpersonation(nullptr));
    EXPECT_EQ(refusal.calls(), 0);
    EXPECT_TRUE(processes::RevertUserImpersonation(&token_place));
    EXPECT_EQ(refusal.calls(), 1);
}

// KEPT[users-always-true]
TEST(LogoutUser, ClosesATokenOnceAndIsAlwaysTrue)
{
    unique_handle token = own_token();
    const HANDLE handle = token.release();
    const closings closed(handle);
    EXPECT_TRUE(processes::LogoutUser(handle));
    EXPECT_EQ(closings::count(), 1);
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(handle, &flags));
    EXPECT_TRUE(processes::LogoutUser(handle));
    EXPECT_TRUE(processes::LogoutUser(nullptr));
}
