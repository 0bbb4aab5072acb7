#include <string>

#include <gtest/gtest.h>

#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

using KFramework::KStringHelper::LoadFileIntoString;
using KFramework::KStringHelper::SaveFileFromString;

namespace
{
DWORD file_flags = 0xFFFFFFFF;

BOOL WINAPI half_a_write(HANDLE file, LPCVOID data, DWORD size, LPDWORD written, LPOVERLAPPED overlapped)
{
    ::GetHandleInformation(file, &file_flags);
    return ::WriteFile(file, data, size / 2, written, overlapped);
}

BOOL WINAPI failing_write(HANDLE, LPCVOID, DWORD, LPDWORD written, LPOVERLAPPED)
{
    *written = 0;
    ::SetLastError(ERROR_DISK_FULL);
    return FALSE;
}

BOOL WINAPI failing_read(HANDLE, LPVOID, DWORD, LPDWORD read, LPOVERLAPPED)
{
    *read = 0;
    ::SetLastError(ERROR_READ_FAULT);
    return FALSE;
}
} // namespace

TEST(SaveFileFromString, WritesTheBytesAsTheyAre)
{
    const kf::test::temporary_folder folder;
    EXPECT_TRUE(SaveFileFromString("a\r\nb\n\xFF", folder.text("a.txt")));
    EXPECT_EQ(folder.read("a.txt"), "a\r\nb\n\xFF");
}

TEST(SaveFileFromString, ReplacesWhatWasThere)
{
    const kf::test::temporary_folder folder;
    const std::string path = folder.write("a.txt", "a longer text than the new one");
    EXPECT_TRUE(SaveFileFromString("new", path));
    EXPECT_EQ(folder.read("a.txt"), "new");
}

TEST(SaveFileFromString, MakesAnEmptyFileForAnEmptyContent)
{
    const kf::test::temporary_folder folder;
    EXPECT_TRUE(SaveFileFromString("", folder.text("empty")));
    EXPECT_EQ(folder.read("empty"), "");
}

// KEPT[save-stops-at-nul]
TEST(SaveFileFromString, StopsAtTheFirstNul)
{
    const kf::test::temporary_folder folder;
    EXPECT_TRUE(SaveFileFromString(std::string("ab\0cd", 5), folder.text("a.txt")));
    EXPECT_EQ(folder.read("a.txt"), "ab");
    EXPECT_TRUE(SaveFileFromString(std::string("\0cd", 3), folder.text("b.txt")));
    EXPECT_EQ(folder.read("b.txt"), "");
}

// KEPT[file-argument-order]
TEST(SaveFileFromString, TakesTheContentFirst)
{
    const kf::test::temporary_folder folder;
    const std::string path = folder.text("order.txt");
    ASSERT_TRUE(SaveFileFromString("content", path));
    std::string content;
    ASSERT_TRUE(LoadFileIntoString(content, path));
    EXPECT_EQ(content, "content");
}

TEST(SaveFileFromString, IsFalseWhenTheFileCannotBeOpened)
{
    const kf::test::temporary_folder folder;
    EXPECT_FALSE(SaveFileFromString("a", folder.text("missing/a.txt")));
    EXPECT_FALSE(SaveFileFromString("a", folder.text()));
    EXPECT_FALSE(SaveFileFromString("a", ""));
}

TEST(SaveFileFromString, IsFalseWhenTheWriteDoesNotComplete)
{
    const kf::test::temporary_folder folder;
    {
        const kf::test::import_hook hook("WriteFile", &half_a_write);
        EXPECT_FALSE(SaveFileFromString("abcd", folder.text("half")));
    }
    {
        const kf::test::import_hook hook("WriteFile", &failing_write);
        EXPECT_FALSE(SaveFileFromString("abcd", folder.text("none")));
    }
}

TEST(SaveFileFromString, KeepsItsHandleFromChildren)
{
    const kf::test::temporary_folder folder;
    const kf::test::import_hook hook("WriteFile", &half_a_write);
    EXPECT_FALSE(SaveFileFromString("abcd", folder.text("half")));
    EXPECT_EQ(file_flags, 0u);
}

