/// RegisterWin32Service with an intercepted dispatcher, and examples/service in the service manager of this prefix.

#include "tests/support/program_run_win.h" // before <windows.h>

#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/platform/services_win.h"
#include "KFramework/services.h"
#include "KFramework/string.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KServices;
using kf::platform::unique_service;
using kf::test::child_program;
using kf::test::import_hook;
using kf::test::program_run;
using kf::test::wait_until;

namespace
{
constexpr char kInstalled[] = "\nService installed successfully.\n";
constexpr char kNotInstalled[] =
    "\nCannot install the service. You could haven't enough permissions or the service "
    "could be already installed.\n";
constexpr char kRemoved[] = "\nService removed successfully.\n";
constexpr char kNotRemoved[] =
    "\nCannot remove the service. You could haven't enough permissions or the service "
    "could be not installed.\n";

std::vector<SERVICE_TABLE_ENTRYW> table;
BOOL answer = TRUE;

BOOL WINAPI note_table(const SERVICE_TABLE_ENTRYW* entries)
{
    table.assign(entries, entries + 2);
    return answer;
}

void WINAPI do_nothing(DWORD, wchar_t**) {}

/// A service of this run's own, removed with the object whatever the test came to.
class installed_service
{
public:
    installed_service()
        : name_("kframework-test-" + std::to_string(::GetCurrentProcessId())),
          manager_(::OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT))
    {
        EXPECT_TRUE(manager_) << ::GetLastError();
    }
    ~installed_service()
    {
        const unique_service service = open();
        if (!service)
            return;
        SERVICE_STATUS status;
        ::ControlService(service.get(), SERVICE_CONTROL_STOP, &status);
        ::DeleteService(service.get());
    }
    installed_service(const installed_service&) = delete;
    installed_service& operator=(const installed_service&) = delete;

    [[nodiscard]] unique_service open() const
    {
        const std::wstring wide(name_.begin(), name_.end());
        return unique_service(::OpenServiceW(manager_.get(), wide.c_str(), SERVICE_ALL_ACCESS));
    }

    /// Runs the example with this service's name; gives its exit code and all that it printed.
    std::pair<unsigned long, std::string> program(const std::string& request) const
    {
        program_run run("farm_service", request + " " + name_);
        const unsigned long code = run.wait().value_or(99);
        return {code, run.output()};
    }

    [[nodiscard]] const std::string& name() const { return name_; }

private:
    std::string name_;
    unique_service manager_;
};

using outcome = std::pair<unsigned long, std::string>;

DWORD state_of(const unique_service& service)
{
    SERVICE_STATUS status{};
    EXPECT_TRUE(::QueryServiceStatus(service.get(), &status));
    return status.dwCurrentState;
}

std::string narrow(wchar_t* text)
{
    return KFramework::KStringHelper::WideStringToUtf8String(text);
}

void expect_own_configuration(const unique_service& service, const std::string& name)
{
    alignas(8) BYTE room[8192];
    DWORD needed = 0;
    auto* config = reinterpret_cast<QUERY_SERVICE_CONFIGW*>(room);
    ASSERT_TRUE(::QueryServiceConfigW(service.get(), config, sizeof room, &needed)) << ::GetLastError();
    EXPECT_EQ(config->dwServiceType, 0x10u);
    EXPECT_EQ(config->dwStartType, 3u);
    EXPECT_EQ(config->dwErrorControl, 0u);
    EXPECT_EQ(narrow(config->lpDisplayName), name);
    EXPECT_EQ(narrow(config->lpServiceStartName), "LocalSystem");
    EXPECT_EQ(narrow(config->lpBinaryPathName), child_program("farm_service") + " run \"" + name + "\"");

    ASSERT_TRUE(
        ::QueryServiceConfig2W(service.get(), SERVICE_CONFIG_DESCRIPTION, room, sizeof room, &needed));
    EXPECT_EQ(narrow(reinterpret_cast<SERVICE_DESCRIPTIONW*>(room)->lpDescription),
              "Keeps this machine awake for the farm.");
}
} // namespace

