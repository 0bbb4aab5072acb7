#include <string>

#include <gtest/gtest.h>

#include "KFramework/config.h"
#include "tests/config/literal_edit.h"
#include "tests/config/random_settings.h"

using KFramework::ConfigReplaceKey;
using KFramework::GetConfigValuesectbound;

namespace
{
/// The text between the bounds; "none" when there is no such section, "end before begin" when they are crossed.
std::string body(const std::string& text, const std::string& section)
{
    long begin = 0;
    long end = 0;
    GetConfigValuesectbound(text, section, begin, end);
    if (begin == -1 && end == -1)
        return "none";
    if (end < begin)
        return "end before begin";
    return text.substr(static_cast<std::size_t>(begin), static_cast<std::size_t>(end - begin));
}

std::string replaced(std::string text, const std::string& section, const std::string& key,
                     const std::string& value)
{
    ConfigReplaceKey(text, section, key, value);
    return text;
}
} // namespace

TEST(GetConfigValuesectbound, GivesTheOffsetsBehindTheHeaderAndOfTheLineFeedBeforeTheNext)
{
    const std::string text = "x = 1\n[a]\nk = 1\n\n[b]\nl = 2\n";
    long begin = 0;
    long end = 0;
    GetConfigValuesectbound(text, "a", begin, end);
    EXPECT_EQ(begin, 10);
    EXPECT_EQ(end, 16);
    GetConfigValuesectbound(text, "b", begin, end);
    EXPECT_EQ(begin, 21);
    EXPECT_EQ(end, 27);
    GetConfigValuesectbound(text, "c", begin, end);
    EXPECT_EQ(begin, -1);
    EXPECT_EQ(end, -1);
}

TEST(GetConfigValuesectbound, FindsHeadersInAnyCaseBehindBlanksAndBeforeOtherText)
{
    EXPECT_EQ(body("  [Net] of # all\nk = 1\n", "nET"), "k = 1\n");
    EXPECT_EQ(body("[net2]\nk = 1\n", "net"), "none");
    EXPECT_EQ(body("[ net]\nk = 1\n", "net"), "none");
    EXPECT_EQ(body("[]\nk = 1\n", ""), "k = 1\n");
}

// KEPT[config-blanks]
TEST(GetConfigValuesectbound, TakesATabForNoBlank)
{
    EXPECT_EQ(body("\t[a]\nk = 1\n", "a"), "none");
    EXPECT_EQ(body("[a]\nk = 1\n\t[b]\nl = 2\n", "a"), "k = 1\n\t[b]\nl = 2\n");
}

// KEPT[config-last-header]
TEST(GetConfigValuesectbound, TakesTheLastOfSeveralEqualHeaders)
{
    EXPECT_EQ(body("[a]\nk = 1\n[A]\nk = 2\n\n[b]\n[a]\nk = 3\n", "a"), "k = 2\n");
}

TEST(GetConfigValuesectbound, EndsASectionAtAnyBracketEvenWithoutASecondOne)
{
    EXPECT_EQ(body("[a]\nk = 1\n  [b\nk = 2\n", "a"), "k = 1");
}

TEST(GetConfigValuesectbound, DoesNotExamineALastLineWithoutAnEnding)
{
    EXPECT_EQ(body("[a]\nk = 1\n[b]", "a"), "k = 1\n[b]");
    EXPECT_EQ(body("[a]\nk = 1\n[b]", "b"), "none");
    EXPECT_EQ(body("[a]", "a"), "none");
    EXPECT_EQ(body("", "a"), "none");
}

TEST(GetConfigValuesectbound, CrossesTheBoundsWhenTheNextHeaderFollowsAtOnce)
{
    const std::string text = "[a]\n[b]\n";
    long begin = 0;
    long end = 0;
    GetConfigValuesectbound(text, "a", begin, end);
    EXPECT_EQ(begin, 4);
    EXPECT_EQ(end, 3);
}

TEST(ConfigReplaceKey, ReplacesTheLineAndNothingElse)
{
    EXPECT_EQ(replaced("k = 0\n[Net]\n# k = 1\n  PORT=80  # standard\nx = 1\n\n[b]\nport = 5\n", "net",
                       "port", "81"),
              "k = 0\n[Net]\n# k = 1\nport = 81\nx = 1\n\n[b]\nport = 5\n");
}

TEST(ConfigReplaceKey, WritesSectionAndKeyAsTheyAreGiven)
{
    EXPECT_EQ(replaced("[net]\nport = 80\n", "NET", "Port", "A"), "[net]\nPort = A\n");
    EXPECT_EQ(replaced("", "NET", "Port", "A"), "\n[NET]\n\nPort = A\n");
}

