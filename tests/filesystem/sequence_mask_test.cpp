#include <string>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"

namespace fs = KFramework::KFileSystem;

namespace
{
/// A value that no test expects as a frame.
constexpr int kUntouched = -77;
} // namespace

TEST(GetSequenceMask, PutsHashesInPlaceOfTheFrameNumber)
{
    int frame = kUntouched;
    EXPECT_EQ(fs::GetSequenceMask("c:\\jobs\\render.0042.exr", true, frame), "c:\\jobs\\render.####.exr");
    EXPECT_EQ(frame, 42);
    EXPECT_EQ(fs::GetSequenceMask("jobs/frame10.exr", true, frame), "jobs/frame##.exr");
    EXPECT_EQ(frame, 10);
}

// KEPT[printf-mask-no-zero]
TEST(GetSequenceMask, WritesTheOtherFormWithoutAZeroFlag)
{
    int frame = kUntouched;
    EXPECT_EQ(fs::GetSequenceMask("c:\\jobs\\render.0042.exr", false, frame), "c:\\jobs\\render.%4d.exr");
    EXPECT_EQ(frame, 42);
    EXPECT_EQ(fs::GetSequenceMask("f_0123456789a", false, frame), "f_%10da");
    EXPECT_EQ(frame, 123456789);
}

TEST(GetSequenceMask, ReplacesOnlyTheLastRunOfTheLastComponent)
{
    int frame = kUntouched;
    EXPECT_EQ(fs::GetSequenceMask("shot12_v3.0042.exr", true, frame), "shot12_v3.####.exr");
    EXPECT_EQ(frame, 42);
    EXPECT_EQ(fs::GetSequenceMask("a9\\b8/c7", true, frame), "a9\\b8/c#");
    EXPECT_EQ(frame, 7);
}

TEST(GetSequenceMask, TakesARunThatFollowsASeparatorOrAnyOtherByte)
{
    int frame = kUntouched;
    EXPECT_EQ(fs::GetSequenceMask("folder\\0042.exr", true, frame), "folder\\####.exr");
    EXPECT_EQ(frame, 42);
    EXPECT_EQ(fs::GetSequenceMask("/7", true, frame), "/#");
    EXPECT_EQ(frame, 7);
    EXPECT_EQ(fs::GetSequenceMask("c:12", true, frame), "c:##");
    EXPECT_EQ(frame, 12);
    EXPECT_EQ(fs::GetSequenceMask("\xD9\xA3"
                                  "5",
                                  true, frame),
              "\xD9\xA3#"); // digits are ASCII bytes
    EXPECT_EQ(frame, 5);
}

// KEPT[frame-untouched]
TEST(GetSequenceMask, GivesThePathAndLeavesTheFrameWithoutDigitsInTheName)
{
    int frame = kUntouched;
    for (const bool hashes : {true, false})
    {
        EXPECT_EQ(fs::GetSequenceMask("render.exr", hashes, frame), "render.exr");
        EXPECT_EQ(fs::GetSequenceMask("2024\\render.exr", hashes, frame), "2024\\render.exr");
        EXPECT_EQ(fs::GetSequenceMask("2024/render.exr", hashes, frame), "2024/render.exr");
        EXPECT_EQ(fs::GetSequenceMask("a2024\\", hashes, frame), "a2024\\");
        EXPECT_EQ(fs::GetSequenceMask("", hashes, frame), "");
    }
    EXPECT_EQ(frame, kUntouched);
}

// KEPT[leading-digits-no-frame]
TEST(GetSequenceMask, LeavesAPathThatBeginsWithItsOnlyRun)
{
    int frame = kUntouched;
    EXPECT_EQ(fs::GetSequenceMask("0042.exr", true, frame), "0042.exr");
    EXPECT_EQ(fs::GetSequenceMask("0042", false, frame), "0042");
    EXPECT_EQ(frame, kUntouched);
    EXPECT_EQ(fs::GetSequenceMask("12a34", true, frame), "12a##");
    EXPECT_EQ(frame, 34);
}

TEST(GetSequenceMask, GivesTheHashFormWithoutAFrame)
{
    EXPECT_EQ(fs::GetSequenceMask("a\\render.0042.exr"), "a\\render.####.exr");
    EXPECT_EQ(fs::GetSequenceMask("0042.exr"), "0042.exr");
}

TEST(GetSequenceMask, KeepsTheWidthOfARunThatIsTooLongForAnInt)
{
    int frame = kUntouched;
    const std::string digits(3000, '9');
    EXPECT_EQ(fs::GetSequenceMask("a" + digits, true, frame), "a" + std::string(3000, '#'));
    EXPECT_EQ(fs::GetSequenceMask("a" + digits, false, frame), "a%3000d");
}

TEST(GetFileMaskPadding, CountsTheHashes)
{
    EXPECT_EQ(fs::GetFileMaskPadding("a.####.exr"), 4);
    EXPECT_EQ(fs::GetFileMaskPadding("#"), 1);
    EXPECT_EQ(fs::GetFileMaskPadding("a.exr"), 0);
    EXPECT_EQ(fs::GetFileMaskPadding(""), 0);
}

