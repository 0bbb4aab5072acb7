/// Taking over the environment that a batch file leaves, from a real shell and
/// from a child that stands in for one.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using KClientLib::KEnvironment;
using kf::test::child_program;
using kf::test::handle_count;
using kf::test::import_hook;
using kf::test::shell_variable;
using kf::test::temporary_folder;

/// A shell that prints the "batch file" as it is and lingers.
class printing_shell : public shell_variable
{
public:
    printing_shell() : shell_variable(kf::test::utf8_path(child_program("print_batch")).c_str()) {}
};

/// The least that lets a shell run.
KEnvironment basic_environment()
{
    return {{{"SystemRoot", "C:\\windows"}, {"PATH", "C:\\windows\\system32"}}};
}

/// The table after the shell printed a text.
KEnvironment after(const std::string& printed)
{
    const printing_shell shell;
    const temporary_folder folder;
    KEnvironment environment = basic_environment();
    std::string error = "unchanged";
    EXPECT_TRUE(MergeEnvironmentWithBatFile(&environment, folder.write("printed.txt", printed), error));
    EXPECT_EQ(error, "unchanged");
    return environment;
}

/// In place of a shell: the handles of a child that has ended, which had printed a text.
HANDLE ended_child = nullptr;
std::string_view printed_text;

BOOL WINAPI end_at_once(LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID,
                        LPCWSTR, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION started)
{
    DWORD written = 0;
    ::WriteFile(startup->hStdOutput, printed_text.data(), static_cast<DWORD>(printed_text.size()), &written,
                nullptr);
    HANDLE const self = ::GetCurrentProcess();
    for (HANDLE* const copy : {&started->hProcess, &started->hThread})
        EXPECT_TRUE(::DuplicateHandle(self, ended_child, self, copy, 0, FALSE, DUPLICATE_SAME_ACCESS));
    return TRUE;
}

std::string many_variables(int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
        text += "KF_" + std::to_string(i) + "=" + std::to_string(i * 7) + "\r\n";
    return text;
}
} // namespace

// KEPT[merge-keeps-return]
TEST(MergeEnvironmentWithBatFile, TakesWhatTheShellPrintsBehindTheDelimiter)
{
    const KEnvironment environment = after("KF_NO=1\r\n=====KARVEL===== \r\nKF_A=1\r\nPATH=new\r\n");
    EXPECT_EQ(environment.variables, (std::map<std::string, std::string>{
                                         {"KF_A", "1\r"}, {"PATH", "new\r"}, {"SystemRoot", "C:\\windows"}}));
}

TEST(MergeEnvironmentWithBatFile, ChangesNothingWithoutTheDelimiter)
{
    EXPECT_EQ(after("KF_NO=1\r\n").variables, basic_environment().variables);
}

TEST(MergeEnvironmentWithBatFile, TakesOutputLargerThanThePipe)
{
    const KEnvironment environment = after("=====KARVEL===== \r\n" + many_variables(5000));
    ASSERT_EQ(environment.variables.size(), 5002u);
    EXPECT_EQ(environment.variables.at("KF_4999"), "34993\r");
}

TEST(MergeEnvironmentWithBatFile, RunsTheBatchFileInARealShell)
{
    const temporary_folder folder("-a b");
    const std::string batch =
        folder.write("job.bat", "@set KF_PLAIN=one two\r\n@set KF_SUM=%KF_GIVEN%+2\r\n@echo KF_NOISE=1\r\n");
    KEnvironment environment = basic_environment();
    environment.variables["KF_GIVEN"] = "1";
    std::string error;
    ASSERT_TRUE(MergeEnvironmentWithBatFile(&environment, batch, error));
    EXPECT_EQ(environment.variables["KF_PLAIN"], "one two\r");
    EXPECT_EQ(environment.variables["KF_SUM"], "1+2\r");
    EXPECT_EQ(environment.variables["KF_GIVEN"], "1\r"); // the shell prints what it was given too
    EXPECT_FALSE(environment.variables.contains("KF_NOISE"));
}

TEST(MergeEnvironmentWithBatFile, LosesNothingWhenTheShellEndsQuickly)
{
    const temporary_folder folder;
    const std::string batch = folder.write("quick.bat", "@set KF_QUICK=1\r\n");
    for (int i = 0; i < 2; ++i)
    {
        KEnvironment environment = basic_environment();
        std::string error;
        ASSERT_TRUE(MergeEnvironmentWithBatFile(&environment, batch, error));
        EXPECT_EQ(environment.variables["KF_QUICK"], "1\r");
    }
}

TEST(MergeEnvironmentWithBatFile, EndsTheInputOfABatchFileThatAsksForSome)
{
    const temporary_folder folder;
    const std::string batch = folder.write("ask.bat", "@set /p KF_ANSWER=?\r\n@set KF_AFTER=1\r\n");
    KEnvironment environment = basic_environment();
    std::string error;
    ASSERT_TRUE(MergeEnvironmentWithBatFile(&environment, batch, error));
    EXPECT_EQ(environment.variables["KF_AFTER"], "1\r");
}

TEST(MergeEnvironmentWithBatFile, MergesNothingWhenTheBatchFileEndsTheShell)
{
    const temporary_folder folder;
    KEnvironment environment = basic_environment();
    std::string error;
    EXPECT_TRUE(MergeEnvironmentWithBatFile(&environment, folder.write("e.bat", "@exit 9\r\n"), error));
    EXPECT_EQ(environment.variables, basic_environment().variables);
}

