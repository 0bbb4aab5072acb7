/// Command lines to words, and the arrays that carry them.

#include "KFramework/process.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using KFramework::KProcesses::CreateArgumentsArray;
using KFramework::KProcesses::DestroyArray;

using words = std::vector<std::string>;

words split(const char* line)
{
    char** const array = CreateArgumentsArray(line);
    words result;
    for (char** word = array; *word != nullptr; ++word)
        result.emplace_back(*word);
    DestroyArray(array);
    return result;
}
} // namespace

TEST(CreateArgumentsArray, SplitsAtBlanksAndTabs)
{
    EXPECT_EQ(split("a b\tc"), (words{"a", "b", "c"}));
}

TEST(CreateArgumentsArray, CollapsesRunsOfBlanks)
{
    EXPECT_EQ(split("a  b"), (words{"a", "b"}));
    EXPECT_EQ(split("   a \t  \t b   "), (words{"a", "b"}));
}

TEST(CreateArgumentsArray, KeepsBlanksAndTabsInsideQuotes)
{
    EXPECT_EQ(split("\"x y\" z"), (words{"x y", "z"}));
    EXPECT_EQ(split("\"x  \ty\""), (words{"x  \ty"}));
}

// KEPT[arguments-closing-quote]
TEST(CreateArgumentsArray, EndsTheWordAtAClosingQuoteEvenWhenItIsEmpty)
{
    EXPECT_EQ(split("\"\""), (words{""}));
    EXPECT_EQ(split("\"\"\"\""), (words{"", ""}));
    EXPECT_EQ(split("\"ab\"cd"), (words{"ab", "cd"}));
    EXPECT_EQ(split("\"ab\"\"cd\""), (words{"ab", "cd"}));
    EXPECT_EQ(split("a\"\""), (words{"a"}));
}

TEST(CreateArgumentsArray, GoesOnWithAWordThatBeganBeforeTheQuote)
{
    EXPECT_EQ(split("ab\"cd\""), (words{"abcd"}));
    EXPECT_EQ(split("ab\"c d\" e"), (words{"abc d", "e"}));
    EXPECT_EQ(split("ab\"cd\"ef"), (words{"abcd", "ef"}));
}

TEST(CreateArgumentsArray, TakesABackslashBeforeAQuoteAsALiteralQuote)
{
    EXPECT_EQ(split("\\\"q"), (words{"\"q"}));
    EXPECT_EQ(split("\"a\\\"b\""), (words{"a\"b"}));
    EXPECT_EQ(split("a\\\"b c"), (words{"a\"b", "c"}));
}

// KEPT[arguments-literal-quote]
TEST(CreateArgumentsArray, CarriesALiteralQuoteThatStandsAloneIntoTheNextWord)
{
    EXPECT_EQ(split("\\\" q"), (words{"\"q"}));
    EXPECT_EQ(split("a \\\" b"), (words{"a", "\"b"}));
    EXPECT_EQ(split("\\\" \"x y\""), (words{"\"x y"}));
    EXPECT_EQ(split("\\\""), (words{}));
    EXPECT_EQ(split("a \\\""), (words{"a"}));
}

TEST(CreateArgumentsArray, KeepsAnyOtherBackslash)
{
    EXPECT_EQ(split("C:\\dir\\file"), (words{"C:\\dir\\file"}));
    EXPECT_EQ(split("\"C:\\my dir\" \\"), (words{"C:\\my dir", "\\"}));
    EXPECT_EQ(split("\\\\\"q"), (words{"\\\"q"})); // the second backslash takes the quote with it
}

// KEPT[arguments-unclosed-quote]
TEST(CreateArgumentsArray, DropsAnUnclosedQuoteUnlessAWordHadBegun)
{
    EXPECT_EQ(split("\"open"), (words{}));
    EXPECT_EQ(split("a \"open and more"), (words{"a"}));
    EXPECT_EQ(split("ab\"cd ef"), (words{"abcd ef"}));
    EXPECT_EQ(split("a \""), (words{"a"}));
}

TEST(CreateArgumentsArray, GivesNoWordsForNothing)
{
    EXPECT_EQ(split(""), (words{}));
    EXPECT_EQ(split(" \t "), (words{}));
    EXPECT_EQ(split(nullptr), (words{}));
}

// KEPT[arguments-most-words]
TEST(CreateArgumentsArray, StopsAt32767Words)
{
    std::string line;
    for (int i = 0; i < 32766; ++i)
        line += "w ";
    EXPECT_EQ(split((line + "last").c_str()).size(), 32767u);
    const words cut = split((line + "last dropped").c_str());
    ASSERT_EQ(cut.size(), 32767u);
    EXPECT_EQ(cut.back(), "last");
    EXPECT_EQ(split((line + "\"last\"dropped").c_str()), cut);
}

TEST(CreateArgumentsArray, HoldsAWordOfAnyLength)
{
    const std::string longest(1'000'000, 'x');
    EXPECT_EQ(split((longest + " y").c_str()), (words{longest, "y"}));
}

TEST(CreateArgumentsArray, PassesBytesAbove127Through)
{
    EXPECT_EQ(split("\xC3\xA4 \xE2\x82\xAC\xFF"), (words{"\xC3\xA4", "\xE2\x82\xAC\xFF"}));
}

TEST(DestroyArray, TakesNull)
{
    DestroyArray(nullptr);
}
