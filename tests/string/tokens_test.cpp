#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;
using words = std::vector<std::string>;

TEST(TokenizeString, KeepsEmptyTokensBetweenDelimitersButNotAtTheEnd)
{
    EXPECT_EQ(text::TokenizeString("a,,b", ","), (words{"a", "", "b"}));
    EXPECT_EQ(text::TokenizeString("a,b,", ","), (words{"a", "b"}));
    EXPECT_EQ(text::TokenizeString(",a", ","), (words{"", "a"}));
    EXPECT_EQ(text::TokenizeString("abc", ","), (words{"abc"}));
    EXPECT_EQ(text::TokenizeString("", ","), words{});
}

// KEPT[token-step]
TEST(TokenizeString, StepsOverAsManyBytesAsTheSetHas)
{
    EXPECT_EQ(text::TokenizeString("a, b", ", "), (words{"a", "b"}));
    EXPECT_EQ(text::TokenizeString("a,bc", ", "), (words{"a", "c"}));
    EXPECT_EQ(text::TokenizeString("a b,c", ", "), (words{"a", ""}));
    EXPECT_EQ(text::TokenizeString("a;xxb", ";,."), (words{"a", "b"}));
}

// KEPT[token-step]
TEST(TokenizeString, EndsWhenTheStepPassesTheEnd)
{
    EXPECT_EQ(text::TokenizeString("a,", ", "), (words{"a"}));
    EXPECT_EQ(text::TokenizeString("a,b", ", "), (words{"a"}));
    EXPECT_EQ(text::TokenizeString(",", ",;:"), (words{""}));
}

TEST(TokenizeString, GivesTheWholeTextForAnEmptySet)
{
    EXPECT_EQ(text::TokenizeString("a,b", ""), (words{"a,b"}));
    EXPECT_EQ(text::TokenizeString("", ""), words{});
}

TEST(TokenizeString, TakesNulAndHighBytesAsDelimiters)
{
    EXPECT_EQ(text::TokenizeString(std::string("a\0b", 3), std::string(1, '\0')), (words{"a", "b"}));
    EXPECT_EQ(text::TokenizeString("a\xE4"
                                   "b",
                                   "\xE4"),
              (words{"a", "b"}));
}

TEST(TokenizeString, ReservesRoomForAHundredTokensOrAllOfThem)
{
    EXPECT_GE(text::TokenizeString("", ",").capacity(), 100u);
    EXPECT_GE(text::TokenizeString("a,b", ",").capacity(), 100u);
    const words many = text::TokenizeString(std::string(1000, ','), ",");
    EXPECT_EQ(many.size(), 1000u);
    EXPECT_LE(many.capacity(), 1001u);
}

TEST(TokenizeStringNoStripe, KeepsTheLastTokenEvenWhenEmpty)
{
    EXPECT_EQ(text::TokenizeStringNoStripe("a,b,", ","), (words{"a", "b", ""}));
    EXPECT_EQ(text::TokenizeStringNoStripe("a,,b", ","), (words{"a", "", "b"}));
    EXPECT_EQ(text::TokenizeStringNoStripe("", ","), (words{""}));
    EXPECT_EQ(text::TokenizeStringNoStripe("abc", ""), (words{"abc"}));
}

// KEPT[token-step]
TEST(TokenizeStringNoStripe, StepsLikeTokenizeStringAndAddsAnEmptyTokenBeyondTheEnd)
{
    EXPECT_EQ(text::TokenizeStringNoStripe("a,bc", ", "), (words{"a", "c"}));
    EXPECT_EQ(text::TokenizeStringNoStripe("a,", ", "), (words{"a", ""}));
    EXPECT_EQ(text::TokenizeStringNoStripe("a,b", ", "), (words{"a", ""}));
}

TEST(TokenizeStringWithEscape, KeepsAnEscapedSeparatorAndItsBackslash)
{
    EXPECT_EQ(text::TokenizeStringWithEscape("a\\,b,c", ','), (words{"a\\,b", "c"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("a\\\\,b", ','), (words{"a\\\\", "b"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("a\\xb,c", ','), (words{"a\\xb", "c"}));
}

TEST(TokenizeStringWithEscape, KeepsEmptyTokensBetweenSeparatorsButNotAtTheEnd)
{
    EXPECT_EQ(text::TokenizeStringWithEscape("a,,b", ','), (words{"a", "", "b"}));
    EXPECT_EQ(text::TokenizeStringWithEscape(",a", ','), (words{"", "a"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("a,", ','), (words{"a"}));
    EXPECT_EQ(text::TokenizeStringWithEscape(",", ','), (words{""}));
}

TEST(TokenizeStringWithEscape, GivesTheWholeTextWhenNothingCuts)
{
    EXPECT_EQ(text::TokenizeStringWithEscape("", ','), (words{""}));
    EXPECT_EQ(text::TokenizeStringWithEscape("abc", ','), (words{"abc"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("\\,", ','), (words{"\\,"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("a\\,", ','), (words{"a\\,"}));
}

// KEPT[escaped-last-piece]
TEST(TokenizeStringWithEscape, DropsTheLastPieceWhenItEndsInAnEscapedSeparator)
{
    EXPECT_EQ(text::TokenizeStringWithEscape("a,b\\,", ','), (words{"a"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("a,b,c\\,", ','), (words{"a", "b"}));
}

TEST(TokenizeStringWithEscape, CutsAtABackslashThatIsTheSeparator)
{
    EXPECT_EQ(text::TokenizeStringWithEscape("a\\b", '\\'), (words{"a", "b"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("a\\\\b", '\\'), (words{"a", "\\b"}));
    EXPECT_EQ(text::TokenizeStringWithEscape("a\\\\", '\\'), (words{"a"}));
}
