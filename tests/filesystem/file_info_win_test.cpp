#include <string>

#include <gtest/gtest.h>
#include <sys/stat.h>

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

constexpr long long kBeyond32Bits = 5LL << 32;

int known_facts(const char* /*path*/, struct _stat64* facts)
{
    *facts = {};
    facts->st_size = kBeyond32Bits + 1;
    facts->st_mtime = kBeyond32Bits + 2;
    facts->st_ctime = kBeyond32Bits + 3;
    facts->st_atime = kBeyond32Bits + 4;
    return 0;
}

long long now()
{
    FILETIME time;
    ::GetSystemTimeAsFileTime(&time);
    const long long ticks = static_cast<long long>(time.dwHighDateTime) << 32 | time.dwLowDateTime;
    return ticks / 10'000'000 - 11'644'473'600;
}
} // namespace

TEST(CheckFile, IsTrueForFilesOnly)
{
    const temporary_folder folder("-\xC3\xA4\xE2\x82\xAC");
    folder.write("\xC3\xB6", "x");
    EXPECT_TRUE(fs::CheckFile(folder.text("\xC3\xB6")));
    EXPECT_FALSE(fs::CheckFile(folder.text()));
    EXPECT_FALSE(fs::CheckFile(folder.text("missing")));
    EXPECT_FALSE(fs::CheckFile(""));
}

TEST(CheckDirectory, IsTrueForFoldersOnly)
{
    const temporary_folder folder("-\xC3\xA4\xE2\x82\xAC");
    folder.write("file", "x");
    EXPECT_TRUE(fs::CheckDirectory(folder.text()));
    EXPECT_FALSE(fs::CheckDirectory(folder.text("file")));
    EXPECT_FALSE(fs::CheckDirectory(folder.text("missing")));
    EXPECT_FALSE(fs::CheckDirectory(""));
}

TEST(CheckFile, DoesNotOpenTheFile)
{
    const temporary_folder folder;
    folder.write("locked", "x");
    const kf::platform::unique_file locked(
        ::CreateFileW(folder.entry("locked").c_str(), GENERIC_WRITE, 0, nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(locked);
    EXPECT_TRUE(fs::CheckFile(folder.text("locked")));
}

TEST(GetFileSize, CountsBytes)
{
    const temporary_folder folder;
    EXPECT_EQ(fs::GetFileSize(folder.write("empty", "")), 0);
    EXPECT_EQ(fs::GetFileSize(folder.write("three", "a\r\n")), 3);
}

TEST(GetFileSize, CountsBeyondFourGigabytes)
{
    const temporary_folder folder;
    {
        const kf::platform::unique_file file(
            ::CreateFileW(folder.entry("large").c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, 0, nullptr));
        ASSERT_TRUE(file);
        LARGE_INTEGER end;
        end.QuadPart = kBeyond32Bits + 7;
        ASSERT_TRUE(::SetFilePointerEx(file.get(), end, nullptr, FILE_BEGIN));
        ASSERT_TRUE(::SetEndOfFile(file.get())); // takes no room on the disk
    }
    EXPECT_EQ(fs::GetFileSize(folder.text("large")), kBeyond32Bits + 7);
}

TEST(GetFileSize, IsMinusOneForAMissingFile)
{
    const temporary_folder folder;
    EXPECT_EQ(fs::GetFileSize(folder.text("missing")), -1);
    EXPECT_EQ(fs::GetFileLastMod(folder.text("missing")), -1);
    EXPECT_EQ(fs::GetFileCreation(folder.text("missing")), -1);
}

// KEPT[narrow-stat]
TEST(GetFileSize, TakesThePathInTheCodePageOfTheProcess)
{
    if (::GetACP() != 1252)
        GTEST_SKIP() << "the process's code page is " << ::GetACP() << ", not 1252";
    const temporary_folder folder;
    folder.write("\xC3\xA4", "four"); // UTF-8
    ASSERT_TRUE(fs::CheckFile(folder.text("\xC3\xA4")));
    EXPECT_EQ(fs::GetFileSize(folder.text("\xC3\xA4")), -1);
    EXPECT_EQ(fs::GetFileLastMod(folder.text("\xC3\xA4")), -1);
    EXPECT_EQ(fs::GetFileCreation(folder.text("\xC3\xA4")), -1);

    const std::string in_code_page = folder.text() + "\\\xE4";
    EXPECT_EQ(fs::GetFileSize(in_code_page), 4);
    EXPECT_GT(fs::GetFileLastMod(in_code_page), 0);
    EXPECT_GT(fs::GetFileCreation(in_code_page), 0);
}

TEST(GetFileLastMod, IsTheTimeOfTheLastWrite)
{
    const temporary_folder folder;
    const std::string path = folder.write("file", "x");
    const kf::platform::unique_file file(::CreateFileW(folder.entry("file").c_str(), FILE_WRITE_ATTRIBUTES, 0,
                                                       nullptr, OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(file);
    const long long ticks = (1'234'567'890 + 11'644'473'600) * 10'000'000;
    const FILETIME time{static_cast<DWORD>(ticks), static_cast<DWORD>(ticks >> 32)};
    ASSERT_TRUE(::SetFileTime(file.get(), nullptr, nullptr, &time));
    EXPECT_EQ(fs::GetFileLastMod(path), 1'234'567'890);
}

TEST(GetFileCreation, IsNowForANewFile)
{
    const temporary_folder folder;
    const long long before = now();
    const std::string path = folder.write("file", "x");
    EXPECT_GE(fs::GetFileCreation(path), before - 2); // the file system's clock ticks in steps
    EXPECT_LE(fs::GetFileCreation(path), now());
}

TEST(FileFacts, AreSizeLastWriteAndStatusChangeInSixtyFourBits)
{
    const import_hook hook("_stat64", &known_facts);
    ASSERT_TRUE(hook.found());
    EXPECT_EQ(fs::GetFileSize("any"), kBeyond32Bits + 1);
    EXPECT_EQ(fs::GetFileLastMod("any"), kBeyond32Bits + 2);
    EXPECT_EQ(fs::GetFileCreation("any"), kBeyond32Bits + 3);
}
