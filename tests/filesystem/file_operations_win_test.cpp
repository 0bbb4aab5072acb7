#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

namespace fs = KFramework::KFileSystem;

namespace
{
using kf::test::import_hook;
using kf::test::temporary_folder;

int deletions = 0;

BOOL WINAPI count_deletion(const wchar_t* /*path*/)
{
    ++deletions;
    return FALSE;
}

BOOL WINAPI two_for_deletion(const wchar_t* /*path*/)
{
    return 2;
}

BOOL WINAPI no_identity(HANDLE /*file*/, BY_HANDLE_FILE_INFORMATION* /*facts*/)
{
    return FALSE;
}

BOOL WINAPI two_for_move(const wchar_t* /*from*/, const wchar_t* /*to*/)
{
    return 2;
}

BOOL WINAPI two_for_copy(const wchar_t* /*from*/, const wchar_t* /*to*/, BOOL fail_if_exists)
{
    EXPECT_FALSE(fail_if_exists);
    return 2;
}

std::vector<std::wstring> tried;
std::vector<BOOL> answers;

/// Answers from answers, then 1.
BOOL WINAPI try_folder(const wchar_t* path, SECURITY_ATTRIBUTES* security)
{
    EXPECT_EQ(security, nullptr);
    tried.emplace_back(path);
    return tried.size() <= answers.size() ? answers[tried.size() - 1] : 1;
}

using texts = std::vector<std::wstring>;

/// Opens a file so that nobody can delete or replace it.
kf::platform::unique_file hold(const std::filesystem::path& path)
{
    return kf::platform::unique_file(::CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
}
} // namespace

TEST(MvFile, MovesAFile)
{
    const temporary_folder folder("-\xC3\xA4\xE2\x82\xAC");
    folder.write("from \xC3\xB6", "content");
    EXPECT_TRUE(fs::MvFile(folder.text("from \xC3\xB6"), folder.text("to \xC3\xBC")));
    EXPECT_FALSE(fs::CheckFile(folder.text("from \xC3\xB6")));
    EXPECT_EQ(folder.read("to \xC3\xBC"), "content");
}

TEST(MvFile, ReplacesAnExistingFile)
{
    const temporary_folder folder;
    folder.write("from", "new");
    folder.write("to", "old and longer");
    EXPECT_TRUE(fs::MvFile(folder.text("from"), folder.text("to")));
    EXPECT_FALSE(fs::CheckFile(folder.text("from")));
    EXPECT_EQ(folder.read("to"), "new");
}

TEST(MvFile, MovesAFolder)
{
    const temporary_folder folder;
    ASSERT_TRUE(fs::MakeDirectory(folder.text("from"), false));
    folder.write("from/file", "content");
    EXPECT_TRUE(fs::MvFile(folder.text("from"), folder.text("to")));
    EXPECT_EQ(folder.read("to/file"), "content");
}

TEST(MvFile, LeavesTheDestinationWithoutASource)
{
    const temporary_folder folder;
    folder.write("to", "old");
    EXPECT_FALSE(fs::MvFile(folder.text("missing"), folder.text("to")));
    EXPECT_EQ(folder.read("to"), "old");
}

TEST(MvFile, FailsWhenTheDestinationCannotBeDeleted)
{
    const temporary_folder folder;
    folder.write("from", "new");
    folder.write("to", "old");
    const auto held = hold(folder.entry("to"));
    ASSERT_TRUE(held);
    EXPECT_FALSE(fs::MvFile(folder.text("from"), folder.text("to")));
    EXPECT_EQ(folder.read("from"), "new");
    EXPECT_EQ(folder.read("to"), "old");
}

TEST(MvFile, NeverDeletesAFolder)
{
    const temporary_folder folder;
    folder.write("from", "new");
    ASSERT_TRUE(fs::MakeDirectory(folder.text("to"), false));
    const import_hook hook("DeleteFileW", &count_deletion);
    deletions = 0;
    EXPECT_FALSE(fs::MvFile(folder.text("from"), folder.text("to")));
    EXPECT_FALSE(fs::MvFile(folder.text("to"), folder.text("from"))); // a folder onto a file
    EXPECT_EQ(deletions, 0);
    EXPECT_TRUE(fs::CheckDirectory(folder.text("to")));
    EXPECT_EQ(folder.read("from"), "new");
}

TEST(MvFile, GivesThePlatformsAnswerForOneFileUnderTwoSpellings)
{
    const temporary_folder folder;
    folder.write("same", "content");
    const std::string other = folder.text() + "\\.\\same";
    const bool platform = ::MoveFileW(folder.entry("same").c_str(), folder.entry("same").c_str()) == 1;
    EXPECT_EQ(fs::MvFile(folder.text("same"), folder.text("same")), platform);
    EXPECT_EQ(folder.read("same"), "content");
    fs::MvFile(folder.text("same"), other);
    EXPECT_EQ(folder.read("same"), "content");
}

TEST(MvFile, ChangesTheCaseOfAName)
{
    const temporary_folder folder;
    folder.write("name", "content");
    EXPECT_TRUE(fs::MvFile(folder.text("name"), folder.text("NAME")));
    EXPECT_EQ(folder.read("NAME"), "content");
}

TEST(MvFile, DoesNotDeleteItsSourceWhereNoIdentityCanBeRead)
{
    const temporary_folder folder;
    folder.write("same", "content");
    folder.write("other", "new");
    const import_hook hook("GetFileInformationByHandle", &no_identity);
    fs::MvFile(folder.text("same"), folder.text("same"));
    EXPECT_EQ(folder.read("same"), "content");
    EXPECT_TRUE(fs::MvFile(folder.text("other"), folder.text("same"))); // two names are two files there
    EXPECT_EQ(folder.read("same"), "new");
}

TEST(MvFile, DeletesNeitherNameOfAHardLinkedFile)
{
    const temporary_folder folder;
    folder.write("one", "content");
    ASSERT_TRUE(::CreateHardLinkW(folder.entry("two").c_str(), folder.entry("one").c_str(), nullptr));
    const import_hook hook("DeleteFileW", &count_deletion);
    deletions = 0;
    fs::MvFile(folder.text("one"), folder.text("two"));
    EXPECT_EQ(deletions, 0);
    EXPECT_EQ(folder.read("two"), "content");
}

// KEPT[exactly-one]
TEST(MvFile, FailsForAPlatformResultOfTwo)
{
    const import_hook hook("MoveFileW", &two_for_move);
    EXPECT_FALSE(fs::MvFile("from", "to"));
}

TEST(CopyFileW, CopiesAFile)
{
    const temporary_folder folder("-\xC3\xA4\xE2\x82\xAC");
    folder.write("from", "content");
    EXPECT_TRUE(fs::CopyFileW(folder.text("from"), folder.text("to \xC3\xBC")));
    EXPECT_EQ(folder.read("from"), "content");
    EXPECT_EQ(folder.read("to \xC3\xBC"), "content");
}

TEST(CopyFileW, ReplacesAnExistingFile)
{
    const temporary_folder folder;
    folder.write("from", "new");
    folder.write("to", "old and longer");
    EXPECT_TRUE(fs::CopyFileW(folder.text("from"), folder.text("to")));
    EXPECT_EQ(folder.read("to"), "new");
}

TEST(CopyFileW, DeletesTheDestinationInsteadOfWritingIntoIt)
{
    const temporary_folder folder;
    folder.write("from", "new");
    folder.write("to", "old");
    ASSERT_TRUE(::CreateHardLinkW(folder.entry("link").c_str(), folder.entry("to").c_str(), nullptr));
    EXPECT_TRUE(fs::CopyFileW(folder.text("from"), folder.text("to")));
    EXPECT_EQ(folder.read("to"), "new");
    EXPECT_EQ(folder.read("link"), "old");
}

TEST(CopyFileW, GoesOnWhenTheDestinationCannotBeDeleted)
{
    const temporary_folder folder;
    folder.write("from", "new");
    folder.write("to", "old");
    const import_hook hook("DeleteFileW", &count_deletion);
    deletions = 0;
    EXPECT_TRUE(fs::CopyFileW(folder.text("from"), folder.text("to")));
    EXPECT_EQ(deletions, 1);
    EXPECT_EQ(folder.read("to"), "new");
}

TEST(CopyFileW, LeavesTheDestinationWithoutASource)
{
    const temporary_folder folder;
    folder.write("to", "old");
    EXPECT_FALSE(fs::CopyFileW(folder.text("missing"), folder.text("to")));
    EXPECT_EQ(folder.read("to"), "old");
}

TEST(CopyFileW, NeverDeletesAFolder)
{
    const temporary_folder folder;
    folder.write("from", "new");
    ASSERT_TRUE(fs::MakeDirectory(folder.text("to"), false));
    const import_hook hook("DeleteFileW", &count_deletion);
    deletions = 0;
    EXPECT_FALSE(fs::CopyFileW(folder.text("from"), folder.text("to")));
    EXPECT_EQ(deletions, 0);
}

TEST(CopyFileW, RefusesToCopyAFileOntoItself)
{
    const temporary_folder folder;
    folder.write("same", "content");
    EXPECT_FALSE(fs::CopyFileW(folder.text("same"), folder.text("same")));
    EXPECT_FALSE(fs::CopyFileW(folder.text("same"), folder.text("SAME")));
    EXPECT_FALSE(fs::CopyFileW(folder.text("same"), folder.text() + "\\.\\same"));
    ASSERT_TRUE(::CreateHardLinkW(folder.entry("link").c_str(), folder.entry("same").c_str(), nullptr));
    EXPECT_FALSE(fs::CopyFileW(folder.text("same"), folder.text("link")));
    EXPECT_EQ(folder.read("same"), "content");
    EXPECT_EQ(folder.read("link"), "content");
}

TEST(CopyFileW, TakesTwoFilesWithEqualContentForTwo)
{
    const temporary_folder folder;
    folder.write("a", "content");
    folder.write("b", "content");
    EXPECT_TRUE(fs::CopyFileW(folder.text("a"), folder.text("b")));
    EXPECT_TRUE(fs::MvFile(folder.text("a"), folder.text("b")));
    EXPECT_FALSE(fs::CheckFile(folder.text("a")));
}

// KEPT[exactly-one]
TEST(CopyFileW, FailsForAPlatformResultOfTwo)
{
    const import_hook hook("CopyFileW", &two_for_copy);
    EXPECT_FALSE(fs::CopyFileW("from", "to"));
}

TEST(RemoveFile, RemovesAFileAndNothingElse)
{
    const temporary_folder folder("-\xC3\xA4");
    folder.write("file", "x");
    EXPECT_TRUE(fs::RemoveFile(folder.text("file")));
    EXPECT_FALSE(fs::CheckFile(folder.text("file")));
    EXPECT_FALSE(fs::RemoveFile(folder.text("file")));
    EXPECT_FALSE(fs::RemoveFile(folder.text()));
    EXPECT_TRUE(fs::CheckDirectory(folder.text()));
}

TEST(RemoveFile, TakesAnyTruePlatformResultForSuccess)
{
    const import_hook hook("DeleteFileW", &two_for_deletion);
    EXPECT_TRUE(fs::RemoveFile("any"));
}

// KEPT[existing-folder-is-false]
TEST(MakeDirectory, MakesOneFolderOnce)
{
    const temporary_folder folder("-\xC3\xA4");
    EXPECT_TRUE(fs::MakeDirectory(folder.text("new \xC3\xB6"), false));
    EXPECT_TRUE(fs::CheckDirectory(folder.text("new \xC3\xB6")));
    EXPECT_FALSE(fs::MakeDirectory(folder.text("new \xC3\xB6"), false));
    EXPECT_FALSE(fs::MakeDirectory(folder.text("missing/sub"), false));
    EXPECT_FALSE(fs::CheckDirectory(folder.text("missing")));
}

// KEPT[last-attempt-counts]
TEST(MakeDirectory, MakesAllLevelsOnceAndChangesNothingAgain)
{
    const temporary_folder folder;
    const std::string path = folder.text("a/b/c");
    EXPECT_TRUE(fs::MakeDirectory(path, true));
    EXPECT_TRUE(fs::CheckDirectory(path));
    folder.write("a/b/c/file", "x");
    EXPECT_FALSE(fs::MakeDirectory(path, true));
    EXPECT_EQ(folder.read("a/b/c/file"), "x");
    EXPECT_TRUE(fs::MakeDirectory(path + "\\d\\", true));
    EXPECT_TRUE(fs::CheckDirectory(folder.text("a/b/c/d")));
}

// KEPT[last-attempt-counts]
TEST(MakeDirectory, GivesTheResultOfTheLastAttemptOnly)
{
    const import_hook hook("CreateDirectoryW", &try_folder);
    tried.clear();
    answers = {0, 0, 1};
    EXPECT_TRUE(fs::MakeDirectory("C:\\a\\b", true));
    EXPECT_EQ(tried, (texts{L"C:", L"C:\\a", L"C:\\a\\b"}));
    tried.clear();
    answers = {1, 1, 0};
    EXPECT_FALSE(fs::MakeDirectory("C:\\a\\b", true));
    tried.clear();
    EXPECT_FALSE(fs::MakeDirectory("\\\\", true));
    EXPECT_FALSE(fs::MakeDirectory("", true));
    EXPECT_EQ(tried, texts{});
}

// KEPT[leading-slash-doubled]
TEST(MakeDirectory, TriesALeadingSlashTwiceAndANetworkPathAsItIs)
{
    const import_hook hook("CreateDirectoryW", &try_folder);
    tried.clear();
    answers.clear();
    EXPECT_TRUE(fs::MakeDirectory("/a\\\xC3\xA4", true));
    EXPECT_EQ(tried, (texts{L"//a", L"//a\\\u00e4"}));
    tried.clear();
    EXPECT_TRUE(fs::MakeDirectory("\\\\host\\share", true));
    EXPECT_EQ(tried, (texts{L"\\\\host", L"\\\\host\\share"}));
}

// KEPT[exactly-one]
TEST(MakeDirectory, FailsForAPlatformResultOfTwo)
{
    const import_hook hook("CreateDirectoryW", &try_folder);
    tried.clear();
    answers = {2, 2};
    EXPECT_FALSE(fs::MakeDirectory("a", false));
    EXPECT_FALSE(fs::MakeDirectory("a", true));
}
