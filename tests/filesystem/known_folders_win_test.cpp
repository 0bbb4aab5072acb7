#include <cstring>
#include <cwchar>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

#include <shlobj.h>
#include <userenv.h>

namespace fs = KFramework::KFileSystem;

namespace
{
using kf::test::import_hook;

int folder_asked = 0;

BOOL WINAPI name_folder(HWND owner, wchar_t* path, int folder, BOOL create)
{
    EXPECT_EQ(owner, nullptr);
    EXPECT_TRUE(create);
    folder_asked = folder;
    std::wcscpy(path, folder == 26 ? L"c:\\roaming \u00e4" : L"c:\\local");
    return TRUE;
}

BOOL WINAPI name_no_folder(HWND /*owner*/, wchar_t* /*path*/, int /*folder*/, BOOL /*create*/)
{
    return FALSE;
}

DWORD access_asked = 0;

BOOL WINAPI refuse_token(HANDLE /*process*/, DWORD access, HANDLE* /*token*/)
{
    access_asked = access;
    return FALSE;
}

BOOL WINAPI tell_no_length(HANDLE /*token*/, wchar_t* /*path*/, DWORD* /*length*/)
{
    return FALSE;
}

BOOL WINAPI tell_length_only(HANDLE /*token*/, wchar_t* path, DWORD* length)
{
    if (path == nullptr)
        *length = 20;
    return FALSE;
}

/// What the second call of GetTempPathW gives; the first tells 10.
const wchar_t* temporary = L"";

DWORD WINAPI tell_temporary(DWORD size, wchar_t* path)
{
    if (path == nullptr)
        return 10;
    EXPECT_EQ(size, 10u);
    std::wcscpy(path, temporary);
    return static_cast<DWORD>(std::wcslen(temporary));
}

DWORD WINAPI tell_nothing(DWORD /*size*/, wchar_t* /*path*/)
{
    return 0;
}
} // namespace

TEST(GetAppSettingsFolder, AsksForTheRoamingOrTheLocalFolder)
{
    const import_hook hook("SHGetSpecialFolderPathW", &name_folder);
    EXPECT_EQ(fs::GetAppSettingsFolder(true), "c:\\roaming \xC3\xA4");
    EXPECT_EQ(folder_asked, 26);
    EXPECT_EQ(fs::GetAppSettingsFolder(false), "c:\\local");
    EXPECT_EQ(folder_asked, 28);
}

TEST(GetAppSettingsFolder, NamesTwoExistingFolders)
{
    EXPECT_TRUE(fs::CheckDirectory(fs::GetAppSettingsFolder(true)));
    EXPECT_TRUE(fs::CheckDirectory(fs::GetAppSettingsFolder(false)));
    EXPECT_NE(fs::GetAppSettingsFolder(true), fs::GetAppSettingsFolder(false));
}

TEST(GetAppSettingsFolder, FallsBackToTheHomeFolder)
{
    const import_hook hook("SHGetSpecialFolderPathW", &name_no_folder);
    EXPECT_EQ(fs::GetAppSettingsFolder(true), fs::GetHomeFolder());
    EXPECT_NE(fs::GetAppSettingsFolder(false), "");
}

TEST(GetHomeFolder, IsTheProfileFolderWithoutAFinalBackslash)
{
    wchar_t profile[MAX_PATH] = {};
    ASSERT_NE(::GetEnvironmentVariableW(L"USERPROFILE", profile, MAX_PATH), 0u);
    EXPECT_EQ(fs::GetHomeFolder(), KFramework::KStringHelper::WideStringToUtf8String(profile));
    EXPECT_TRUE(fs::CheckDirectory(fs::GetHomeFolder()));
}

TEST(GetHomeFolder, IsEmptyWhenAnyStepFails)
{
    {
        const import_hook hook("OpenProcessToken", &refuse_token);
        EXPECT_EQ(fs::GetHomeFolder(), "");
        EXPECT_EQ(access_asked, 8u);
    }
    {
        const import_hook hook("GetUserProfileDirectoryW", &tell_no_length);
        EXPECT_EQ(fs::GetHomeFolder(), "");
    }
    {
        const import_hook hook("GetUserProfileDirectoryW", &tell_length_only);
        EXPECT_EQ(fs::GetHomeFolder(), "");
    }
}

TEST(GetHomeFolder, ClosesTheTokenOnEveryWayOut)
{
    EXPECT_NE(fs::GetHomeFolder(), ""); // whatever the platform keeps for itself
    const std::size_t before = kf::test::handle_count();
    EXPECT_NE(fs::GetHomeFolder(), "");
    const import_hook hook("GetUserProfileDirectoryW", &tell_length_only);
    EXPECT_EQ(fs::GetHomeFolder(), "");
    EXPECT_EQ(kf::test::handle_count(), before);
}

TEST(GetTemporaryFolder, IsTheTemporaryPathWithoutItsFinalBackslash)
{
    wchar_t path[MAX_PATH + 1] = {};
    ASSERT_NE(::GetTempPathW(MAX_PATH, path), 0u);
    EXPECT_EQ(fs::GetTemporaryFolder() + "\\", KFramework::KStringHelper::WideStringToUtf8String(path));
    EXPECT_TRUE(fs::CheckDirectory(fs::GetTemporaryFolder()));
}

// KEPT[temporary-cut-by-length]
TEST(GetTemporaryFolder, CutsWhereTheFirstLengthPutsTheLastCharacter)
{
    const import_hook hook("GetTempPathW", &tell_temporary);
    temporary = L"c:\\temp1\\";
    EXPECT_EQ(fs::GetTemporaryFolder(), "c:\\temp1");
    temporary = L"c:\\temp12";
    EXPECT_EQ(fs::GetTemporaryFolder(), "c:\\temp12");
    temporary = L"c:\\t\\"; // grew shorter in between
    EXPECT_EQ(fs::GetTemporaryFolder(), "c:\\t\\");
}

TEST(GetTemporaryFolder, IsEmptyWhenThePlatformNamesNone)
{
    const import_hook hook("GetTempPathW", &tell_nothing);
    EXPECT_EQ(fs::GetTemporaryFolder(), "");
}
