/// Starting children.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/support/children.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <sstream>
#include <string>

namespace
{
using namespace KFramework::KProcesses;
using KClientLib::KEnvironment;
using kf::test::child_program;
using kf::test::children_folder;
using kf::test::handle_count;
using kf::test::import_hook;
using kf::test::spawned_child;

/// What the library handed to CreateProcessW.
struct creation
{
    STARTUPINFOW startup{};
    BOOL inherit = FALSE;
    DWORD flags = 0;
    bool has_security = false;
    bool has_environment = false;
    std::wstring application;
    std::wstring line;
    std::wstring folder;
};
creation seen;

BOOL WINAPI note_creation(LPCWSTR application, LPWSTR line, LPSECURITY_ATTRIBUTES process,
                          LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment,
                          LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION)
{
    seen = {*startup,    inherit, flags, process != nullptr || thread != nullptr, environment != nullptr,
            application, line,    folder};
    ::SetLastError(ERROR_ACCESS_DENIED);
    return FALSE;
}

/// Tries to start something with CreateProcessW noting what it gets; gives that.
creation attempt(KPipesHandles* pipes, KEnvironment* environment)
{
    const import_hook hook("CreateProcessW", &note_creation);
    int error = 0;
    std::string text;
    EXPECT_EQ(SpawnProcess("C:\\\xC3\xA4.exe", "-\xC3\xB6 x", "C:\\\xC3\xBC", pipes, environment, error, text,
                           nullptr),
              nullptr);
    EXPECT_EQ(error, ERROR_ACCESS_DENIED);
    return seen;
}

/// A failing spawn's error code and text.
struct failure
{
    int code = -1;
    std::string text = "unchanged";
};

failure fail(const char* executable, const char* folder = "C:\\", KPipesHandles* pipes = nullptr)
{
    failure result;
    EXPECT_EQ(SpawnProcess(executable, "", folder, pipes, nullptr, result.code, result.text, nullptr),
              nullptr);
    return result;
}

/// The child program under a path of so many bytes; 2-byte letters stand in
/// the folder's name, the first one at an even or an odd offset.
class long_path
{
public:
    long_path(std::size_t bytes, bool shifted)
    {
        const std::string file = "\\c.exe";
        std::string name = shifted ? "\\x" : "\\";
        std::size_t left = bytes - folder_.text().size() - file.size() - name.size();
        if (left % 2 != 0)
        {
            name += 'y';
            --left;
        }
        for (; left != 0; left -= 2)
            name += "\xC3\xA4";
        const std::string folder = folder_.text() + name;
        text = folder + file;
        std::filesystem::create_directory(kf::test::utf8_path(folder));
        std::filesystem::copy_file(kf::test::utf8_path(child_program("print_command_line")),
                                   kf::test::utf8_path(text));
    }

    std::string text;

private:
    kf::test::temporary_folder folder_;
};

/// What a child prints that is started from any path, in the folder where its libraries lie.
std::string output_of(const std::string& executable, const std::string& arguments)
{
    KPipesHandles* const pipes = CreatePipes(true);
    failure result;
    KProcess* const process = SpawnProcess(executable.c_str(), arguments.c_str(), children_folder().c_str(),
                                           pipes, nullptr, result.code, result.text, nullptr);
    EXPECT_NE(process, nullptr) << executable << ": error " << result.code;
    std::string output;
    if (process != nullptr)
    {
        output = kf::test::read_to_end(pipes->stdoutRead);
        unsigned long code = 0;
        EXPECT_EQ(WaitProcess(process, true, 0, code), 1);
        EXPECT_TRUE(CloseProcess(process));
    }
    DeletePipes(pipes, true);
    return output;
}
} // namespace

