/// Starting children while the system refuses one call after the other: no handle, memory or user stays behind,
/// and nothing confidential is left in freed memory.

#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/support/children.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <malloc.h>
#include <new>
#include <optional>
#include <string>
#include <string_view>

namespace
{
using namespace KFramework::KProcesses;
using KClientLib::KEnvironment;
using kf::platform::unique_handle;
using kf::test::child_program;
using kf::test::children_folder;
using kf::test::handle_count;
using kf::test::import_hook;

unique_handle own_token()
{
    HANDLE token = nullptr;
    EXPECT_TRUE(::OpenProcessToken(::GetCurrentProcess(), TOKEN_ALL_ACCESS, &token));
    return unique_handle(token);
}

bool impersonating()
{
    HANDLE token = nullptr;
    if (!::OpenThreadToken(::GetCurrentThread(), TOKEN_QUERY, TRUE, &token))
        return false;
    ::CloseHandle(token);
    return true;
}

/// The result of one start with everything: pipes, an environment, a user.
struct start
{
    bool started = false;
    int code = 0;
    std::string text;
};

start start_child(const std::string& executable, HANDLE token)
{
    KPipesHandles* const pipes = CreatePipes(false);
    KEnvironment environment{{{"KF_A", "1"}, {"SystemRoot", "C:\\windows"}}};
    start result;
    KProcess* const process = SpawnProcess(executable.c_str(), "0", children_folder().c_str(), pipes,
                                           &environment, result.code, result.text, token);
    EXPECT_TRUE(pipes->stdinRead == nullptr && pipes->stdoutWrite == nullptr &&
                pipes->stderrWrite == nullptr);
    result.started = process != nullptr;
    CloseProcess(process);
    DeletePipes(pipes, true);
    return result;
}

bool user_during_start = false;
decltype(&::CreateProcessW) really_create = nullptr;

BOOL WINAPI look_at_user(LPCWSTR application, LPWSTR line, LPSECURITY_ATTRIBUTES process,
                         LPSECURITY_ATTRIBUTES thread, BOOL inherit, DWORD flags, LPVOID environment,
                         LPCWSTR folder, LPSTARTUPINFOW startup, LPPROCESS_INFORMATION information)
{
    user_during_start = impersonating();
    return really_create(application, line, process, thread, inherit, flags, environment, folder, startup,
                         information);
}

int reverts = 0;

BOOL WINAPI revert_and_disturb()
{
    ++reverts;
    const BOOL reverted = ::RevertToSelf();
    ::SetLastError(ERROR_DISK_FULL);
    return reverted;
}

/// Allocations of this thread that are still alive, and what the freed ones held. Records only between begin()
/// and end(), without allocating.
class heap_watch
{
public:
    static void begin(std::string_view forbidden)
    {
        live_.fill(nullptr);
        secret_ = forbidden;
        found_ = 0;
        thread_ = ::GetCurrentThreadId();
    }
    static void end() { thread_ = 0; }
    static std::size_t live()
    {
        return live_.size() - static_cast<std::size_t>(std::ranges::count(live_, nullptr));
    }
    static int found() { return found_; }

    static void* add(void* memory)
    {
        if (watching())
            if (const auto place = std::ranges::find(live_, nullptr); place != live_.end())
                *place = memory;
        return memory;
    }
    static void remove(void* memory)
    {
        if (!watching() || memory == nullptr)
            return;
        if (const auto place = std::ranges::find(live_, memory); place != live_.end())
            *place = nullptr;
        if (holds_secret(static_cast<const char*>(memory), ::_msize(memory)))
            ++found_;
    }

private:
    static bool watching() { return thread_ == ::GetCurrentThreadId(); }

    /// As narrow text or as UTF-16.
    static bool holds_secret(const char* memory, std::size_t size)
    {
        for (const std::size_t step : {1u, 2u})
            for (std::size_t at = 0; at + secret_.size() * step <= size; ++at)
            {
                std::size_t same = 0;
                while (same < secret_.size() && memory[at + same * step] == secret_[same])
                    ++same;
                if (same == secret_.size())
                    return true;
            }
        return false;
    }

