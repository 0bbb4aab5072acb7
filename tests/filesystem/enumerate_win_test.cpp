#include <algorithm>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/private_memory_win.h"
#include "tests/support/temporary_folder.h"

namespace fs = KFramework::KFileSystem;

namespace
{
using kf::test::import_hook;
using kf::test::private_bytes;
using kf::test::temporary_folder;
using names = std::multiset<std::string>;

struct flags
{
    bool exe_only = false;
    bool directories = false;
    bool hidden = false;
    bool dot_names = false;
};

/// Folders are given with a final backslash.
names listed(const std::string& folder, flags with)
{
    names found;
    fs::KDirectory directory;
    directory.path = folder;
    for (bool more =
             fs::EnumDirFirstFile(&directory, with.exe_only, with.directories, with.hidden, with.dot_names);
         more;
         more = fs::EnumDirNextFile(&directory, with.exe_only, with.directories, with.hidden, with.dot_names))
        found.insert(directory.name + (directory.isDirectory ? "\\" : ""));
    EXPECT_TRUE(fs::EnumDirClose(&directory));
    return found;
}

names folders_of(const std::string& folder)
{
    names found;
    fs::KDirectory directory;
    directory.path = folder;
    for (bool more = fs::EnumDirGetFirstDir(&directory); more; more = fs::EnumDirGetNextDir(&directory))
    {
        EXPECT_TRUE(directory.isDirectory);
        found.insert(directory.name);
    }
    EXPECT_TRUE(fs::EnumDirClose(&directory));
    return found;
}

void make_folder(const temporary_folder& parent, const char* name)
{
    ASSERT_TRUE(std::filesystem::create_directory(parent.entry(name)));
}

void hide(const std::filesystem::path& path)
{
    ASSERT_TRUE(::SetFileAttributesW(path.c_str(), FILE_ATTRIBUTE_HIDDEN));
}

/// A search whose entries the test says, in this order. Counts what is opened and closed.
struct fake_entry
{
    const wchar_t* name;
    DWORD attributes;
};
struct fake_search
{
    std::vector<fake_entry> entries;
    std::size_t next = 0;
    std::wstring pattern;
    int opened = 0;
    int closed = 0;
};
fake_search fake;
int fake_object;

HANDLE fake_handle()
{
    return &fake_object;
}

BOOL WINAPI find_next(HANDLE handle, WIN32_FIND_DATAW* found)
{
    EXPECT_EQ(handle, fake_handle());
    if (fake.next == fake.entries.size())
        return FALSE;
    found->dwFileAttributes = fake.entries[fake.next].attributes;
    std::wcscpy(found->cFileName, fake.entries[fake.next].name);
    ++fake.next;
    return TRUE;
}

HANDLE WINAPI find_first(const wchar_t* pattern, WIN32_FIND_DATAW* found)
{
    fake.pattern = pattern;
    if (fake.entries.empty())
        return INVALID_HANDLE_VALUE;
    ++fake.opened;
    find_next(fake_handle(), found);
    return fake_handle();
}

BOOL WINAPI find_close(HANDLE handle)
{
    EXPECT_EQ(handle, fake_handle());
    ++fake.closed;
    return TRUE;
}

/// Entries that are never made, only counted.
int endless_left = 0;

BOOL WINAPI find_endless(HANDLE /*handle*/, WIN32_FIND_DATAW* found)
{
    if (endless_left == 0)
        return FALSE;
    --endless_left;
    found->dwFileAttributes = FILE_ATTRIBUTE_NORMAL;
    std::wcscpy(found->cFileName, L".an entry whose name takes memory of its own");
    return TRUE;
}

/// The library lists the entries of fake for as long as this lives.
class fake_listing
{
public:
    explicit fake_listing(std::vector<fake_entry> entries) { fake = {std::move(entries), 0, {}, 0, 0}; }

private:
    import_hook<decltype(find_first)> first_{"FindFirstFileW", &find_first};
    import_hook<decltype(find_next)> next_{"FindNextFileW", &find_next};
    import_hook<decltype(find_close)> close_{"FindClose", &find_close};
};

constexpr DWORD kFile = FILE_ATTRIBUTE_NORMAL;
constexpr DWORD kFolder = FILE_ATTRIBUTE_DIRECTORY;
constexpr DWORD kHidden = FILE_ATTRIBUTE_HIDDEN;
} // namespace

TEST(EnumDirFirstFile, ListsBothDotFoldersOfAnEmptyFolder)
{
    const temporary_folder folder;
    EXPECT_EQ(listed(folder.text(), {false, true, true, true}), (names{".\\", "..\\"}));
}