TEST(SpawnProcess, QuotesThePathAndPassesTheArgumentsUnchanged)
{
    const spawned_child child("print_command_line", "a  \"b c\" \xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(child.output(),
              "\"" + child_program("print_command_line") + "\" a  \"b c\" \xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(child.exit_code(), 0u);
}

TEST(SpawnProcess, FillsTheRecordFromTheNewProcess)
{
    const spawned_child child("end_with", "3");
    ASSERT_TRUE(child.started());
    EXPECT_EQ(child.process->processId, ::GetProcessId(child.process->processHandle));
    EXPECT_EQ(child.process->threadId, ::GetThreadId(child.process->threadHandle));
    EXPECT_EQ(child.process->pipes, child.pipes);
    EXPECT_EQ(GetProcessPid(child.process), child.process->processId);
    EXPECT_EQ(child.exit_code(), 3u);
}

// KEPT[command-line-cut]
TEST(SpawnProcess, StartsFromTheWholePathButShowsTheChildOnly260Bytes)
{
    for (const std::size_t bytes : {259u, 260u, 261u, 300u})
    {
        for (const bool shifted : {false, true})
        {
            const long_path path(bytes, shifted);
            ASSERT_EQ(path.text.size(), bytes);
            std::string kept = path.text.substr(0, 260);
            if (bytes > 260 && (static_cast<unsigned char>(path.text[260]) & 0xC0) == 0x80)
                kept.replace(259, 1, "\xEF\xBF\xBD"); // half a letter becomes the replacement character
            EXPECT_EQ(output_of(path.text, "x"), "\"" + kept + "\" x") << bytes;
        }
    }
}

TEST(SpawnProcess, CutsTheArgumentsAt32504Bytes)
{
    const std::string program = child_program("print_command_line");
    const std::string kept(32504, 'a');
    // Both at most what a command line may hold, so the path has to be short.
    EXPECT_EQ(output_of(program, kept), "\"" + program + "\" " + kept);
    EXPECT_EQ(output_of(program, kept + "b"), "\"" + program + "\" " + kept);
}

// KEPT[spawn-inherits]
TEST(SpawnProcess, AlwaysLetsTheChildInheritHandles)
{
    EXPECT_TRUE(attempt(nullptr, nullptr).inherit);
}

// KEPT[spawn-flags]
TEST(SpawnProcess, StartsAHiddenWindowOnAConsoleOfItsOwn)
{
    const creation made = attempt(nullptr, nullptr);
    EXPECT_EQ(made.flags, 0x4000430u);
    EXPECT_EQ(made.startup.cb, sizeof(STARTUPINFOW));
    EXPECT_EQ(made.startup.dwFlags, static_cast<DWORD>(STARTF_USESHOWWINDOW));
    EXPECT_EQ(made.startup.wShowWindow, SW_HIDE);
    EXPECT_EQ(made.startup.lpDesktop, nullptr);
    EXPECT_EQ(made.startup.lpTitle, nullptr);
    EXPECT_EQ(made.startup.hStdInput, nullptr);
    EXPECT_FALSE(made.has_security);
    EXPECT_FALSE(made.has_environment);
}

TEST(SpawnProcess, ConvertsItsTextsFromUtf8)
{
    const creation made = attempt(nullptr, nullptr);
    EXPECT_EQ(made.application, L"C:\\\u00E4.exe");
    EXPECT_EQ(made.line, L"\"C:\\\u00E4.exe\" -\u00F6 x");
    EXPECT_EQ(made.folder, L"C:\\\u00FC");
}

TEST(SpawnProcess, HandsTheChildItsThreePipeEnds)
{
    KPipesHandles* const pipes = CreatePipes(false);
    const KPipesHandles ends = *pipes;
    const creation made = attempt(pipes, nullptr);
    EXPECT_EQ(made.startup.dwFlags, static_cast<DWORD>(STARTF_USESHOWWINDOW | STARTF_USESTDHANDLES));
    EXPECT_EQ(made.startup.hStdInput, ends.stdinRead);
    EXPECT_EQ(made.startup.hStdOutput, ends.stdoutWrite);
    EXPECT_EQ(made.startup.hStdError, ends.stderrWrite);
    DeletePipes(pipes, true);
}

TEST(SpawnProcess, JoinsStandardErrorToStandardOutputWhenMerging)
{
    KPipesHandles* const pipes = CreatePipes(true);
    HANDLE const output = pipes->stdoutWrite;
    const creation made = attempt(pipes, nullptr);
    EXPECT_EQ(made.startup.hStdOutput, output);
    EXPECT_EQ(made.startup.hStdError, output);
    DeletePipes(pipes, true);
}

TEST(SpawnProcess, TalksToTheChildOverThreePipes)
{
    const spawned_child child("copy_input", "", false);
    EXPECT_EQ(WritePipe(child.pipes->stdinWrite, "hello", 5), 5);
    ClosePipeHandle(std::exchange(child.pipes->stdinWrite, nullptr));
    EXPECT_EQ(child.output(), "hello");
    EXPECT_EQ(child.errors(), "end");
    EXPECT_EQ(child.exit_code(), 5u);
}

TEST(SpawnProcess, PutsStandardErrorIntoTheOutputWhenMerging)
{
    const spawned_child child("copy_input", "", true);
    WritePipe(child.pipes->stdinWrite, "hello", 5);
    ClosePipeHandle(std::exchange(child.pipes->stdinWrite, nullptr));
    EXPECT_EQ(child.output(), "helloend");
}

TEST(SpawnProcess, GivesTheChildItsOwnPipeEndsAndNotTheParents)
{
    KPipesHandles* const pipes = CreatePipes(false);
    const KPipesHandles ends = *pipes;
    failure result;
    KProcess* const process = SpawnProcess(child_program("list_pipes").c_str(), "", children_folder().c_str(),
                                           pipes, nullptr, result.code, result.text, nullptr);
    ASSERT_NE(process, nullptr);
    std::set<void*> held;
    std::istringstream listed(kf::test::read_to_end(pipes->stdoutRead));
    for (std::uintptr_t value = 0; listed >> value;)
        held.insert(reinterpret_cast<void*>(value));
    for (void* const end : {ends.stdinRead, ends.stdoutWrite, ends.stderrWrite})
        EXPECT_TRUE(held.contains(end)) << end;
    for (void* const end : {ends.stdinWrite, ends.stdoutRead, ends.stderrRead})
        EXPECT_FALSE(held.contains(end)) << end;
    unsigned long code = 0;
    WaitProcess(process, true, 0, code);
    CloseProcess(process);
    DeletePipes(pipes, true);
}

TEST(SpawnProcess, ClosesAndForgetsTheChildsEndsWhetherItStartsOrNot)
{
    for (const char* const program : {"end_with", "missing"})
    {
        const std::size_t before = handle_count();
        KPipesHandles* const pipes = CreatePipes(false);
        const std::string path = children_folder() + "\\" + program + ".exe";
        failure result;
        KProcess* const process = SpawnProcess(path.c_str(), "0", children_folder().c_str(), pipes, nullptr,
                                               result.code, result.text, nullptr);
        EXPECT_EQ(handle_count(), before + (process != nullptr ? 5 : 3)) << program;
        EXPECT_EQ(pipes->stdinRead, nullptr);
        EXPECT_EQ(pipes->stdoutWrite, nullptr);
        EXPECT_EQ(pipes->stderrWrite, nullptr);
        EXPECT_TRUE(pipes->stdinWrite && pipes->stdoutRead && pipes->stderrRead);
        CloseProcess(process);
        DeletePipes(pipes, true);
        EXPECT_EQ(handle_count(), before) << program;
    }
}

TEST(SpawnProcess, StartsTheChildInTheFolder)
{
    const kf::test::temporary_folder folder("-\xC3\xA4");
    const failure missing = fail(child_program("end_with").c_str(), folder.text("none").c_str());
    EXPECT_EQ(missing.code, ERROR_DIRECTORY);
}

// KEPT[spawn-error-text]
TEST(SpawnProcess, GivesTheErrorCodeAndTheFirstCharacterOfItsMessage)
{
    const failure missing = fail("C:\\no such program.exe");
    EXPECT_EQ(missing.code, ERROR_FILE_NOT_FOUND);
    wchar_t message[256] = {};
    ::FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS, nullptr,
                     ERROR_FILE_NOT_FOUND, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT), message, 256, nullptr);
    EXPECT_EQ(missing.text, std::string(1, static_cast<char>(message[0])));
}

