#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/object.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/library_copy_win.h"
#include "tests/support/temporary_folder.h"

#include <iphlpapi.h>

using namespace KFramework;

namespace
{

std::string program_path()
{
    std::wstring path(32768, L'\0');
    path.resize(::GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return kf::test::utf8_text(path);
}

std::string program_folder()
{
    const std::string path = program_path();
    return path.substr(0, path.rfind('\\'));
}

std::vector<std::string> calls;

DWORD WINAPI note_file_name(HMODULE module, LPWSTR text, DWORD size)
{
    calls.emplace_back("GetModuleFileNameW");
    return ::GetModuleFileNameW(module, text, size);
}

__time64_t note_time(__time64_t* out)
{
    calls.emplace_back("_time64");
    return ::_time64(out);
}

int note_rand()
{
    calls.emplace_back("rand");
    return 77;
}

FARPROC WINAPI note_look_up(HMODULE module, LPCSTR name)
{
    if (std::string(name) == "GetLogicalProcessorInformation")
        calls.emplace_back(name);
    return ::GetProcAddress(module, name);
}

ULONG WINAPI note_adapters(PIP_ADAPTER_INFO info, PULONG size)
{
    if (calls.back() != "GetAdaptersInfo")
        calls.emplace_back("GetAdaptersInfo");
    return ::GetAdaptersInfo(info, size);
}

int give_all_ones()
{
    return -1;
}

std::vector<void*> made;
std::vector<void*> deleted;

void* note_new(std::size_t bytes)
{
    return made.emplace_back(::operator new(bytes));
}

/// How many addresses were given out after this one was for the last time.
std::ptrdiff_t made_since(void* memory)
{
    return std::find(made.rbegin(), made.rend(), memory) - made.rbegin();
}

/// Frees nothing, so that the same address may come again.
void note_delete(void* memory, std::size_t)
{
    deleted.push_back(memory);
}

} // namespace

TEST(BeforeInitializeLibrary, PathsAndAddressesAreEmptyAndNoLoggerIsThere)
{
    const kf::test::library_copy copy;
    EXPECT_EQ(copy.function<std::string()>("_ZN10KFramework17GetModuleFullPathB5cxx11Ev")(), "");
    EXPECT_EQ(copy.function<std::string()>("_ZN10KFramework17GetModuleBasePathB5cxx11Ev")(), "");
    EXPECT_EQ(copy.function<std::string(bool)>("_ZN10KFramework19GetHostMacAddressesB5cxx11Eb")(true), "");
    EXPECT_EQ(copy.function<std::string()>("_ZN10KFramework20GetPhysicalCoresTypeB5cxx11Ev")(), "Unknown");
    EXPECT_EQ(copy.function<float()>("_ZN10KFramework21GetPhysicalCoresSpeedEv")(), 0.0F);
    EXPECT_EQ(copy.function<void*()>("_ZN10KFramework16GetDefaultLoggerEv")(), nullptr);
}

TEST(BeforeInitializeLibrary, TheFirstCountAskedForProbesTheProcessors)
{
    const kf::test::library_copy copy;
    calls.clear();
    const kf::test::import_hook hook(copy.name(), "GetProcAddress", &note_look_up);
    EXPECT_GE(copy.function<int()>("_ZN10KFramework25GetProcessorsThreadsCountEv")(), 1);
    EXPECT_GE(copy.function<int()>("_ZN10KFramework21GetPhysicalCoresCountEv")(), 1);
    EXPECT_EQ(calls, std::vector<std::string>{"GetLogicalProcessorInformation"});
}

TEST(BeforeInitializeLibrary, TheGlobalMutexIsLetThrough)
{
    const kf::test::library_copy copy;
    copy.function<void()>("_ZN10KFramework15LockGlobalMutexEv")();
    copy.function<void()>("_ZN10KFramework15LockGlobalMutexEv")();
    copy.function<void()>("_ZN10KFramework17UnlockGlobalMutexEv")();
}

TEST(InitializeLibrary, TakesTheExecutablesPathForNull)
{
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetModuleFullPath(), program_path());
    EXPECT_EQ(GetModuleBasePath(), program_folder());
}

// KEPT[full-path-verbatim]
TEST(InitializeLibrary, TakesTheArgumentVerbatimAndTheBasePathFromTheExecutable)
{
    for (const char* const given : {"D:\\other\\place\\host.exe", "host", "", "a/b\\\xC3\xA4\xFF\\"})
    {
        InitializeLibrary(given);
        EXPECT_EQ(GetModuleFullPath(), given);
        EXPECT_EQ(GetModuleBasePath(), program_folder());
    }
}

TEST(InitializeLibrary, CopiesTheArgument)
{
    std::string given = "C:\\host.exe";
    InitializeLibrary(given.c_str());
    given[0] = 'X';
    EXPECT_EQ(GetModuleFullPath(), "C:\\host.exe");
}

TEST(InitializeLibrary, WorksInItsOrder)
{
    calls.clear();
    {
        const kf::test::import_hook file_name("GetModuleFileNameW", &note_file_name);
        const kf::test::import_hook time("_time64", &note_time);
        const kf::test::import_hook rand("rand", &note_rand);
        const kf::test::import_hook look_up("GetProcAddress", &note_look_up);
        const kf::test::import_hook adapters("GetAdaptersInfo", &note_adapters);
        InitializeLibrary(nullptr);
    }
    EXPECT_EQ(calls, (std::vector<std::string>{"GetModuleFileNameW", "GetModuleFileNameW", "_time64", "rand",
                                               "GetLogicalProcessorInformation", "GetAdaptersInfo"}));
    EXPECT_EQ(GetProgressiveSeed(), 77);
}

