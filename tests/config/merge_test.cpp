#include "KFramework/config/merge.h"

#include <chrono>
#include <string>

#include <gtest/gtest.h>

#include "tests/config/literal_edit.h"
#include "tests/config/random_settings.h"

using kf::config::replace_keys;

namespace
{
using entries = std::map<std::string, std::string>;

std::string merged(std::string text, const entries& settings)
{
    std::string literal = text;
    kf::test::literal_replace_keys(literal, settings);
    replace_keys(text, settings);
    EXPECT_EQ(text, literal);
    return text;
}

std::string shown(const std::string& text, const entries& settings)
{
    std::string all = "text:\n" + text + "|\nentries:";
    for (const auto& [name, value] : settings)
        all += "\n" + name + " -> " + value + "|";
    return all;
}

void compare_at_random(bool ordinary, unsigned seed, int count)
{
    kf::test::random_settings random(seed);
    for (int i = 0; i < count; ++i)
    {
        const std::string text = random.text();
        const entries settings = random.entries(ordinary);
        std::string literal = text;
        kf::test::literal_replace_keys(literal, settings);
        std::string edited = text;
        replace_keys(edited, settings);
        ASSERT_EQ(edited, literal) << shown(text, settings);
    }
}

/// @param offset  of the values.
entries many_entries(int count, int offset)
{
    entries all;
    for (int i = 0; i < count; ++i)
        all["section" + std::to_string(i % 100) + "#key" + std::to_string(i)] = std::to_string(i + offset);
    return all;
}
} // namespace

TEST(ReplaceKeys, ReplacesAndAddsInOnePassWhatReplaceKeyWould)
{
    EXPECT_EQ(merged("[a]\nk = 1\n\n[b]\nl = 2\n", {{"a#k", "3"}, {"a#n", "4"}, {"b#l", "5"}, {"c#m", "6"}}),
              "[a]\nk = 3\nn = 4\n\n[b]\nl = 5\n\n[c]\n\nm = 6\n");
}

TEST(ReplaceKeys, LeavesOutEntriesWithoutASection)
{
    EXPECT_EQ(merged("x\n", {{"a", "1"}, {"b", "2"}}), "x\n");
}

TEST(ReplaceKeys, ReplacesEveryLineOfAKeyAlsoAroundComments)
{
    EXPECT_EQ(merged("[a]\nk = 1\n# k = 2\n K=3\nk\n\n", {{"a#k", "4"}}),
              "[a]\nk = 4\n# k = 2\nk = 4\nk = 4\n\n");
}

TEST(ReplaceKeys, GluesTheFirstNewKeyToTheLineBeforeTheNextHeader)
{
    EXPECT_EQ(merged("[a]\nx = 1\n[b]\n", {{"a#k", "2"}, {"a#l", "3"}}), "[a]\nx = 1k = 2\nl = 3\n\n[b]\n");
    EXPECT_EQ(merged("[a]\n[b]\n", {{"a#k", "2"}, {"a#l", "3"}}), "[a]k = 2\nl = 3\n\n[b]\n");
    EXPECT_EQ(merged("[a]\nx = 1", {{"a#k", "2"}, {"a#l", "3"}}), "[a]\nx = 1k = 2\nl = 3\n");
}

TEST(ReplaceKeys, SeesAGluedLineAsTheLaterKeysDo)
{
    EXPECT_EQ(merged("[a]\nx\n[b]\n", {{"a#k", "2"}, {"a#xk", "3"}}), "[a]\nxk = 3\n\n[b]\n");
    EXPECT_EQ(merged("[a]\nx = 1\n[b]\n", {{"a#k", "2"}, {"a#x", "3"}}), "[a]\nx = 3\n\n[b]\n");
    EXPECT_EQ(merged("[a]\nx\n[b]\n", {{"a#k", "2"}, {"a#x", "3"}}), "[a]\nxk = 2\nx = 3\n\n[b]\n");
}

TEST(ReplaceKeys, TakesAnUnendedHeaderForOneOnceALineEndingFollows)
{
    EXPECT_EQ(merged("[a]\n[b]", {{"a#k", "1"}, {"b#l", "2"}, {"c#m", "3"}}),
              "[a]\n[b]k = 1\nl = 2\n\n[c]\n\nm = 3\n");
    EXPECT_EQ(merged("[a]\n[b]", {{"a#k", "1"}, {"a#l", "2"}}), "[a]l = 2\n\n[b]k = 1\n");
    EXPECT_EQ(merged("[a]\nz = 0\n[a]", {{"a#k", "1"}, {"a#z", "2"}}), "[a]\nz = 0\n[a]k = 1\nz = 2\n");
    EXPECT_EQ(merged("[b]", {{"a#k", "1"}, {"b#l", "2"}}), "[b]l = 2\n\n[a]\n\nk = 1\n");
}

TEST(ReplaceKeys, TakesNewLinesInValuesForLines)
{
    EXPECT_EQ(merged("", {{"a#k", "1\n[b]"}, {"b#l", "2"}, {"c#m", "3"}}),
              "\n[a]\n\nk = 1\n[b]\nl = 2\n\n[c]\n\nm = 3\n");
}

TEST(ReplaceKeys, IsTheLiteralAlgorithmForRandomTextsAndOrdinaryEntries)
{
    compare_at_random(true, 1, kf::test::random_texts(20'000));
}

TEST(ReplaceKeys, IsTheLiteralAlgorithmForRandomTextsAndAnyEntries)
{
    compare_at_random(false, 2, kf::test::random_texts(20'000));
}

TEST(ReplaceKeys, FindsNoSectionInATextThatIsTooLong)
{
    const std::string text = "[a]\nk = 1\n"; // 10 bytes
    const entries settings{{"a#k", "2"}, {"a#l", "3"}};
    std::string edited = text;
    replace_keys(edited, settings, 9);
    EXPECT_EQ(edited, text + "\n[a]\n\nk = 2\n\n[a]\n\nl = 3\n");

    // Just long enough for the first key, which makes it too long for the second.
    edited = text;
    replace_keys(edited, {{"a#k", "22"}, {"a#l", "3"}}, 10);
    EXPECT_EQ(edited, "[a]\nk = 22\n\n[a]\n\nl = 3\n");
}

// Quadratic work on these would meet the program's time limit.
TEST(ReplaceKeys, TakesAHundredThousandKeys)
{
    const auto start = std::chrono::steady_clock::now();
    std::string text;
    replace_keys(text, many_entries(100'000, 0));
    const std::string first = text;
    replace_keys(text, many_entries(100'000, 0));
    EXPECT_TRUE(text == first);
    replace_keys(text, many_entries(100'000, 1));
    EXPECT_NE(text.find("\nkey99999 = 100000\n"), std::string::npos);
    const std::chrono::duration<double> taken = std::chrono::steady_clock::now() - start;
    std::printf("three merges of 100,000 keys: %.2f s\n", taken.count());
}
