#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/services.h"
#include "tests/services/service_calls_win.h"

using namespace KFramework::KServices;
using kf::services::test::service_calls;
using kf::services::test::service_request;
using calls = std::vector<std::string>;

namespace
{
constexpr char kInstalled[] = "\r\nService installed successfully.\r\n";
constexpr char kNotInstalled[] =
    "\r\nCannot install the service. You could haven't enough permissions or the service "
    "could be already installed.\r\n";
constexpr char kRemoved[] = "\r\nService removed successfully.\r\n";
constexpr char kNotRemoved[] =
    "\r\nCannot remove the service. You could haven't enough permissions or the service "
    "could be not installed.\r\n";
constexpr char kNoManager[] = "\r\nCannot connect to the service control manager.\r\n";

bool install(const wchar_t* account = nullptr, const wchar_t* password = nullptr,
             const wchar_t* suffix = L" run")
{
    return InstallWin32Service(L"farm", L"Farm worker", L"Renders.", account, password, suffix);
}

/// What CreateServiceW is asked for with this account and password.
service_request request_of(const wchar_t* account, const wchar_t* password)
{
    const service_calls manager;
    EXPECT_TRUE(install(account, password));
    return service_calls::request();
}
} // namespace

TEST(InstallWin32Service, AsksForExactlyTheStatedService)
{
    service_calls manager;
    EXPECT_TRUE(install());
    EXPECT_EQ(manager.journal(),
              calls({"open manager to create", "ask for the path", "create service of manager",
                     "describe service", "close service", "print", "close manager"}));
    const service_request& request = service_calls::request();
    EXPECT_EQ(request.name, L"farm");
    EXPECT_EQ(request.display_name, L"Farm worker");
    EXPECT_EQ(request.access, 0x0002u);    // SERVICE_CHANGE_CONFIG
    EXPECT_EQ(request.type, 0x00000010u);  // SERVICE_WIN32_OWN_PROCESS
    EXPECT_EQ(request.start, 0x00000003u); // SERVICE_DEMAND_START
    EXPECT_EQ(request.error_control, 0u);  // SERVICE_ERROR_IGNORE
    EXPECT_FALSE(request.has_group_tag_or_dependencies);
    EXPECT_EQ(service_calls::description(), L"Renders.");
}

// KEPT[suffix-as-given]
TEST(InstallWin32Service, PutsTheSuffixDirectlyBehindThePathWithoutQuotes)
{
    for (const wchar_t* suffix : {L" run", L"run", L" --name \"a b\"", L""})
    {
        const service_calls manager;
        EXPECT_TRUE(install(nullptr, nullptr, suffix));
        EXPECT_EQ(service_calls::request().line, std::wstring(L"C:\\farm\\worker.exe") + suffix);
    }
    const service_calls manager;
    EXPECT_TRUE(install(nullptr, nullptr, nullptr));
    EXPECT_EQ(service_calls::request().line, L"C:\\farm\\worker.exe");
}

// KEPT[suffix-as-given]
TEST(InstallWin32Service, CutsALongPathAtTheRoomOfTwoHundredAndSixtyCharacters)
{
    const service_calls manager;
    const kf::test::import_hook long_path(
        "GetModuleFileNameW",
        +[](HMODULE, wchar_t* path, DWORD size) -> DWORD WINAPI
        {
            std::fill_n(path, size, L'x'); // no terminator
            ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
            return size;
        });
    EXPECT_TRUE(install());
    EXPECT_EQ(service_calls::request().line, std::wstring(260, L'x') + L" run");
}

// KEPT[account-with-password]
TEST(InstallWin32Service, PassesAccountAndPasswordTogetherOrNeither)
{
    const service_request both = request_of(L".\\worker", L"secret");
    EXPECT_EQ(both.account, L".\\worker");
    EXPECT_EQ(both.password, L"secret");
    const wchar_t* const account = L".\\worker";
    const wchar_t* const password = L"secret";
    const std::pair<const wchar_t*, const wchar_t*> incomplete[] = {
        {nullptr, nullptr}, {L"", L""},          {account, nullptr},
        {account, L""},     {nullptr, password}, {L"", password},
    };
    for (const auto& [one, other] : incomplete)
    {
        const service_request request = request_of(one, other);
        EXPECT_FALSE(request.has_account);
        EXPECT_FALSE(request.has_password);
    }
}

