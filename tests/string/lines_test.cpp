#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

using KFramework::KStringHelper::GetLine;

TEST(GetLine, CountsFromOne)
{
    EXPECT_EQ(GetLine("a\nb", 1), "a");
    EXPECT_EQ(GetLine("a\nb", 2), "b");
    EXPECT_EQ(GetLine("a\n\nc", 2), "");
    EXPECT_EQ(GetLine("a\n\nc", 3), "c");
}

TEST(GetLine, IsEmptyOutsideTheText)
{
    EXPECT_EQ(GetLine("a\nb\n", 3), "");
    EXPECT_EQ(GetLine("a\nb", 3), "");
    EXPECT_EQ(GetLine("a\nb", INT_MAX), "");
    EXPECT_EQ(GetLine("a\nb", 0), "");
    EXPECT_EQ(GetLine("a\nb", -1), "");
    EXPECT_EQ(GetLine("a\nb", INT_MIN), "");
    EXPECT_EQ(GetLine("", 1), "");
    EXPECT_EQ(GetLine("\n", 1), "");
    EXPECT_EQ(GetLine("\n", 2), "");
}

TEST(GetLine, EndsLinesAtTheLineFeedAlone)
{
    EXPECT_EQ(GetLine("a\r\nb\r\n", 1), "a\r");
    EXPECT_EQ(GetLine("a\r\nb\r\n", 2), "b\r");
    EXPECT_EQ(GetLine("a\rb\nc", 1), "a\rb");
}

TEST(GetLine, TakesAStringUpToItsFirstNul)
{
    EXPECT_EQ(GetLine(std::string("first\nsecond"), 2), "second");
    EXPECT_EQ(GetLine(std::string("ab\0cd\nef", 8), 1), "ab");
    EXPECT_EQ(GetLine(std::string("ab\0cd\nef", 8), 2), "");
}

TEST(GetLine, TakesNullForAnEmptyText)
{
    EXPECT_EQ(GetLine(static_cast<const char*>(nullptr), 1), "");
}