    static inline std::array<void*, 256> live_{};
    static inline std::string_view secret_;
    static inline int found_ = 0;
    static inline DWORD thread_ = 0;
};

void* watched_malloc(std::size_t size)
{
    return heap_watch::add(std::malloc(size));
}

void* watched_calloc(std::size_t count, std::size_t size)
{
    return heap_watch::add(std::calloc(count, size));
}

void watched_free(void* memory)
{
    heap_watch::remove(memory);
    std::free(memory);
}

/// Both ways of the library to the heap: operator new in the C++ runtime, and its own calls.
class watched_heap
{
    import_hook<decltype(watched_malloc)> new_{"libstdc++-6.dll", "malloc", &watched_malloc};
    import_hook<decltype(watched_free)> delete_{"libstdc++-6.dll", "free", &watched_free};
    import_hook<decltype(watched_calloc)> calloc_{"calloc", &watched_calloc};
    import_hook<decltype(watched_free)> free_{"free", &watched_free};
};

int WINAPI throw_from_conversion(UINT, DWORD, LPCSTR, int, LPWSTR, int)
{
    throw std::bad_alloc();
}
} // namespace

TEST(SpawnProcess, ActsAsTheUserDuringTheStartOnly)
{
    const unique_handle token = own_token();
    const import_hook hook("CreateProcessW", &look_at_user);
    really_create = hook.original();
    EXPECT_TRUE(start_child(child_program("end_with"), token.get()).started);
    EXPECT_TRUE(user_during_start);
    EXPECT_FALSE(impersonating());
    EXPECT_TRUE(start_child(child_program("end_with"), nullptr).started);
    EXPECT_FALSE(user_during_start);
}

