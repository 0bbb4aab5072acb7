#include <string>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"

namespace fs = KFramework::KFileSystem;

TEST(ToNativePath, TurnsEverySlashIntoABackslash)
{
    EXPECT_EQ(fs::ToNativePath("a/b\\c//d/"), "a\\b\\c\\\\d\\");
    EXPECT_EQ(fs::ToNativePath("name"), "name");
    EXPECT_EQ(fs::ToNativePath(""), "");
}

TEST(GetFileExtension, IsWhatFollowsTheLastDot)
{
    EXPECT_EQ(fs::GetFileExtension("archive.tar.gz"), "gz");
    EXPECT_EQ(fs::GetFileExtension("c:\\folder\\image.exr"), "exr");
    EXPECT_EQ(fs::GetFileExtension(".hidden"), "hidden");
}

TEST(GetFileExtension, IsEmptyWithoutADotOrAfterAFinalOne)
{
    EXPECT_EQ(fs::GetFileExtension("name"), "");
    EXPECT_EQ(fs::GetFileExtension("name."), "");
    EXPECT_EQ(fs::GetFileExtension(""), "");
}

// KEPT[extension-of-whole-path]
TEST(GetFileExtension, LooksAtTheFoldersToo)
{
    EXPECT_EQ(fs::GetFileExtension("c:\\v1.2\\readme"), "2\\readme");
}

TEST(GetFileFromPath, IsWhatFollowsTheLastBackslash)
{
    EXPECT_EQ(fs::GetFileFromPath("c:\\folder\\file.txt"), "file.txt");
    EXPECT_EQ(fs::GetFileFromPath("file.txt"), "file.txt");
    EXPECT_EQ(fs::GetFileFromPath("c:\\folder\\"), "");
    EXPECT_EQ(fs::GetFileFromPath(""), "");
}

// KEPT[backslash-only]
TEST(GetFileFromPath, DoesNotSplitAtSlashesUntilThePathIsNative)
{
    EXPECT_EQ(fs::GetFileFromPath("a/b/c.txt"), "a/b/c.txt");
    EXPECT_EQ(fs::GetFileFromPath(fs::ToNativePath("a/b/c.txt")), "c.txt");
    EXPECT_EQ(fs::GetFilePath("a/b/c.txt"), "a/b/c.txt");
    EXPECT_EQ(fs::GetFilePath("a\\b/c.txt"), "a");
}

TEST(GetFilePath, IsWhatStandsBeforeTheLastBackslash)
{
    EXPECT_EQ(fs::GetFilePath("c:\\folder\\file.txt"), "c:\\folder");
    EXPECT_EQ(fs::GetFilePath("c:\\folder\\"), "c:\\folder");
    EXPECT_EQ(fs::GetFilePath("\\file.txt"), "");
    EXPECT_EQ(fs::GetFilePath(""), "");
}

// KEPT[bare-name-is-its-folder]
TEST(GetFilePath, IsTheWholeArgumentWithoutABackslash)
{
    EXPECT_EQ(fs::GetFilePath("file.txt"), "file.txt");
}