TEST(RegisterWin32Service, HandsOverATableOfOneServiceAndGivesTheDispatchersAnswer)
{
    const import_hook dispatcher("StartServiceCtrlDispatcherW", &note_table);
    const wchar_t* const name = L"farm";
    for (const BOOL one : {TRUE, FALSE})
    {
        answer = one;
        table.clear();
        EXPECT_EQ(RegisterWin32Service(name, reinterpret_cast<void*>(&do_nothing)), one != FALSE);
        ASSERT_EQ(table.size(), 2u);
        EXPECT_EQ(std::wstring(table[0].lpServiceName), name);
        EXPECT_EQ(table[0].lpServiceProc, &do_nothing);
        EXPECT_EQ(table[1].lpServiceName, nullptr);
        EXPECT_EQ(table[1].lpServiceProc, nullptr);
    }
}

TEST(ServiceManager, InstallsRunsStopsAndRemovesTheExample)
{
    const installed_service installed;
    ASSERT_EQ(installed.program("remove"), outcome(1, kNotRemoved));
    ASSERT_EQ(installed.program("install"), outcome(0, kInstalled));
    EXPECT_EQ(installed.program("install"), outcome(1, kNotInstalled));
    {
        const unique_service service = installed.open();
        ASSERT_TRUE(service) << ::GetLastError();
        expect_own_configuration(service, installed.name());
        EXPECT_EQ(state_of(service), DWORD{SERVICE_STOPPED});

        ASSERT_TRUE(::StartServiceW(service.get(), 0, nullptr)) << ::GetLastError();
        ASSERT_TRUE(wait_until([&] { return state_of(service) == SERVICE_RUNNING; })) << state_of(service);
        SERVICE_STATUS status;
        EXPECT_TRUE(::ControlService(service.get(), SERVICE_CONTROL_INTERROGATE, &status))
            << ::GetLastError();
        EXPECT_EQ(status.dwCurrentState, DWORD{SERVICE_RUNNING});
        ASSERT_TRUE(::ControlService(service.get(), SERVICE_CONTROL_STOP, &status)) << ::GetLastError();
        ASSERT_TRUE(wait_until([&] { return state_of(service) == SERVICE_STOPPED; })) << state_of(service);
    }
    EXPECT_EQ(installed.program("remove"), outcome(0, kRemoved));
    EXPECT_TRUE(wait_until([&] { return !installed.open(); }));
    EXPECT_EQ(::GetLastError(), DWORD{ERROR_SERVICE_DOES_NOT_EXIST});
    EXPECT_EQ(installed.program("remove"), outcome(1, kNotRemoved));
}

TEST(ServiceManager, RemovesARunningServiceWhenItStops)
{
    const installed_service installed;
    ASSERT_EQ(installed.program("install"), outcome(0, kInstalled));
    {
        const unique_service service = installed.open();
        ASSERT_TRUE(service) << ::GetLastError();
        ASSERT_TRUE(::StartServiceW(service.get(), 0, nullptr)) << ::GetLastError();
        ASSERT_TRUE(wait_until([&] { return state_of(service) == SERVICE_RUNNING; })) << state_of(service);
        EXPECT_EQ(installed.program("remove"), outcome(0, kRemoved));
        SERVICE_STATUS status;
        ASSERT_TRUE(::ControlService(service.get(), SERVICE_CONTROL_STOP, &status)) << ::GetLastError();
        ASSERT_TRUE(wait_until([&] { return state_of(service) == SERVICE_STOPPED; })) << state_of(service);
    }
    EXPECT_TRUE(wait_until([&] { return !installed.open(); }));
}

TEST(ServiceManager, LetsRegisterWin32ServiceFailInAProgramThatItDidNotStart)
{
    // Alone and last: while it waits to be refused, which may take seconds, it could take the place of a service that
    // the manager has just started.
    program_run unmanaged("farm_service", "run unmanaged");
    EXPECT_EQ(unmanaged.wait(), 1u);
    EXPECT_EQ(unmanaged.output(), "farm_service: only the service manager can run this\n");
}