TEST(SpawnProcess, ReportsTheErrorOfTheStartAndNotOfWhatFollows)
{
    const unique_handle token = own_token();
    const import_hook hook("RevertToSelf", &revert_and_disturb);
    reverts = 0;
    EXPECT_EQ(start_child("C:\\no such program.exe", token.get()).code, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(reverts, 1);
    EXPECT_EQ(start_child("C:\\no such program.exe", nullptr).code, ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(reverts, 1);
}

TEST(SpawnProcess, StartsTheChildAlsoWhenTheUserIsRefused)
{
    const unique_handle token = own_token();
    const import_hook refuse(
        "ImpersonateLoggedOnUser", +[](HANDLE) -> BOOL WINAPI { return FALSE; });
    const import_hook revert("RevertToSelf", &revert_and_disturb);
    reverts = 0;
    EXPECT_TRUE(start_child(child_program("end_with"), token.get()).started);
    EXPECT_EQ(reverts, 1);
}

TEST(SpawnProcess, StopsActingAsTheUserOnAnExceptionToo)
{
    const unique_handle token = own_token();
    const std::size_t before = handle_count();
    KPipesHandles* const pipes = CreatePipes(true);
    {
        // A path that is no UTF-8 goes to the system's conversion in any case.
        const import_hook hook("MultiByteToWideChar", &throw_from_conversion);
        int code = 0;
        std::string text;
        EXPECT_THROW(SpawnProcess("C:\\\xFF.exe", "", "C:\\", pipes, nullptr, code, text, token.get()),
                     std::bad_alloc);
    }
    EXPECT_FALSE(impersonating());
    EXPECT_EQ(pipes->stdoutWrite, nullptr);
    DeletePipes(pipes, true);
    EXPECT_EQ(handle_count(), before);
}

TEST(SpawnProcess, LeavesNothingBehindWhicheverCallFails)
{
    const unique_handle token = own_token();
    const std::string program = child_program("end_with");
    static_cast<void>(start_child(program, token.get()));
    const std::size_t before = handle_count();
    for (const char* const refused :
         {"nothing", "ImpersonateLoggedOnUser", "MultiByteToWideChar", "CreateProcessW", "RevertToSelf",
          "FormatMessageW", "CreateProcessW, FormatMessageW"})
    {
        std::optional<kf::test::import_slot> slot;
        std::optional<kf::test::import_slot> second;
        const std::string_view name = refused;
        const auto refuse =
            [](std::optional<kf::test::import_slot>& at, const char* import, auto* replacement)
        { at.emplace(kf::test::kLibraryName, import, reinterpret_cast<void*>(replacement)); };
        if (name == "ImpersonateLoggedOnUser")
            refuse(
                slot, refused, +[](HANDLE) -> BOOL WINAPI { return FALSE; });
        else if (name == "MultiByteToWideChar")
            refuse(
                slot, refused, +[](UINT, DWORD, LPCSTR, int, LPWSTR, int) -> int WINAPI { return 0; });
        else if (name == "RevertToSelf")
            refuse(slot, refused, &revert_and_disturb);
        else if (name.starts_with("CreateProcessW"))
            refuse(
                slot, "CreateProcessW",
                +[](LPCWSTR, LPWSTR, LPSECURITY_ATTRIBUTES, LPSECURITY_ATTRIBUTES, BOOL, DWORD, LPVOID,
                    LPCWSTR, LPSTARTUPINFOW, LPPROCESS_INFORMATION) -> BOOL WINAPI
                {
                    ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                    return FALSE;
                });
        if (name.ends_with("FormatMessageW"))
            refuse(
                second, "FormatMessageW",
                +[](DWORD, LPCVOID, DWORD, DWORD, LPWSTR, DWORD, va_list*) -> DWORD WINAPI { return 0; });

        const std::string executable = name == "FormatMessageW" ? "C:\\no such program.exe" : program;
        const start result = start_child(executable, token.get());
        EXPECT_FALSE(impersonating()) << refused;
        EXPECT_EQ(handle_count(), before) << refused;
        EXPECT_TRUE(!name.starts_with("CreateProcessW") || result.code == ERROR_NOT_ENOUGH_MEMORY) << refused;
        EXPECT_TRUE(!name.ends_with("FormatMessageW") || result.text.empty()) << refused;
    }
}

TEST(SpawnProcess, FreesAllItsMemoryAndWipesWhatIsConfidential)
{
    const std::string folder = children_folder();
    for (const std::string& executable : {child_program("end_with"), std::string("C:\\no such program.exe")})
    {
        KEnvironment environment{{{"KF_A", "KF_SECRET"}, {"SystemRoot", "C:\\windows"}}};
        int code = 0;
        std::string text;
        const watched_heap hooks;
        heap_watch::begin("KF_SECRET");
        KProcess* const process = SpawnProcess(executable.c_str(), "0 0 KF_SECRET", folder.c_str(), nullptr,
                                               &environment, code, text, nullptr);
        CloseProcess(process);
        heap_watch::end();
        EXPECT_EQ(heap_watch::live(), 0u) << executable;
        EXPECT_EQ(heap_watch::found(), 0) << executable;
    }
}

TEST(MergeEnvironmentWithBatFile, FreesAllItsMemory)
{
    const kf::test::shell_variable shell(kf::test::utf8_path(child_program("print_batch")).c_str());
    const kf::test::temporary_folder folder;
    const std::string batch = folder.write("printed.txt", "=====KARVEL===== \r\nKF_A=2\r\n");
    KEnvironment environment{{{"KF_A", "1"}, {"SystemRoot", "C:\\windows"}}};
    std::string text;
    const watched_heap hooks;
    heap_watch::begin("KF_SECRET");
    EXPECT_TRUE(MergeEnvironmentWithBatFile(&environment, batch, text));
    heap_watch::end();
    EXPECT_EQ(environment.variables["KF_A"], "2\r");
    EXPECT_EQ(heap_watch::live(), 0u);
}

TEST(SpawnProcess, LetsExhaustedMemoryPassWithNothingLeftBehind)
{
    const std::size_t before = handle_count();
    KPipesHandles* const pipes = CreatePipes(true);
    KEnvironment environment{{{"KF_A", "1"}}};
    {
        const import_hook hook(
            "calloc", +[](std::size_t, std::size_t) -> void* { return nullptr; });
        int code = 0;
        std::string text;
        EXPECT_THROW(SpawnProcess("C:\\x.exe", "", "C:\\", pipes, &environment, code, text, nullptr),
                     std::bad_alloc);
    }
    EXPECT_EQ(pipes->stdoutWrite, nullptr);
    DeletePipes(pipes, true);
    EXPECT_EQ(handle_count(), before);
}
