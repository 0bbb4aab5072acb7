#include <random>
#include <string>
#include <string_view>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace
{
using namespace KFramework::KStringHelper;

/// The rule as it is stated: split, walk, join.
std::string walked(const std::string& path)
{
    std::vector<std::string> kept;
    for (const std::string& piece : TokenizeString(path, "/"))
    {
        if (piece == "..")
        {
            if (!kept.empty())
                kept.pop_back();
        }
        else if (piece != ".")
            kept.push_back(piece);
    }
    std::string joined;
    for (const std::string& piece : kept)
        joined += piece + '/';
    if (!path.ends_with('/') && !joined.empty())
        joined.pop_back();
    return joined;
}
} // namespace

TEST(WebSanityCheck, TakesAPieceAwayForEachTwoDots)
{
    EXPECT_EQ(WebSanityCheck("/a/../b/"), "/b/");
    EXPECT_EQ(WebSanityCheck("a/../../b"), "b");
    EXPECT_EQ(WebSanityCheck("../x"), "x");
    EXPECT_EQ(WebSanityCheck("../../.."), "");
    EXPECT_EQ(WebSanityCheck("a/b/../../c"), "c");
    EXPECT_EQ(WebSanityCheck("a/..b/...c/.d"), "a/..b/...c/.d");
}

TEST(WebSanityCheck, KeepsLeadingTrailingAndDoubledSlashes)
{
    EXPECT_EQ(WebSanityCheck(""), "");
    EXPECT_EQ(WebSanityCheck("/"), "/");
    EXPECT_EQ(WebSanityCheck("/x/./y"), "/x/y");
    EXPECT_EQ(WebSanityCheck("a//b"), "a//b");
    EXPECT_EQ(WebSanityCheck("a//../b"), "a/b") << "the empty piece is one that two dots take away";
    EXPECT_EQ(WebSanityCheck("a/"), "a/");
    EXPECT_EQ(WebSanityCheck("//x"), "//x");
    EXPECT_EQ(WebSanityCheck("./"), "");
    EXPECT_EQ(WebSanityCheck("/."), "");
}

// KEPT[web-path-loses-root]
TEST(WebSanityCheck, TakesTheEmptyPieceOfALeadingSlashAway)
{
    EXPECT_EQ(WebSanityCheck("/a/../../b/"), "b/");
    EXPECT_EQ(WebSanityCheck("/a/../../b"), "b");
    EXPECT_EQ(WebSanityCheck("/.."), "");
}

TEST(WebSanityCheck, KnowsOnlySlashes)
{
    EXPECT_EQ(WebSanityCheck("..\\..\\x"), "..\\..\\x");
    EXPECT_EQ(WebSanityCheck("%2E%2E/x"), "%2E%2E/x");
}

TEST(WebSanityCheck, GivesWhatTheStatedStepsGive)
{
    constexpr std::string_view bytes = "///...ab\\";
    std::mt19937 random(1);
    for (int round = 0; round < 20'000; ++round)
    {
        std::string path(random() % 20, '\0');
        for (char& c : path)
            c = random() % 64 == 0 ? static_cast<char>(random()) : bytes[random() % bytes.size()];
        ASSERT_EQ(WebSanityCheck(path), walked(path)) << path;
    }
}

TEST(WebSanityCheck, IsLinearForManyPiecesAndManyTwoDots)
{
    std::string path;
    for (int i = 0; i < 200'000; ++i)
        path += "ab/";
    const std::string down = path;
    for (int i = 0; i < 200'000; ++i)
        path += "../";
    EXPECT_EQ(WebSanityCheck(path), "");
    EXPECT_EQ(WebSanityCheck(path + down), down);
}
