#include <random>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

using KFramework::KStringHelper::fixUtf8String;

/// U+FFFD
#define MARK "\xEF\xBF\xBD"

TEST(fixUtf8String, PassesValidTextUnchanged)
{
    const std::string valid = "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80\x7F" MARK;
    EXPECT_EQ(fixUtf8String(valid), valid);
    EXPECT_EQ(fixUtf8String(""), "");
    EXPECT_EQ(fixUtf8String(std::string("a\0b", 3)), std::string("a\0b", 3));
    EXPECT_EQ(fixUtf8String("\xF4\x8F\xBF\xBF"), "\xF4\x8F\xBF\xBF");
}

TEST(fixUtf8String, PutsOneMarkForEachBrokenSequence)
{
    EXPECT_EQ(fixUtf8String("a\xFF"
                            "b"),
              "a" MARK "b");
    EXPECT_EQ(fixUtf8String("\xFF\xFE"), MARK MARK);
    EXPECT_EQ(fixUtf8String("a\x80z"), "a" MARK "z");
    EXPECT_EQ(fixUtf8String("\x80\x80"), MARK MARK);
    EXPECT_EQ(fixUtf8String("\xC3z"), MARK "z");
    EXPECT_EQ(fixUtf8String("\xE2\x82z"), MARK "z");
    EXPECT_EQ(fixUtf8String("\xC0\x80z"), MARK "z");         // overlong
    EXPECT_EQ(fixUtf8String("\xE0\x80\xAFz"), MARK "z");     // overlong
    EXPECT_EQ(fixUtf8String("\xED\xA0\x80z"), MARK "z");     // half of a surrogate pair
    EXPECT_EQ(fixUtf8String("\xF4\x90\x80\x80z"), MARK "z"); // beyond the last character
}

TEST(fixUtf8String, PutsOneMarkForASequenceThatTheEndCuts)
{
    EXPECT_EQ(fixUtf8String("a\xC3"), "a" MARK);
    EXPECT_EQ(fixUtf8String("a\xE2\x82"), "a" MARK);
    EXPECT_EQ(fixUtf8String("a\xF0\x9F\x98"), "a" MARK);
}

TEST(fixUtf8String, KeepsValidTextAroundTheMarks)
{
    EXPECT_EQ(fixUtf8String("\xC3\xA4\xFF\xE2\x82\xAC"), "\xC3\xA4" MARK "\xE2\x82\xAC");
}

TEST(fixUtf8String, ChangesNothingTheSecondTime)
{
    std::mt19937 random(20260103);
    for (int round = 0; round < 20000; ++round)
    {
        std::string bytes(random() % 12, '\0');
        for (char& c : bytes)
            c = "a\x80\xBF\xC3\xE2\x82\xAC\xF0\x9F\xED\xA0\xFF"[random() % 12];
        const std::string fixed = fixUtf8String(bytes);
        ASSERT_EQ(fixUtf8String(fixed), fixed);
    }
}
