#include <chrono>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"
#include "tests/support/deadline.h"

namespace text = KFramework::KStringHelper;

namespace
{
/// The rule word by word: search the result from a position, replace there, go on behind the inserted text.
std::string replaced_step_by_step(const std::string& source, const std::string& what, const std::string& with,
                                  bool case_sensitive)
{
    std::string result = source;
    if (source.empty() || what.empty())
        return result;
    std::size_t position = 0;
    for (;;)
    {
        const std::string searched = case_sensitive ? result : text::ToLower(result);
        position = searched.find(case_sensitive ? what : text::ToLower(what), position);
        if (position == std::string::npos)
            return result;
        result.replace(position, what.size(), with);
        position += with.size();
    }
}

std::string random_text(std::mt19937& random, std::size_t longest)
{
    std::string result(random() % (longest + 1), ' ');
    for (char& c : result)
        c = "aAbB"[random() % 4];
    return result;
}
} // namespace

TEST(Replace, ReplacesEveryOccurrence)
{
    EXPECT_EQ(text::Replace("a.b.c", ".", "::", true), "a::b::c");
    EXPECT_EQ(text::Replace("abcabc", "bc", "", true), "aa");
    EXPECT_EQ(text::Replace("abc", "abc", "x", true), "x");
    EXPECT_EQ(text::Replace("abc", "abcd", "x", true), "abc");
    EXPECT_EQ(text::Replace("aaaa", "aa", "b", true), "bb");
    EXPECT_EQ(text::Replace("aaa", "aa", "b", true), "ba");
}

TEST(Replace, HeedsCaseOnlyWhenAsked)
{
    EXPECT_EQ(text::Replace("aXbx", "x", "y", false), "ayby");
    EXPECT_EQ(text::Replace("aXbx", "x", "y", true), "aXby");
    EXPECT_EQ(text::Replace("Hello HELLO hello", "hELLo", "Bye", false), "Bye Bye Bye");
    EXPECT_EQ(text::Replace("KeepMyCase", "X", "y", false), "KeepMyCase");
    EXPECT_EQ(text::Replace("\xC4x\xE4", "\xE4", "a", false), "\xC4xa"); // letters of the C locale only
}

TEST(Replace, NeverSearchesInsertedText)
{
    EXPECT_EQ(text::Replace("aaa", "a", "aa", true), "aaaaaa");
    EXPECT_EQ(text::Replace("aaa", "A", "aa", false), "aaaaaa");
    EXPECT_EQ(text::Replace("abab", "ab", "a", true), "aa");
    EXPECT_EQ(text::Replace("aab", "ab", "b", true), "ab");
}

TEST(Replace, CopiesTheSourceWhenThereIsNothingToFind)
{
    EXPECT_EQ(text::Replace("abc", "", "x", true), "abc");
    EXPECT_EQ(text::Replace("abc", "", "x", false), "abc");
    EXPECT_EQ(text::Replace("", "a", "x", true), "");
    EXPECT_EQ(text::Replace("", "", "x", true), "");
}

TEST(Replace, TakesNulBytesAsAnyOthers)
{
    EXPECT_EQ(text::Replace(std::string("a\0b\0", 4), std::string(1, '\0'), "-", true), "a-b-");
}

TEST(Replace, GivesWhatTheRuleGivesStepByStep)
{
    std::mt19937 random(20260102);
    for (int round = 0; round < 20000; ++round)
    {
        const std::string source = random_text(random, 12);
        const std::string what = random_text(random, 4);
        const std::string with = random_text(random, 3);
        for (const bool case_sensitive : {false, true})
            ASSERT_EQ(text::Replace(source, what, with, case_sensitive),
                      replaced_step_by_step(source, what, with, case_sensitive))
                << source << " / " << what << " / " << with << " / " << case_sensitive;
    }
}

TEST(Replace, IsLinearForManyOccurrencesAndForNearMisses)
{
    const std::size_t size = 2'000'000;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(text::Replace(std::string(size, 'a'), "A", "bc", false).size(), 2 * size);
    EXPECT_EQ(text::Replace(std::string(size, 'a'), std::string(size / 2, 'a') + 'b', "", true).size(), size);
    EXPECT_LT(std::chrono::steady_clock::now() - start, kf::test::kDeadline);
}

TEST(ConformToOS, TurnsEverySlash)
{
    EXPECT_EQ(text::ConformToOS("//host/share\\a/b.txt"), "\\\\host\\share\\a\\b.txt");
    EXPECT_EQ(text::ConformToOS("plain"), "plain");
    EXPECT_EQ(text::ConformToOS(""), "");
}