TEST(EnumDirFirstFile, ListsNothingOfAnEmptyFolderWithoutDotNamesOrWithoutFolders)
{
    const temporary_folder folder;
    EXPECT_EQ(listed(folder.text(), {false, true, true, false}), names{});
    EXPECT_EQ(listed(folder.text(), {false, false, true, true}), names{});
}

TEST(EnumDirFirstFile, ListsOnlyProgramsWhenAsked)
{
    const temporary_folder folder;
    folder.write("a.exe", "");
    folder.write("b.txt", "");
    make_folder(folder, "c.exe");
    EXPECT_EQ(listed(folder.text(), {true, false, true, true}), (names{"a.exe"}));
    EXPECT_EQ(listed(folder.text(), {true, true, true, true}), (names{"a.exe", "c.exe\\"}));
}

TEST(EnumDirFirstFile, TakesEachFlagForItsOwnKindOfEntry)
{
    const temporary_folder folder("-\xC3\xA4\xE2\x82\xAC");
    folder.write("plain", "");
    folder.write("\xC3\xB6\xF0\x9F\x98\x80.txt", "");
    folder.write(".dotted", "");
    folder.write("unseen", "");
    hide(folder.entry("unseen"));
    make_folder(folder, "sub");
    EXPECT_EQ(listed(folder.text(), {}), (names{"plain", "\xC3\xB6\xF0\x9F\x98\x80.txt"}));
    EXPECT_EQ(listed(folder.text(), {false, true, false, false}),
              (names{"plain", "\xC3\xB6\xF0\x9F\x98\x80.txt", "sub\\"}));
    EXPECT_EQ(listed(folder.text(), {false, false, true, false}),
              (names{"plain", "\xC3\xB6\xF0\x9F\x98\x80.txt", "unseen"}));
    EXPECT_EQ(listed(folder.text(), {false, false, false, true}),
              (names{"plain", "\xC3\xB6\xF0\x9F\x98\x80.txt", ".dotted"}));
}

