#include "KFramework/config/reader.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "tests/config/literal_reader.h"
#include "tests/config/random_settings.h"

using kf::config::kPieceBytes;
using kf::config::reader;

namespace
{
using entries = std::map<std::string, std::string>;

entries read(std::string_view text)
{
    entries all;
    reader one(all);
    EXPECT_TRUE(one.take(text));
    return all;
}

/// Reads in portions of the given sizes, over and over.
kf::test::literal_result read_in_portions(std::string_view text, const std::vector<std::size_t>& portions)
{
    kf::test::literal_result result;
    reader one(result.entries);
    for (std::size_t i = 0; !text.empty(); ++i)
    {
        const std::string portion(text.substr(0, portions[i % portions.size()]));
        if (!one.take(portion))
        {
            result.malformed_line = one.line();
            break;
        }
        text.remove_prefix(portion.size());
    }
    return result;
}

void compare(const std::string& text, const std::vector<std::size_t>& portions)
{
    kf::test::text_file file(text);
    const kf::test::literal_result expected = kf::test::literal_load(file);
    const kf::test::literal_result got = read_in_portions(text, portions);
    ASSERT_EQ(got.entries, expected.entries) << ::testing::PrintToString(text);
    ASSERT_EQ(got.malformed_line, expected.malformed_line) << ::testing::PrintToString(text);
}

std::string letters(std::size_t count)
{
    return std::string(count, 'x');
}
} // namespace

TEST(Reader, MakesLowerCaseNamesOfSectionAndKey)
{
    EXPECT_EQ(read("a = 1\n[Net]\nPort = 80\n"), (entries{{"_default_#a", "1"}, {"net#port", "80"}}));
    EXPECT_EQ(read("[ A b ] c\nK = V\n[]\nk=2\n"), (entries{{" a b #k", "V"}, {"#k", "2"}}));
}

// KEPT[config-trailing-blanks]
TEST(Reader, KeepsTheBlanksBehindAValueAndNoOthersAroundItsParts)
{
    EXPECT_EQ(read("  name  =  x y  \n"), (entries{{"_default_#name", "x y  "}}));
    EXPECT_EQ(read("name=\nother=   \n"), (entries{{"_default_#name", ""}, {"_default_#other", ""}}));
}

// KEPT[config-blanks]
TEST(Reader, TakesATabForNoBlank)
{
    EXPECT_EQ(read("\ta\t=\tb\n\t[s]\n\t# c = d\n"),
              (entries{{"_default_#\ta\t", "\tb"}, {"_default_#\t# c", "d"}}));
}

TEST(Reader, TakesFurtherEqualSignsForPartsOfTheValue)
{
    EXPECT_EQ(read("a = b = c\nd==\n"), (entries{{"_default_#a", "b = c"}, {"_default_#d", "="}}));
}

TEST(Reader, IgnoresCommentsEmptyLinesAndLinesThatBeginWithAnEqualSignOrHaveNone)
{
    EXPECT_EQ(read("# a = 1\n  # b = 1\n\n   \n= 1\n  = 1\nword\n"), entries{});
}

// KEPT[config-first-wins]
TEST(Reader, LetsTheFirstOfSeveralLinesOfAKeyWin)
{
    EXPECT_EQ(read("[a]\nk = 1\nK = 2\n[b]\n[A]\nk = 3\n"), (entries{{"a#k", "1"}}));
}

// KEPT[config-last-line]
TEST(Reader, DropsALastLineWithoutAnEnding)
{
    EXPECT_EQ(read("a = 1\nb = 2"), (entries{{"_default_#a", "1"}}));
    EXPECT_EQ(read("a = 1\n[b"), (entries{{"_default_#a", "1"}}));
    EXPECT_EQ(read("a = 1"), entries{});
}