TEST(InstallWin32Service, TakesNullForDisplayNameAndDescription)
{
    service_calls manager;
    EXPECT_TRUE(InstallWin32Service(L"farm", nullptr, nullptr, nullptr, nullptr, L""));
    EXPECT_FALSE(service_calls::request().has_display_name);
    EXPECT_EQ(manager.journal().back(), "close manager");
}

// KEPT[service-texts]
TEST(InstallWin32Service, PrintsWhatCameOfIt)
{
    const std::pair<const char*, const char*> outcomes[] = {
        {"", kInstalled},
        {"open manager to create", kNoManager},
        {"ask for the path", kNotInstalled},
        {"create service of manager", kNotInstalled},
        {"describe service", kInstalled},
    };
    for (const auto& [failing, text] : outcomes)
    {
        service_calls manager(failing);
        EXPECT_EQ(install(), std::string(text) == kInstalled) << failing;
        EXPECT_EQ(manager.printed(), text) << failing;
    }
}

TEST(InstallWin32Service, ClosesEveryHandleOnceWhateverFails)
{
    const std::pair<const char*, calls> outcomes[] = {
        {"open manager to create", {"open manager to create", "print"}},
        {"ask for the path", {"open manager to create", "ask for the path", "close manager", "print"}},
        {"create service of manager",
         {"open manager to create", "ask for the path", "create service of manager", "close manager",
          "print"}},
        {"close service",
         {"open manager to create", "ask for the path", "create service of manager", "describe service",
          "close service", "print", "close manager"}},
    };
    for (const auto& [failing, journal] : outcomes)
    {
        service_calls manager(failing);
        install();
        EXPECT_EQ(manager.journal(), journal) << failing;
    }
}

// KEPT[description-unchecked]
TEST(InstallWin32Service, SucceedsWithoutItsDescription)
{
    service_calls manager("describe service");
    EXPECT_TRUE(install());
    EXPECT_EQ(manager.journal(),
              calls({"open manager to create", "ask for the path", "create service of manager",
                     "describe service", "close service", "print", "close manager"}));
}

TEST(UninstallWin32Service, OpensTheServiceForRemovalAlone)
{
    service_calls manager;
    EXPECT_TRUE(UninstallWin32Service(L"farm"));
    EXPECT_EQ(manager.journal(), calls({"open manager to connect", "open service farm of manager to delete",
                                        "delete service", "close service", "print", "close manager"}));
}

// KEPT[service-texts]
TEST(UninstallWin32Service, PrintsWhatCameOfIt)
{
    const std::pair<const char*, const char*> outcomes[] = {
        {"", kRemoved},
        {"open manager to connect", kNoManager},
        {"open service farm of manager to delete", kNotRemoved},
    };
    for (const auto& [failing, text] : outcomes)
    {
        service_calls manager(failing);
        EXPECT_EQ(UninstallWin32Service(L"farm"), std::string(text) == kRemoved) << failing;
        EXPECT_EQ(manager.printed(), text) << failing;
    }
}

TEST(UninstallWin32Service, ClosesEveryHandleOnceWhateverFails)
{
    const std::string open = "open service farm of manager to delete";
    const std::pair<std::string, calls> outcomes[] = {
        {"open manager to connect", {"open manager to connect", "print"}},
        {open, {"open manager to connect", open, "print", "close manager"}},
        {"close service",
         {"open manager to connect", open, "delete service", "close service", "print", "close manager"}},
    };
    for (const auto& [failing, journal] : outcomes)
    {
        service_calls manager(failing);
        UninstallWin32Service(L"farm");
        EXPECT_EQ(manager.journal(), journal) << failing;
    }
}

// KEPT[removal-unchecked]
TEST(UninstallWin32Service, SucceedsWhenTheServiceManagerRefusesTheRemoval)
{
    service_calls manager("delete service");
    EXPECT_TRUE(UninstallWin32Service(L"farm"));
    EXPECT_EQ(manager.printed(), kRemoved);
    EXPECT_EQ(manager.journal(), calls({"open manager to connect", "open service farm of manager to delete",
                                        "delete service", "close service", "print", "close manager"}));
}
