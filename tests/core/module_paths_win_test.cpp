#include <algorithm>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework;

namespace
{

std::wstring answer;
HMODULE asked_module;
DWORD asked_size;

/// As the system: cuts what does not fit, with a terminator.
DWORD WINAPI give_answer(HMODULE module, LPWSTR text, DWORD size)
{
    asked_module = module;
    asked_size = size;
    const std::size_t units = std::min<std::size_t>(answer.size(), size - 1);
    answer.copy(text, units);
    text[units] = L'\0';
    return static_cast<DWORD>(answer.size() < size ? units : size);
}

DWORD WINAPI fill_to_the_brim(HMODULE, LPWSTR text, DWORD size)
{
    std::fill_n(text, size, L'x'); // an old system leaves the terminator out
    return size;
}

class module_paths : public testing::Test
{
protected:
    module_paths() : hook_("GetModuleFileNameW", &give_answer)
    {
        asked_module = ::GetModuleHandleW(L"ntdll");
    }

private:
    kf::test::import_hook<DWORD WINAPI(HMODULE, LPWSTR, DWORD)> hook_;
};

} // namespace

TEST_F(module_paths, AskForTheExecutableAndNotForTheLibrary)
{
    answer = L"C:\\farm\\server.exe";
    EXPECT_EQ(_GetModuleFullPath(), "C:\\farm\\server.exe");
    EXPECT_EQ(asked_module, nullptr);
    EXPECT_EQ(asked_size, 2048u);
    EXPECT_EQ(_GetModuleBasePath(), "C:\\farm");
}

TEST_F(module_paths, BasePathIsEmptyWithoutABackslash)
{
    for (const wchar_t* const path : {L"server.exe", L"farm/server.exe"})
    {
        answer = path;
        EXPECT_EQ(_GetModuleBasePath(), "");
    }
    EXPECT_EQ(_GetModuleFullPath(), "farm/server.exe");
}

TEST_F(module_paths, AreEmptyWhenTheSystemGivesNone)
{
    answer = L"";
    EXPECT_EQ(_GetModuleFullPath(), "");
    EXPECT_EQ(_GetModuleBasePath(), "");
}

TEST_F(module_paths, AreUtf8)
{
    answer = L"C:\\f\x00E4rm\x20AC\\\xD83D\xDE00.exe";
    EXPECT_EQ(_GetModuleFullPath(), "C:\\f\xC3\xA4rm\xE2\x82\xAC\\\xF0\x9F\x98\x80.exe");
    EXPECT_EQ(_GetModuleBasePath(), "C:\\f\xC3\xA4rm\xE2\x82\xAC");
}

TEST_F(module_paths, ReachTheCachedOnesOnlyThroughInitializeLibrary)
{
    answer = L"D:\\one\\a.exe";
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetModuleFullPath(), "D:\\one\\a.exe");
    EXPECT_EQ(GetModuleBasePath(), "D:\\one");
    answer = L"D:\\two\\b.exe";
    EXPECT_EQ(GetModuleFullPath(), "D:\\one\\a.exe");
    EXPECT_EQ(_GetModuleFullPath(), "D:\\two\\b.exe");
    InitializeLibrary("given");
    EXPECT_EQ(GetModuleFullPath(), "given");
    EXPECT_EQ(GetModuleBasePath(), "D:\\two");
}

TEST(ModulePaths, EndInsideTheirBuffer)
{
    const kf::test::import_hook hook("GetModuleFileNameW", &fill_to_the_brim);
    EXPECT_EQ(_GetModuleFullPath(), std::string(2047, 'x'));
}