TEST(Reader, StopsAtAMalformedHeaderAndTellsItsLine)
{
    entries all;
    reader one(all);
    EXPECT_FALSE(one.take("a = 1\n\n[broken\nb = 2\n"));
    EXPECT_EQ(one.line(), 3);
    EXPECT_EQ(all, (entries{{"_default_#a", "1"}}));
}

// KEPT[config-long-line]
TEST(Reader, CutsLongLinesIntoPiecesThatEachLoseTheirLastCharacter)
{
    const std::string start = "a = ";
    // 2045 characters and their line feed fill one piece.
    const std::string whole = letters(kPieceBytes - 1 - start.size());
    EXPECT_EQ(read(start + whole + "\n"), (entries{{"_default_#a", whole}}));
    // One more, and the line feed is a piece of its own.
    EXPECT_EQ(read(start + whole + "y\n"), (entries{{"_default_#a", whole}}));
    EXPECT_EQ(read(start + whole + "yb = 2\nc = 3\n"),
              (entries{{"_default_#a", whole}, {"_default_#b", "2"}, {"_default_#c", "3"}}));
}

TEST(Reader, ReadsALineOfFiveThousandCharactersAsThreeLines)
{
    entries all;
    reader one(all);
    EXPECT_TRUE(one.take("a = " + letters(5000) + "\nb = 1\n"));
    EXPECT_EQ(one.line(), 4);
    EXPECT_EQ(all, (entries{{"_default_#a", letters(kPieceBytes - 5)}, {"_default_#b", "1"}}));
}

TEST(Reader, ReadsAFullPieceAtTheEndEvenWithoutALineEnding)
{
    const std::string value = letters(kPieceBytes - 4);
    EXPECT_EQ(read("a = " + value), (entries{{"_default_#a", value.substr(1)}}));
}

TEST(Reader, EndsALineAtItsFirstNulAndDropsTheCharacterBefore)
{
    EXPECT_EQ(read(std::string("a = 12\0 34\nb = 5\n", 17)),
              (entries{{"_default_#a", "1"}, {"_default_#b", "5"}}));
    EXPECT_EQ(read(std::string("\0a = 1\n \0b = 1\nx\0\nc = 2\n", 24)), (entries{{"_default_#c", "2"}}));
}

TEST(Reader, DropsOneCarriageReturnThenOneLineFeedThenBlanksThenTheLastCharacter)
{
    EXPECT_EQ(
        read("\ra = 1\n\r  b = 2\n\r\rc = 3\n  \rd = 4\n"),
        (entries{
            {"_default_#a", "1"}, {"_default_#b", "2"}, {"_default_#\rc", "3"}, {"_default_#\rd", "4"}}));
    EXPECT_EQ(read("\r\n\n\r   \n"), entries{});
}

TEST(Reader, IsTheLiteralAlgorithmForRandomLines)
{
    std::mt19937 random(1);
    const std::string_view alphabet("ab=# []\r\n\0\t", 11);
    for (int i = kf::test::random_texts(20'000); i > 0; --i)
    {
        std::string text(random() % 60, ' ');
        for (char& c : text)
            c = alphabet[random() % alphabet.size()];
        ASSERT_NO_FATAL_FAILURE(compare(text, {1 + random() % 80, 1 + random() % 9}));
    }
}

TEST(Reader, IsTheLiteralAlgorithmForRandomLongLines)
{
    std::mt19937 random(2);
    const std::string_view marks("a=# []\r\n\0", 9);
    for (int i = kf::test::random_texts(20'000) / 20; i > 0; --i)
    {
        std::string text(random() % 10'000, 'x');
        for (std::size_t count = random() % 12; count > 0 && !text.empty(); --count)
            text[random() % text.size()] = marks[random() % marks.size()];
        // Marks where pieces end, too.
        for (std::size_t at = kPieceBytes; at < text.size(); at += kPieceBytes)
            text[at - random() % 3] = marks[random() % marks.size()];
        ASSERT_NO_FATAL_FAILURE(compare(text, {1 + random() % 5000, 1 + random() % 3000}));
    }
}