TEST(MergeEnvironmentWithBatFile, TellsABatchFileThatFailsFromNoShellAtAll)
{
    KEnvironment environment = basic_environment();
    std::string error;
    EXPECT_TRUE(MergeEnvironmentWithBatFile(&environment, "C:\\no such file.bat", error));

    const shell_variable missing(L"C:\\no such shell.exe");
    const std::size_t before = handle_count();
    EXPECT_FALSE(MergeEnvironmentWithBatFile(&environment, "C:\\any.bat", error));
    EXPECT_EQ(error.size(), 1u); // the first character of the system's message
    EXPECT_EQ(handle_count(), before);
}

// KEPT[merge-shell-twice]
TEST(MergeEnvironmentWithBatFile, FallsBackToTheUsualShell)
{
    const shell_variable unset(nullptr);
    static std::wstring application;
    const import_hook hook(
        "CreateProcessW",
        +[](LPCWSTR name, LPWSTR line, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID,
            LPCWSTR folder, LPSTARTUPINFOW, LPPROCESS_INFORMATION) -> BOOL WINAPI
        {
            application = name;
            EXPECT_EQ(std::wstring(line),
                      L"\"C:\\WINDOWS\\SYSTEM32\\CMD.EXE\" C:\\WINDOWS\\SYSTEM32\\CMD.EXE /C "
                      L"\"b.bat\" & echo =====KARVEL===== & set");
            EXPECT_EQ(std::wstring(folder), L"C:\\WINDOWS\\SYSTEM32");
            return FALSE;
        });
    KEnvironment environment;
    std::string error;
    EXPECT_FALSE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
    EXPECT_EQ(application, L"C:\\WINDOWS\\SYSTEM32\\CMD.EXE");
}

TEST(MergeEnvironmentWithBatFile, FailsWithoutATableOrPipes)
{
    std::string error;
    EXPECT_FALSE(MergeEnvironmentWithBatFile(nullptr, "b.bat", error));
    const import_hook hook(
        "CreatePipe", +[](PHANDLE, PHANDLE, LPSECURITY_ATTRIBUTES, DWORD) -> BOOL WINAPI { return FALSE; });
    KEnvironment environment = basic_environment();
    EXPECT_FALSE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
}

TEST(MergeEnvironmentWithBatFile, IsNotHeldUpByAGrandchildThatKeepsThePipe)
{
    const temporary_folder folder;
    const std::string batch = folder.write("leave.bat", "@start /b \"\" \"" + child_program("end_with") +
                                                            "\" 0 15000\r\n@set KF_DONE=1\r\n");
    KEnvironment environment = basic_environment();
    std::string error;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(MergeEnvironmentWithBatFile(&environment, batch, error));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(14));
    EXPECT_EQ(environment.variables["KF_DONE"], "1\r");
}

TEST(MergeEnvironmentWithBatFile, TakesNoMoreThanWaitsOnceTheShellHasEnded)
{
    // A pipe that never runs dry, as under a grandchild that keeps writing.
    static std::atomic<int> reads = 0;
    reads = 0;
    const import_hook peek(
        "PeekNamedPipe",
        +[](HANDLE, LPVOID, DWORD, LPDWORD, LPDWORD waiting, LPDWORD) -> BOOL WINAPI
        {
            *waiting = 5000;
            return TRUE;
        });
    const import_hook read(
        "ReadFile",
        +[](HANDLE, LPVOID buffer, DWORD size, LPDWORD taken, LPOVERLAPPED) -> BOOL WINAPI
        {
            ++reads;
            std::fill_n(static_cast<char*>(buffer), size, 'x');
            *taken = size;
            return TRUE;
        });
    const import_hook code(
        "GetExitCodeProcess",
        +[](HANDLE, LPDWORD exit_code) -> BOOL WINAPI
        {
            *exit_code = 0;
            return TRUE;
        });
    KEnvironment environment = basic_environment();
    std::string error;
    EXPECT_TRUE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
    EXPECT_EQ(reads, 1 + 3); // 2,046 bytes each: one in the loop, then as many as hold 5,000
}

TEST(MergeEnvironmentWithBatFile, PausesFor50MsWhenNothingWaits)
{
    const kf::test::spawned_child child("end_with", "0");
    static_cast<void>(child.exit_code());
    ended_child = child.process->processHandle;
    const import_hook create("CreateProcessW", &end_at_once);
    static std::vector<DWORD> pauses;
    pauses.clear();
    const import_hook sleep(
        "Sleep", +[](DWORD time) WINAPI { pauses.push_back(time); });
    KEnvironment environment;
    std::string error;
    printed_text = "";
    EXPECT_TRUE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
    EXPECT_EQ(pauses, std::vector<DWORD>{50});
    printed_text = "=====KARVEL===== \r\nKF_A=1\r\n";
    EXPECT_TRUE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
    EXPECT_EQ(pauses.size(), 1u); // something waited
    EXPECT_EQ(environment.variables["KF_A"], "1\r");
}

// KEPT[merge-leaks-handles]
TEST(MergeEnvironmentWithBatFile, LeavesTwoHandlesOpenEachTimeAndNothingElse)
{
    // A "shell" that ends at once.
    const shell_variable shell(kf::test::utf8_path(child_program("end_with")).c_str());
    KEnvironment environment = basic_environment();
    std::string error;
    ASSERT_TRUE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
    std::size_t before = handle_count();
    for (int i = 0; i < 3; ++i)
        ASSERT_TRUE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
    EXPECT_EQ(handle_count(), before + 6);

    const kf::test::spawned_child child("end_with", "0");
    static_cast<void>(child.exit_code());
    ended_child = child.process->processHandle;
    printed_text = "=====KARVEL===== \r\nKF_A=1\r\n";
    const import_hook create("CreateProcessW", &end_at_once);
    before = handle_count();
    for (int i = 0; i < 100; ++i)
        ASSERT_TRUE(MergeEnvironmentWithBatFile(&environment, "b.bat", error));
    EXPECT_EQ(handle_count(), before + 200);
}