// KEPT[spawn-error-text]
TEST(SpawnProcess, ErasesOneLineFeedAndOneReturnFromTheMessage)
{
    const import_hook hook(
        "FormatMessageW",
        +[](DWORD flags, LPCVOID, DWORD code, DWORD language, LPWSTR buffer, DWORD, va_list*) -> DWORD WINAPI
        {
            EXPECT_EQ(flags, static_cast<DWORD>(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                                                FORMAT_MESSAGE_IGNORE_INSERTS));
            EXPECT_EQ(code, static_cast<DWORD>(ERROR_FILE_NOT_FOUND));
            EXPECT_EQ(language, static_cast<DWORD>(MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT)));
            static const char text[] = "a\r\nb\r\nc\0";
            void* const memory = ::LocalAlloc(LMEM_FIXED, sizeof text);
            std::memcpy(memory, text, sizeof text);
            *reinterpret_cast<void**>(buffer) = memory;
            return sizeof text / 2;
        });
    EXPECT_EQ(fail("C:\\no such program.exe").text, "ab\r\nc");
}

TEST(SpawnProcess, GivesAnEmptyTextWhenThereIsNoMessage)
{
    const import_hook hook(
        "FormatMessageW",
        +[](DWORD, LPCVOID, DWORD, DWORD, LPWSTR, DWORD, va_list*) -> DWORD WINAPI { return 0; });
    const failure missing = fail("C:\\no such program.exe");
    EXPECT_EQ(missing.code, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(missing.text, "");
}

TEST(SpawnProcess, FailsAlsoWhenTheSystemLeavesNoErrorCode)
{
    const import_hook hook(
        "CreateProcessW",
        +[](LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID, LPCWSTR,
            LPSTARTUPINFOW, LPPROCESS_INFORMATION) -> BOOL WINAPI
        {
            ::SetLastError(ERROR_SUCCESS);
            return FALSE;
        });
    EXPECT_EQ(fail(child_program("end_with").c_str()).code, ERROR_SUCCESS);
}

TEST(SpawnProcess, FailsWithoutAPathOrAFolder)
{
    const std::size_t before = handle_count();
    KPipesHandles* const pipes = CreatePipes(true);
    EXPECT_EQ(fail(nullptr, "C:\\", pipes).code, ERROR_INVALID_PARAMETER);
    EXPECT_EQ(pipes->stdoutWrite, nullptr);
    EXPECT_EQ(fail(child_program("end_with").c_str(), nullptr).code, ERROR_INVALID_PARAMETER);
    DeletePipes(pipes, true);
    EXPECT_EQ(handle_count(), before);
}

TEST(SpawnProcess, TakesNoArgumentsAsEmptyOnes)
{
    failure result;
    KProcess* const process =
        SpawnProcess(child_program("end_with").c_str(), nullptr, children_folder().c_str(), nullptr, nullptr,
                     result.code, result.text, nullptr);
    ASSERT_NE(process, nullptr);
    unsigned long code = 1;
    EXPECT_EQ(WaitProcess(process, true, 0, code), 1);
    EXPECT_EQ(code, 0u);
    EXPECT_TRUE(CloseProcess(process));
}

TEST(SpawnProcess, LeavesCodeAndTextAloneOnSuccess)
{
    spawned_child child("end_with", "0");
    EXPECT_EQ(child.error, 0);
    EXPECT_EQ(child.error_text, "");
}

TEST(SpawnProcess, GivesTheChildExactlyTheTable)
{
    KEnvironment environment{{{"SystemRoot", "C:\\windows"}, {"KF_B", "2=2"}, {"KF_A", "one two"}}};
    const spawned_child child("print_environment", "", true, &environment);
    const std::string output = "\n" + child.output(); // the platform adds a few of its own
    for (const char* const line : {"\nKF_A=one two\n", "\nKF_B=2=2\n", "\nSystemRoot=C:\\windows\n"})
        EXPECT_NE(output.find(line), std::string::npos) << output;
    EXPECT_EQ(output.find("\nPATH="), std::string::npos) << output;
}

TEST(SpawnProcess, LetsTheChildInheritTheEnvironmentWithoutATable)
{
    ::SetEnvironmentVariableW(L"KF_INHERITED", L"\u00E9");
    const spawned_child child("print_environment", "");
    const std::string output = child.output();
    ::SetEnvironmentVariableW(L"KF_INHERITED", nullptr);
    EXPECT_NE(output.find("KF_INHERITED=\xC3\xA9\n"), std::string::npos) << output;
}

TEST(CloseProcess, GivesFalseForNull)
{
    EXPECT_FALSE(CloseProcess(nullptr));
}

TEST(CloseProcess, ClosesBothHandlesAndNotThePipes)
{
    KPipesHandles* const pipes = CreatePipes(true);
    const std::size_t before = handle_count();
    failure result;
    KProcess* const process = SpawnProcess(child_program("end_with").c_str(), "0", children_folder().c_str(),
                                           pipes, nullptr, result.code, result.text, nullptr);
    EXPECT_EQ(handle_count(), before); // two of the process for two of the child
    EXPECT_TRUE(CloseProcess(process));
    EXPECT_EQ(handle_count(), before - 2);
    EXPECT_TRUE(pipes->stdoutRead != nullptr && pipes->stdinWrite != nullptr);
    DeletePipes(pipes, true);
}

TEST(CloseProcess, TriesBothHandlesAndGivesFalseWhenOneDoesNotClose)
{
    for (const bool bad_process : {true, false})
    {
        failure result;
        KProcess* const process =
            SpawnProcess(child_program("end_with").c_str(), "0", children_folder().c_str(), nullptr, nullptr,
                         result.code, result.text, nullptr);
        ASSERT_NE(process, nullptr);
        const std::size_t before = handle_count();
        void* const kept =
            std::exchange(bad_process ? process->processHandle : process->threadHandle, nullptr);
        EXPECT_FALSE(CloseProcess(process));
        EXPECT_EQ(handle_count(), before - 1);
        ::CloseHandle(kept);
    }
}

// KEPT[process-from-pid]
TEST(ProcessFromPid, GivesNullForAnyId)
{
    EXPECT_EQ(ProcessFromPid(::GetCurrentProcessId()), nullptr);
    EXPECT_EQ(ProcessFromPid(0), nullptr);
}

TEST(GetProcessPid, GivesZeroForNull)
{
    EXPECT_EQ(GetProcessPid(nullptr), 0u);
    KProcess process;
    process.processId = 0xFFFFFFFF;
    EXPECT_EQ(GetProcessPid(&process), 0xFFFFFFFFu);
}

TEST(GetCurrentProcessPid, IsThisProcess)
{
    EXPECT_EQ(GetCurrentProcessPid(), ::GetCurrentProcessId());
}