// KEPT[padding-spans-hashes]
TEST(GetFileMaskPadding, CountsWhatLiesBetweenTheHashesToo)
{
    EXPECT_EQ(fs::GetFileMaskPadding("#a#"), 3);
    EXPECT_EQ(fs::GetFileMaskPadding("shot_#\\render.##.exr"), 11);
}

TEST(GetFileFromMask, WritesTheFrameAsWideAsTheMask)
{
    EXPECT_EQ(fs::GetFileFromMask("a.####.exr", 7), "a.0007.exr");
    EXPECT_EQ(fs::GetFileFromMask("a.####.exr", 1234), "a.1234.exr");
    EXPECT_EQ(fs::GetFileFromMask("#", 0), "0");
}

TEST(GetFileFromMask, DoesNotCutALongerNumber)
{
    EXPECT_EQ(fs::GetFileFromMask("a.####.exr", 123456), "a.123456.exr");
    EXPECT_EQ(fs::GetFileFromMask("#", 2147483647), "2147483647");
}

// KEPT[padding-spans-hashes]
TEST(GetFileFromMask, ReplacesEverythingBetweenFirstAndLastHash)
{
    EXPECT_EQ(fs::GetFileFromMask("x#a#y", 7), "x007y");
    EXPECT_EQ(fs::GetFileFromMask("v#_f##", 12345), "v12345");
}

// KEPT[no-hash-no-file]
TEST(GetFileFromMask, IsEmptyForAMaskWithoutHashes)
{
    EXPECT_EQ(fs::GetFileFromMask("a.exr", 7), "");
    EXPECT_EQ(fs::GetFileFromMask("a.%4d.exr", 7), "");
    EXPECT_EQ(fs::GetFileFromMask("", 7), "");
}

// KEPT[padding-before-sign]
TEST(GetFileFromMask, PutsTheZerosBeforeTheSign)
{
    EXPECT_EQ(fs::GetFileFromMask("a.####.exr", -5), "a.00-5.exr");
    EXPECT_EQ(fs::GetFileFromMask("##", -5), "-5");
    EXPECT_EQ(fs::GetFileFromMask("#", -2147483647 - 1), "-2147483648");
}

TEST(GetFileFromMask, GivesBackTheFileOfItsMask)
{
    for (const char* path : {"c:\\jobs\\render.0042.exr", "a/b.7", "shot12_v3.0042.exr", "a000"})
    {
        int frame = kUntouched;
        const std::string mask = fs::GetSequenceMask(path, true, frame);
        EXPECT_EQ(fs::GetFileFromMask(mask, frame), path);
    }
}

TEST(StripeFileMask, RemovesEveryHashAndNothingElse)
{
    EXPECT_EQ(fs::StripeFileMask("a_##.exr"), "a_.exr");
    EXPECT_EQ(fs::StripeFileMask("render.####.exr"), "render..exr");
    EXPECT_EQ(fs::StripeFileMask("#a#b%4d"), "ab%4d");
    EXPECT_EQ(fs::StripeFileMask("###"), "");
    EXPECT_EQ(fs::StripeFileMask(""), "");
}

TEST(GetLayerFolderFromPath, NamesTheFolderOfTheLastComponent)
{
    EXPECT_EQ(fs::GetLayerFolderFromPath("jobs/shot/layer1/img.exr"), "layer1");
    EXPECT_EQ(fs::GetLayerFolderFromPath("jobs\\shot\\layer1\\img.exr"), "layer1");
}

TEST(GetLayerFolderFromPath, IsEmptyWithoutAFolder)
{
    EXPECT_EQ(fs::GetLayerFolderFromPath("img.exr"), "");
    EXPECT_EQ(fs::GetLayerFolderFromPath(""), "");
    EXPECT_EQ(fs::GetLayerFolderFromPath("/a"), "");
    EXPECT_EQ(fs::GetLayerFolderFromPath("\\a"), "");
    EXPECT_EQ(fs::GetLayerFolderFromPath("a//b"), "");
}

TEST(GetLayerFolderFromPath, TakesAFinalSeparatorAsTheEndOfTheLastFolder)
{
    EXPECT_EQ(fs::GetLayerFolderFromPath("jobs/shot/layer1/"), "shot");
    EXPECT_EQ(fs::GetLayerFolderFromPath("jobs\\shot\\layer1\\"), "shot");
    EXPECT_EQ(fs::GetLayerFolderFromPath("jobs/"), "");
}

// KEPT[slash-beats-backslash]
TEST(GetLayerFolderFromPath, SplitsAtBackslashesOnlyWhenSlashesDoNotSplit)
{
    EXPECT_EQ(fs::GetLayerFolderFromPath("a\\b/c\\d"), "a\\b");
    EXPECT_EQ(fs::GetLayerFolderFromPath("a\\b/"), "a");
    EXPECT_EQ(fs::GetLayerFolderFromPath("a\\b\\c/"), "b");
}