// KEPT[config-all-lines]
TEST(ConfigReplaceKey, ReplacesEveryLineOfTheKeyAlsoAroundAComment)
{
    EXPECT_EQ(replaced("[a]\nk = 1\n# between\nK=2\n", "a", "k", "3"), "[a]\nk = 3\n# between\nk = 3\n");
}

// KEPT[config-bare-name]
TEST(ConfigReplaceKey, TakesALineWithoutAnEqualSignForTheNameOfAKey)
{
    EXPECT_EQ(replaced("[a]\n port \nport number\n", "a", "port", "80"), "[a]\nport = 80\nport number\n");
}

TEST(ConfigReplaceKey, TakesEmptyLinesForLinesOfAnEmptyKey)
{
    EXPECT_EQ(replaced("[a]\nk = 1\n\n  \n= 2\nl\n", "a", "", "3"), "[a]\nk = 1\n = 3\n = 3\n = 3\nl\n");
}

TEST(ConfigReplaceKey, ReplacesALastLineThatHasNoEnding)
{
    EXPECT_EQ(replaced("[a]\nk = 1", "a", "k", "2"), "[a]\nk = 2");
}

TEST(ConfigReplaceKey, AddsANewKeyBeforeTheEmptyLineBeforeTheNextHeader)
{
    EXPECT_EQ(replaced("[a]\nk = 1\n\n[b]\n", "a", "l", "2"), "[a]\nk = 1\nl = 2\n\n[b]\n");
    EXPECT_EQ(replaced("[a]\nk = 1\n", "a", "l", "2"), "[a]\nk = 1\nl = 2\n");
}

// KEPT[config-glued]
TEST(ConfigReplaceKey, GluesANewKeyToTheLineBeforeTheNextHeader)
{
    EXPECT_EQ(replaced("[a]\nk = 1\n[b]\n", "a", "l", "2"), "[a]\nk = 1l = 2\n\n[b]\n");
    EXPECT_EQ(replaced("[a]\n[b]\n", "a", "l", "2"), "[a]l = 2\n\n[b]\n");
    EXPECT_EQ(replaced("[a]\nk = 1", "a", "l", "2"), "[a]\nk = 1l = 2\n");
}

TEST(ConfigReplaceKey, AddsAnAbsentSectionAtTheEndWithAnEmptyLineBehindItsHeader)
{
    EXPECT_EQ(replaced("[a]\nk = 1\n", "b", "l", "2"), "[a]\nk = 1\n\n[b]\n\nl = 2\n");
    EXPECT_EQ(replaced("[a]", "b", "l", "2"), "[a]\n[b]\n\nl = 2\n");
}

TEST(ConfigReplaceKey, ComparesTheWholeNameWithoutTheBlanksAroundIt)
{
    EXPECT_EQ(replaced("[a]\nk\t= 1\nk 2 = 3\n", "a", "k", "4"), "[a]\nk\t= 1\nk 2 = 3\nk = 4\n");
    // The key itself is not trimmed, so this one is never found again.
    EXPECT_EQ(replaced("[a]\nk = 1\n", "a", " k", "4"), "[a]\nk = 1\n k = 4\n");
}

TEST(ConfigReplaceKey, MayTakeItsArgumentsFromTheText)
{
    std::string text = "[a]\nk = 1\n";
    ConfigReplaceKey(text, "a", "k", text);
    EXPECT_EQ(text, "[a]\nk = [a]\nk = 1\n\n");
    text = "b";
    ConfigReplaceKey(text, text, text, text);
    EXPECT_EQ(text, "b\n[b]\n\nb = b\n");
}

TEST(ConfigReplaceKey, IsTheLiteralAlgorithmForRandomTexts)
{
    kf::test::random_settings random(3);
    for (int i = kf::test::random_texts(5000); i > 0; --i)
    {
        const std::string text = random.text();
        std::string literal = text;
        std::string edited = text;
        for (const auto& [name, value] : random.entries(false))
        {
            const std::string section = name.substr(0, name.find('#'));
            const std::string key = name.substr(name.find('#') + 1);
            long expected[2]{};
            long bounds[2]{};
            kf::test::literal_bounds(literal, section, expected[0], expected[1]);
            GetConfigValuesectbound(edited, section, bounds[0], bounds[1]);
            ASSERT_EQ(bounds[0], expected[0]) << edited << "|" << section;
            ASSERT_EQ(bounds[1], expected[1]) << edited << "|" << section;
            kf::test::literal_replace_key(literal, section, key, value);
            ConfigReplaceKey(edited, section, key, value);
            ASSERT_EQ(edited, literal) << text << "|" << name << "|" << value;
        }
    }
}