// KEPT[seed-start]
TEST(InitializeLibrary, StartsTheSeedAtExactlyOneDraw)
{
    std::srand(7);
    const int first = std::rand();
    const int second = std::rand();
    std::srand(7);
    InitializeLibrary(nullptr);
    EXPECT_EQ(std::rand(), second) << "more than one draw";
    EXPECT_EQ(GetProgressiveSeed(), first);
    EXPECT_EQ(GetProgressiveSeed(), first + 1);
    EXPECT_EQ(GetProgressiveSeed(), first + 2);
}

// KEPT[seed-start]
TEST(InitializeLibrary, StartsTheSeedWhereTheRuntimeStartsWhenNobodySeeds)
{
    int seed = 0;
    std::thread(
        [&] { // the generator's state is the thread's
            InitializeLibrary(nullptr);
            seed = GetProgressiveSeed();
        })
        .join();
    EXPECT_EQ(seed, 41);
}

TEST(GetProgressiveSeed, WrapsAtTheEndOfThirtyTwoBits)
{
    {
        const kf::test::import_hook hook("rand", &give_all_ones);
        InitializeLibrary(nullptr);
    }
    EXPECT_EQ(GetProgressiveSeed(), -1);
    EXPECT_EQ(GetProgressiveSeed(), 0);
    EXPECT_EQ(GetProgressiveSeed(), 1);
}

TEST(GetProgressiveSeed, GivesEachValueOnceToEightThreads)
{
    InitializeLibrary(nullptr);
    const int before = GetProgressiveSeed();
    constexpr int kRounds = 2000;
    std::vector<std::vector<int>> drawn(8);
    std::vector<std::thread> threads;
    for (auto& own : drawn)
        threads.emplace_back(
            [&own]
            {
                for (int i = 0; i < kRounds; ++i)
                    own.push_back(GetProgressiveSeed());
            });
    for (std::thread& thread : threads)
        thread.join();
    std::vector<int> seen(8 * kRounds);
    for (const auto& own : drawn)
        for (const int value : own)
            ++seen.at(static_cast<std::size_t>(value - before - 1));
    EXPECT_EQ(seen, std::vector<int>(8 * kRounds, 1));
}

TEST(InitializeLibrary, MakesNewMutexesWhenCalledAgain)
{
    InitializeLibrary(nullptr);
    LockGlobalMutex();
    InitializeLibrary(nullptr); // stores the server time under the new mutex
    LockGlobalMutex();
    UnlockGlobalMutex();
}

// KEPT[shutdown-releases-little]
TEST(ShutdownLibrary, LeavesPathsContextLoggerAndCollector)
{
    InitializeLibrary("C:\\kept.exe");
    int data = 0;
    auto* const logger = reinterpret_cast<KLogger::CKLoggerInstance*>(&data);
    SetLibraryContext("context", &data);
    SetDefaultLogger(logger);
    CKObjectGarbageCollector* const made = CKObjectGarbageCollector::GetUniqueClass();
    const std::string addresses = GetHostMacAddresses(false);

    ShutdownLibrary();
    EXPECT_EQ(GetModuleFullPath(), "C:\\kept.exe");
    EXPECT_EQ(GetModuleBasePath(), program_folder());
    EXPECT_EQ(GetHostMacAddresses(false), addresses);
    EXPECT_EQ(GetDefaultLogger(), logger);
    EXPECT_EQ(gSTGarbageCollector, made);
    const char* name = nullptr;
    void* context = nullptr;
    GetLibraryContext(&name, &context);
    EXPECT_STREQ(name, "context");
    EXPECT_EQ(context, &data);

    InitializeLibrary(nullptr);
    RemoveDefaultLogger();
    SetLibraryContext(nullptr, nullptr);
    CKObjectGarbageCollector::DestroyUniqueClass();
}

// KEPT[shutdown-releases-little]
TEST(ShutdownLibrary, DestroysTheSeedMutexAndThenTheGlobalOneAndClearsNeitherPointer)
{
    const kf::test::library_copy copy;
    made.clear();
    {
        const kf::test::import_hook hook(copy.name(), "_Znwy", &note_new);
        copy.function<void(const char*)>("_ZN10KFramework17InitializeLibraryEPKc")(nullptr);
    }
    auto* const shut_down = copy.function<void()>("_ZN10KFramework15ShutdownLibraryEv");
    deleted.clear();
    {
        const kf::test::import_hook hook(copy.name(), "_ZdlPvy", &note_delete);
        shut_down();
        shut_down(); // deletes nothing where a pointer is null
    }
    ASSERT_EQ(deleted.size(), 4u);
    EXPECT_EQ(deleted[2], deleted[0]);
    EXPECT_EQ(deleted[3], deleted[1]);
    EXPECT_LT(made_since(deleted[0]), std::ssize(made));
    EXPECT_GT(made_since(deleted[0]), made_since(deleted[1]))
        << "the seed mutex is made first and goes first";
}