TEST(EnumDirFirstFile, FailsForAFolderThatCannotBeOpenedAndLeavesNothingToClose)
{
    const temporary_folder folder;
    fs::KDirectory directory;
    directory.path = folder.text("missing");
    directory.handle = nullptr;
    EXPECT_FALSE(fs::EnumDirFirstFile(&directory, false, true, true, true));
    EXPECT_EQ(directory.handle, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(fs::EnumDirNextFile(&directory, false, true, true, true));
    EXPECT_FALSE(fs::EnumDirClose(&directory));

    directory.path = folder.text(); // no program in it: the pattern matches nothing
    EXPECT_FALSE(fs::EnumDirFirstFile(&directory, true, true, true, true));
    EXPECT_FALSE(fs::EnumDirClose(&directory));
}

// KEPT[search-stays-open]
TEST(EnumDirFirstFile, LeavesTheListingOpenWhenNothingIsAccepted)
{
    const fake_listing listing({{L".", kFolder}, {L"..", kFolder}});
    fs::KDirectory directory;
    directory.path = "c:\\folder";
    EXPECT_FALSE(fs::EnumDirFirstFile(&directory, false, false, true, true));
    EXPECT_EQ(fake.pattern, L"c:\\folder\\*");
    EXPECT_EQ(fake.closed, 0);
    EXPECT_FALSE(fs::EnumDirNextFile(&directory, false, false, true, true));
    EXPECT_EQ(fake.closed, 0);
    EXPECT_TRUE(fs::EnumDirClose(&directory));
    EXPECT_EQ(fake.closed, 1);
}

// KEPT[rejected-entry-shows]
TEST(EnumDirFirstFile, SetsNameAndKindOfEntriesThatItPassesOver)
{
    const fake_listing listing({{L"file", kFile}, {L".first", kFile}, {L"last", kFolder | kHidden}});
    fs::KDirectory directory;
    EXPECT_TRUE(fs::EnumDirFirstFile(&directory, false, false, false, false));
    EXPECT_EQ(directory.name, "file");
    EXPECT_FALSE(directory.isDirectory);
    EXPECT_FALSE(fs::EnumDirNextFile(&directory, false, false, false, false));
    EXPECT_EQ(directory.name, "last");
    EXPECT_TRUE(directory.isDirectory);
    fs::EnumDirClose(&directory);
}

// KEPT[pattern-fixed-when-opened]
TEST(EnumDirNextFile, KeepsThePatternOfTheFirstCall)
{
    const temporary_folder folder;
    folder.write("a.exe", "");
    folder.write("b.exe", "");
    folder.write("c.txt", "");
    names found;
    fs::KDirectory directory;
    directory.path = folder.text();
    for (bool more = fs::EnumDirFirstFile(&directory, true, false, true, true); more;
         more = fs::EnumDirNextFile(&directory, false, false, true, true))
        found.insert(directory.name);
    fs::EnumDirClose(&directory);
    EXPECT_EQ(found, (names{"a.exe", "b.exe"}));

    found.clear();
    for (bool more = fs::EnumDirFirstFile(&directory, false, false, true, true); more;
         more = fs::EnumDirNextFile(&directory, true, false, true, true))
        found.insert(directory.name);
    fs::EnumDirClose(&directory);
    EXPECT_EQ(found, (names{"a.exe", "b.exe", "c.txt"}));
}

// KEPT[search-stays-open]
TEST(EnumDirNextFile, LeavesAnExhaustedListingOpen)
{
    const fake_listing listing({{L"only", kFile}});
    fs::KDirectory directory;
    EXPECT_TRUE(fs::EnumDirFirstFile(&directory, false, false, false, false));
    EXPECT_FALSE(fs::EnumDirNextFile(&directory, false, false, false, false));
    EXPECT_FALSE(fs::EnumDirNextFile(&directory, false, false, false, false));
    EXPECT_EQ(fake.closed, 0);
    EXPECT_TRUE(fs::EnumDirClose(&directory));
    EXPECT_EQ(fake.closed, 1);
}

TEST(EnumDirNextFile, GoesThroughAHundredThousandEntriesWithoutMoreMemoryOrStack)
{
    constexpr int kEntries = 100000;
    const fake_listing listing({{L"first", kFile}});
    const import_hook hook("FindNextFileW", &find_endless);
    fs::KDirectory directory;
    ASSERT_TRUE(fs::EnumDirFirstFile(&directory, false, false, false, true));
    const std::size_t before = private_bytes();
    int entries = 0;
    for (endless_left = kEntries; fs::EnumDirNextFile(&directory, false, false, false, true);)
        ++entries;
    EXPECT_EQ(entries, kEntries);
    EXPECT_LE(private_bytes(), before + 256 * 1024); // kept names would take over 5 MB

    endless_left = kEntries; // all of them passed over by one call
    EXPECT_FALSE(fs::EnumDirNextFile(&directory, false, false, false, false));
    EXPECT_EQ(endless_left, 0);
    EXPECT_LE(private_bytes(), before + 256 * 1024);
    EXPECT_TRUE(fs::EnumDirClose(&directory));
}

// KEPT[dot-folders-listed]
TEST(EnumDirGetFirstDir, ListsEveryFolderAndNoFile)
{
    const temporary_folder folder;
    make_folder(folder, "sub");
    make_folder(folder, ".dotted");
    make_folder(folder, "unseen");
    hide(folder.entry("unseen"));
    folder.write("file", "");
    EXPECT_EQ(folders_of(folder.text()), (names{".", "..", ".dotted", "sub", "unseen"}));
}

// KEPT[dot-folders-listed]
TEST(EnumDirGetFirstDir, GivesTheDotFolderFirstWhenThePlatformListsItFirst)
{
    const fake_listing listing({{L".", kFolder}, {L"..", kFolder}, {L"a", kFile}, {L"b", kFolder}});
    fs::KDirectory directory;
    ASSERT_TRUE(fs::EnumDirGetFirstDir(&directory));
    EXPECT_EQ(directory.name, ".");
    ASSERT_TRUE(fs::EnumDirGetNextDir(&directory));
    EXPECT_EQ(directory.name, "..");
    ASSERT_TRUE(fs::EnumDirGetNextDir(&directory));
    EXPECT_EQ(directory.name, "b");
    EXPECT_TRUE(directory.isDirectory);
    EXPECT_FALSE(fs::EnumDirGetNextDir(&directory));
    EXPECT_EQ(fake.closed, 0);
    EXPECT_TRUE(fs::EnumDirClose(&directory));
}

TEST(EnumDirGetFirstDir, PassesOverFilesThatComeFirst)
{
    const fake_listing listing({{L"a", kFile}, {L"b", kFile}, {L"c", kFolder}});
    fs::KDirectory directory;
    directory.path = "\xC3\xA4";
    ASSERT_TRUE(fs::EnumDirGetFirstDir(&directory));
    EXPECT_EQ(fake.pattern, L"\u00e4\\*");
    EXPECT_EQ(directory.name, "c");
    EXPECT_TRUE(fs::EnumDirClose(&directory));
}

TEST(EnumDirGetFirstDir, FailsForAFolderThatCannotBeOpened)
{
    const fake_listing listing({});
    fs::KDirectory directory;
    directory.handle = nullptr;
    EXPECT_FALSE(fs::EnumDirGetFirstDir(&directory));
    EXPECT_EQ(directory.handle, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(fs::EnumDirGetNextDir(&directory));
    EXPECT_FALSE(fs::EnumDirClose(&directory));
    EXPECT_EQ(fake.closed, 0);
}

TEST(EnumDirClose, IsFalseForAListingThatWasNeverOpened)
{
    fs::KDirectory directory;
    EXPECT_EQ(directory.handle, INVALID_HANDLE_VALUE);
    EXPECT_FALSE(directory.isDirectory);
    EXPECT_FALSE(fs::EnumDirClose(&directory));
    EXPECT_FALSE(fs::EnumDirNextFile(&directory, false, true, true, true));
    EXPECT_FALSE(fs::EnumDirGetNextDir(&directory));
}

// KEPT[handle-not-reset]
TEST(EnumDirClose, LeavesTheHandleFieldAsItIs)
{
    const fake_listing listing({{L"a", kFile}});
    fs::KDirectory directory;
    ASSERT_TRUE(fs::EnumDirFirstFile(&directory, false, true, true, true));
    EXPECT_TRUE(fs::EnumDirClose(&directory));
    EXPECT_EQ(directory.handle, fake_handle());
    EXPECT_EQ(fake.closed, 1);
}

TEST(GetFirstFileWithPrefix, FindsAFileWhoseNameBeginsWithThePrefix)
{
    const temporary_folder folder("-\xC3\xA4");
    folder.write("frame_0001.exr", "");
    folder.write("other.exr", "");
    make_folder(folder, "other folder");
    EXPECT_EQ(fs::GetFirstFileWithPrefix(folder.text() + "\\frame_"), folder.text("frame_0001.exr"));
    EXPECT_EQ(fs::GetFirstFileWithPrefix(folder.text() + "/other"), folder.text("other.exr"));
    EXPECT_EQ(fs::GetFirstFileWithPrefix(folder.text() + "\\frame_0001.exr"), folder.text("frame_0001.exr"));
}

TEST(GetFirstFileWithPrefix, IsEmptyWithoutAMatchOrAFolder)
{
    const temporary_folder folder;
    folder.write("frame_0001.exr", "");
    make_folder(folder, "none");
    EXPECT_EQ(fs::GetFirstFileWithPrefix(folder.text() + "\\none"), "");
    EXPECT_EQ(fs::GetFirstFileWithPrefix(folder.text() + "\\missing\\frame_"), "");
}

TEST(GetFirstFileWithPrefix, ListsNothingForAnEmptyPrefix)
{
    const fake_listing listing({{L"a", kFile}});
    EXPECT_EQ(fs::GetFirstFileWithPrefix("c:\\folder\\"), "");
    EXPECT_EQ(fs::GetFirstFileWithPrefix("c:/folder/"), "");
    EXPECT_EQ(fs::GetFirstFileWithPrefix(""), "");
    EXPECT_EQ(fake.opened, 0);
}

// KEPT[first-in-folder-order]
TEST(GetFirstFileWithPrefix, TakesTheFirstInThePlatformsOrderAndMindsCase)
{
    const fake_listing listing(
        {{L"frame_", kFolder}, {L"Frame_1", kFile}, {L"frame_9", kFile | kHidden}, {L"frame_1", kFile}});
    EXPECT_EQ(fs::GetFirstFileWithPrefix("c:\\folder\\frame_"), "c:\\folder\\frame_9");
    EXPECT_EQ(fake.opened, 1);
    EXPECT_EQ(fake.closed, 1);
}

TEST(GetFirstFileWithPrefix, FindsDotNamesAndClosesTheListingWithoutAMatchToo)
{
    const fake_listing listing({{L"..", kFolder}, {L"a", kFile}, {L".hidden", kFile | kHidden}});
    EXPECT_EQ(fs::GetFirstFileWithPrefix("c:\\.h"), "c:\\.hidden");
    EXPECT_EQ(fake.closed, 1);
    fake.next = 0;
    EXPECT_EQ(fs::GetFirstFileWithPrefix("c:\\x"), "");
    EXPECT_EQ(fake.opened, 2);
    EXPECT_EQ(fake.closed, 2);
}

// KEPT[prefix-without-folder]
TEST(GetFirstFileWithPrefix, ListsTheFolderThatABarePrefixNames)
{
    const fake_listing listing({{L"any", kFile}});
    EXPECT_EQ(fs::GetFirstFileWithPrefix("pre"), "pre\\any");
    EXPECT_EQ(fake.pattern, L"pre\\*");
}
