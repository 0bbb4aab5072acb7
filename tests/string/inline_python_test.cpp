#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/string.h"

using KFramework::KStringHelper::TokenizeInlinePython;
using words = std::vector<std::string>;

TEST(TokenizeInlinePython, CutsBlocksFromLiteralText)
{
    EXPECT_EQ(TokenizeInlinePython("x<%y%>z"), (words{"x", "<%y%>", "z"}));
    EXPECT_EQ(TokenizeInlinePython("<%y%>"), (words{"<%y%>"}));
    EXPECT_EQ(TokenizeInlinePython("<%a%><%b%>"), (words{"<%a%>", "<%b%>"}));
    EXPECT_EQ(TokenizeInlinePython("<%%>"), (words{"<%%>"}));
    EXPECT_EQ(TokenizeInlinePython("plain"), (words{"plain"}));
    EXPECT_EQ(TokenizeInlinePython(""), words{});
    EXPECT_EQ(TokenizeInlinePython("a%>b"), (words{"a%>b"}));
    EXPECT_EQ(TokenizeInlinePython("<%a<%b%>c"), (words{"<%a<%b%>", "c"}));
}

// KEPT[inline-shared-percent]
TEST(TokenizeInlinePython, LetsOnePercentSignOpenAndClose)
{
    EXPECT_EQ(TokenizeInlinePython("<%>"), (words{"<%>"}));
    EXPECT_EQ(TokenizeInlinePython("a<%>b%>c"), (words{"a", "<%>", "b%>c"}));
}

// KEPT[inline-unclosed-twice]
TEST(TokenizeInlinePython, GivesTheTextBeforeAnOpenBlockTwice)
{
    EXPECT_EQ(TokenizeInlinePython("x<%y"), (words{"x", "x"}));
    EXPECT_EQ(TokenizeInlinePython("a<%b%>c<%d"), (words{"a", "<%b%>", "c", "c"}));
    EXPECT_EQ(TokenizeInlinePython("<%y"), words{});
    EXPECT_EQ(TokenizeInlinePython("a<%b%><%"), (words{"a", "<%b%>"}));
    EXPECT_EQ(TokenizeInlinePython("<%y%"), words{});
}
