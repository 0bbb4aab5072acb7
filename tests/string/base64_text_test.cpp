#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

using KFramework::KStringHelper::FromBase64;
using KFramework::KStringHelper::ToBase64;

TEST(ToBase64, EncodesAText)
{
    EXPECT_EQ(ToBase64(""), "");
    EXPECT_EQ(ToBase64("abc"), "YWJj");
    EXPECT_EQ(ToBase64("Gr\xC3\xBC\xC3\x9F"
                       "e"),
              "R3LDvMOfZQ==");
}

TEST(FromBase64, DecodesAText)
{
    EXPECT_EQ(FromBase64(""), "");
    EXPECT_EQ(FromBase64("YWJj"), "abc");
    EXPECT_EQ(FromBase64("R3LDvMOfZQ=="), "Gr\xC3\xBC\xC3\x9F"
                                          "e");
}

TEST(FromBase64, IsEmptyForADamagedText)
{
    for (const char* text : {"YWJ", "YW=j", "YWJj\n", " YWJj", "YWJj YWJj", "*"})
        EXPECT_EQ(FromBase64(text), "") << text;
}

// KEPT[encoders-end-at-nul]
TEST(ToBase64, EndsAtTheFirstNul)
{
    EXPECT_EQ(ToBase64(std::string("abc\0def", 7)), "YWJj");
    EXPECT_EQ(ToBase64(std::string("\0abc", 4)), "");
}

// KEPT[encoders-end-at-nul]
TEST(FromBase64, EndsAtTheFirstNulOfTheTextAndOfWhatItDecodes)
{
    EXPECT_EQ(FromBase64(std::string("YWJj\0YWJj", 9)), "abc");
    EXPECT_EQ(FromBase64("YQBi"), "a"); // a, NUL, b
    EXPECT_EQ(FromBase64("AGFi"), "");
}