TEST(SaveFileFromString, OpensPathsThatAreNotAscii)
{
    const kf::test::temporary_folder folder("-\xC3\xA4");
    const std::string path = folder.text("\xE2\x82\xAC.txt");
    EXPECT_TRUE(SaveFileFromString("euro", path));
    EXPECT_EQ(folder.read("\xE2\x82\xAC.txt"), "euro");
    std::string content;
    EXPECT_TRUE(LoadFileIntoString(content, path));
    EXPECT_EQ(content, "euro");
}

TEST(LoadFileIntoString, ReplacesTheContent)
{
    const kf::test::temporary_folder folder;
    std::string content = "before";
    EXPECT_TRUE(LoadFileIntoString(content, folder.write("a.txt", "a\r\nb\n")));
    EXPECT_EQ(content, "a\r\nb\n");
}

TEST(LoadFileIntoString, LeavesTheContentEmptyWhenTheFileCannotBeOpened)
{
    const kf::test::temporary_folder folder;
    std::string content = "before";
    EXPECT_FALSE(LoadFileIntoString(content, folder.text("missing.txt")));
    EXPECT_EQ(content, "");
    content = "before";
    EXPECT_FALSE(LoadFileIntoString(content, folder.text()));
    EXPECT_EQ(content, "");
}

TEST(LoadFileIntoString, ReadsFilesOfEverySizeAroundItsBlocks)
{
    const kf::test::temporary_folder folder;
    for (const std::size_t size : {0, 1, 2047, 2048, 2049, 65535, 65536, 65537, 1'000'000})
    {
        std::string bytes(size, 'a');
        for (std::size_t i = 0; i < size; ++i)
            bytes[i] = static_cast<char>('a' + i % 26);
        std::string content;
        EXPECT_TRUE(LoadFileIntoString(content, folder.write("a.txt", bytes)));
        EXPECT_TRUE(content == bytes) << size;
    }
}

// KEPT[load-drops-after-nul]
TEST(LoadFileIntoString, LosesWhatFollowsANulWithinItsBlockOf2048Bytes)
{
    const kf::test::temporary_folder folder;
    std::string bytes(100'000, 'a');
    bytes[10] = '\0';
    bytes[70'000] = '\0'; // 34 whole blocks before it, then 368 bytes
    std::string content;
    EXPECT_TRUE(LoadFileIntoString(content, folder.write("a.txt", bytes)));
    EXPECT_EQ(content.size(), 10u + 33 * 2048 + 368 + (100'000 - 35 * 2048));
    EXPECT_TRUE(LoadFileIntoString(content, folder.write("b.txt", std::string("\0abc", 4))));
    EXPECT_EQ(content, "");
}

TEST(LoadFileIntoString, IsTrueWithWhatWasReadWhenReadingFails)
{
    const kf::test::temporary_folder folder;
    const std::string path = folder.write("a.txt", "abc");
    const kf::test::import_hook hook("ReadFile", &failing_read);
    std::string content = "before";
    EXPECT_TRUE(LoadFileIntoString(content, path));
    EXPECT_EQ(content, "");
}

TEST(LoadFileIntoString, ReadsAFileThatAnotherStillWrites)
{
    const kf::test::temporary_folder folder;
    const std::string path = folder.write("a.txt", "abc");
    const kf::platform::unique_file writer(::CreateFileW(folder.entry("a.txt").c_str(), GENERIC_WRITE,
                                                         FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                                         OPEN_EXISTING, 0, nullptr));
    ASSERT_TRUE(writer);
    std::string content;
    EXPECT_TRUE(LoadFileIntoString(content, path));
    EXPECT_EQ(content, "abc");
    EXPECT_TRUE(SaveFileFromString("new", path));
}

TEST(LoadFileIntoString, MayTakeItsPathFromTheContent)
{
    const kf::test::temporary_folder folder;
    std::string both = folder.write("a.txt", "abc");
    EXPECT_TRUE(LoadFileIntoString(both, both));
    EXPECT_EQ(both, "abc");
}

TEST(LoadFileIntoString, GivesItsHandleBack)
{
    const kf::test::temporary_folder folder;
    const std::string path = folder.write("a.txt", "abc");
    std::string content;
    LoadFileIntoString(content, path);
    const std::size_t before = kf::test::handle_count();
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_TRUE(LoadFileIntoString(content, path));
        EXPECT_TRUE(SaveFileFromString(content, path));
    }
    EXPECT_EQ(kf::test::handle_count(), before);
}
