#include <climits>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace
{
std::string trimmed_left(std::string text, bool also_tabs)
{
    KFramework::KStringHelper::TrimLeft(text, also_tabs);
    return text;
}

std::string trimmed_right(std::string text, bool also_tabs)
{
    KFramework::KStringHelper::TrimRight(text, also_tabs);
    return text;
}

std::string without_line_ends(std::string text)
{
    KFramework::KStringHelper::TrimCR(text);
    return text;
}
} // namespace

TEST(TrimLeft, RemovesTheLeadingSpaces)
{
    for (const bool also_tabs : {false, true})
    {
        EXPECT_EQ(trimmed_left("  a b  ", also_tabs), "a b  ");
        EXPECT_EQ(trimmed_left("a", also_tabs), "a");
        EXPECT_EQ(trimmed_left("   ", also_tabs), "");
        EXPECT_EQ(trimmed_left("", also_tabs), "");
        EXPECT_EQ(trimmed_left("\n a", also_tabs), "\n a");
        EXPECT_EQ(trimmed_left("\xC2\xA0 a", also_tabs), "\xC2\xA0 a");
    }
}

TEST(TrimLeft, RemovesTabsOnlyWhenAsked)
{
    EXPECT_EQ(trimmed_left("\t\ta", true), "a");
    EXPECT_EQ(trimmed_left("\t\ta", false), "\t\ta");
    EXPECT_EQ(trimmed_left("  \ta", true), "a");
    EXPECT_EQ(trimmed_left("  \ta", false), "\ta");
    EXPECT_EQ(trimmed_left(" \t", true), "");
}

// KEPT[trim-order]
TEST(TrimLeft, RemovesSpacesOnceThenTabsOnce)
{
    EXPECT_EQ(trimmed_left("\t a", true), " a");
    EXPECT_EQ(trimmed_left(" \t \ta", true), " \ta");
    EXPECT_EQ(trimmed_left("\t ", true), " ");
}

TEST(TrimRight, RemovesTheTrailingSpaces)
{
    for (const bool also_tabs : {false, true})
    {
        EXPECT_EQ(trimmed_right("  a b  ", also_tabs), "  a b");
        EXPECT_EQ(trimmed_right("a", also_tabs), "a");
        EXPECT_EQ(trimmed_right("   ", also_tabs), "");
        EXPECT_EQ(trimmed_right("", also_tabs), "");
        EXPECT_EQ(trimmed_right("a \n", also_tabs), "a \n");
    }
}

TEST(TrimRight, RemovesTabsOnlyWhenAsked)
{
    EXPECT_EQ(trimmed_right("a\t\t", true), "a");
    EXPECT_EQ(trimmed_right("a\t\t", false), "a\t\t");
    EXPECT_EQ(trimmed_right("a\t  ", true), "a");
    EXPECT_EQ(trimmed_right("a\t  ", false), "a\t");
    EXPECT_EQ(trimmed_right("\t ", true), "");
}

// KEPT[trim-order]
TEST(TrimRight, RemovesSpacesOnceThenTabsOnce)
{
    EXPECT_EQ(trimmed_right("a \t", true), "a ");
    EXPECT_EQ(trimmed_right("a\t \t ", true), "a\t ");
    EXPECT_EQ(trimmed_right(" \t", true), " ");
}

// KEPT[trim-cr-everywhere]
TEST(TrimCR, RemovesLineEndsAndTabsEverywhere)
{
    EXPECT_EQ(without_line_ends("a\r\nb\tc"), "abc");
    EXPECT_EQ(without_line_ends("\n\n a \r\t"), " a ");
    EXPECT_EQ(without_line_ends("\r\n\t"), "");
    EXPECT_EQ(without_line_ends(""), "");
    EXPECT_EQ(without_line_ends("a\v\fb"), "a\v\fb");
    EXPECT_EQ(without_line_ends(std::string("a\0\nb", 4)), std::string("a\0b", 3));
}

TEST(TrimStringLength, CutsToTheFirstBytes)
{
    using KFramework::KStringHelper::TrimStringLength;
    EXPECT_EQ(TrimStringLength("abcdef", 3), "abc");
    EXPECT_EQ(TrimStringLength("abc", 3), "abc");
    EXPECT_EQ(TrimStringLength("abc", 4), "abc");
    EXPECT_EQ(TrimStringLength("abc", 0), "");
    EXPECT_EQ(TrimStringLength("", 0), "");
    EXPECT_EQ(TrimStringLength("abc", ULLONG_MAX), "abc");
    EXPECT_EQ(TrimStringLength("abc", 4294967297u), "abc");
    EXPECT_EQ(TrimStringLength("\xC3\xA4", 1), "\xC3"); // bytes, not characters
}
