#include <climits>
#include <cstdlib>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;
using ints = std::vector<int>;

namespace
{
/// The rule as it is told, with a text of its own for every piece.
ints plain_int_vector(const std::string& list, const std::string& delimiters)
{
    ints numbers;
    std::size_t position = 0;
    while (position <= list.size())
    {
        const std::size_t found = list.find_first_of(delimiters, position);
        const std::string piece =
            list.substr(position, found == std::string::npos ? found : found - position);
        if (!piece.empty())
            numbers.push_back(std::atoi(piece.c_str()));
        if (found == std::string::npos)
            break;
        position = found + delimiters.size();
    }
    return numbers;
}
} // namespace

TEST(TokenizeStringToIntVector, SkipsEmptyPieces)
{
    EXPECT_EQ(text::TokenizeStringToIntVector("1,,2,x", ","), (ints{1, 2, 0}));
    EXPECT_EQ(text::TokenizeStringToIntVector("5", ","), ints{5});
    EXPECT_EQ(text::TokenizeStringToIntVector("", ","), ints{});
    EXPECT_EQ(text::TokenizeStringToIntVector(",,,", ","), ints{});
    EXPECT_EQ(text::TokenizeStringToIntVector("7,", ","), ints{7});
}

// KEPT[numbers-without-ranges]
TEST(TokenizeStringToIntVector, ReadsAPieceUpToItsFirstByteThatIsNoDigit)
{
    EXPECT_EQ(text::TokenizeStringToIntVector("1-10,x, +7 8,-3,12abc,- 1", ","), (ints{1, 0, 7, -3, 12, 0}));
}

TEST(TokenizeStringToIntVector, ReadsTheWholeRangeOfAnInt)
{
    EXPECT_EQ(text::TokenizeStringToIntVector("2147483647,-2147483648", ","), (ints{INT_MAX, INT_MIN}));
}

TEST(TokenizeStringToIntVector, KeepsOrderAndRepeats)
{
    EXPECT_EQ(text::TokenizeStringToIntVector("3,1,3", ","), (ints{3, 1, 3}));
}

// KEPT[token-step]
TEST(TokenizeStringToIntVector, StepsOverAsManyBytesAsTheSetHas)
{
    EXPECT_EQ(text::TokenizeStringToIntVector("1, 2 ,3", ", "), (ints{1, 2, 3}));
    EXPECT_EQ(text::TokenizeStringToIntVector("1,23,45", ",;"), (ints{1, 3, 5}));
    EXPECT_EQ(text::TokenizeStringToIntVector("1,2,", ",;:"), (ints{1}));
    EXPECT_EQ(text::TokenizeStringToIntVector("1,", ",;:"), ints{1});
}

TEST(TokenizeStringToIntVector, TakesTheWholeTextWithoutDelimiters)
{
    EXPECT_EQ(text::TokenizeStringToIntVector("12,3", ""), ints{12});
}

TEST(TokenizeStringToIntVector, NeverReadsOnIntoADelimiter)
{
    EXPECT_EQ(text::TokenizeStringToIntVector("152", "5"), (ints{1, 2}));
    EXPECT_EQ(text::TokenizeStringToIntVector(" \n5", "\n"), (ints{0, 5}));
    EXPECT_EQ(text::TokenizeStringToIntVector("1-2", "-"), (ints{1, 2}));
    EXPECT_EQ(text::TokenizeStringToIntVector(" -7", "-"), (ints{0, 7}));
}

TEST(TokenizeStringToIntVector, TakesANulForTheEndOfAPieceUnlessItIsADelimiter)
{
    const std::string list("12\0003,4", 6);
    EXPECT_EQ(text::TokenizeStringToIntVector(list, ","), (ints{12, 4}));
    EXPECT_EQ(text::TokenizeStringToIntVector(list, std::string(1, '\0')), (ints{12, 3}));
}

TEST(TokenizeStringToIntVector, GivesWhatTheRuleAsToldGives)
{
    std::mt19937 random(1);
    const std::string bytes = "0123456789,;- +x\n\t";
    const auto some = [&](std::size_t most)
    {
        std::string made(random() % (most + 1), '\0');
        for (char& c : made)
            c = bytes[random() % bytes.size()];
        return made;
    };
    for (int i = 0; i < 20'000; ++i)
    {
        const std::string list = some(24);
        const std::string delimiters = some(3);
        ASSERT_EQ(text::TokenizeStringToIntVector(list, delimiters), plain_int_vector(list, delimiters))
            << list << " at " << delimiters;
    }
}

TEST(TokenizeStringToLongVector, ReadsTheWholeRangeOfALong)
{
    const std::string list = std::to_string(LONG_MAX) + "," + std::to_string(LONG_MIN) + ",,x,5,5";
    EXPECT_EQ(text::TokenizeStringToLongVector(list, ","), (std::vector<long>{LONG_MAX, LONG_MIN, 0, 5, 5}));
}

TEST(TokenizeStringToIntSet, MergesAndSorts)
{
    EXPECT_EQ(text::TokenizeStringToIntSet("3,1,3", ","), (std::set<int>{1, 3}));
    EXPECT_EQ(text::TokenizeStringToIntSet("x,,-1,0", ","), (std::set<int>{-1, 0}));
    EXPECT_EQ(text::TokenizeStringToIntSet("", ","), std::set<int>{});
}

TEST(TokenizeStringToLongSet, MergesAndSorts)
{
    const std::string list = std::to_string(LONG_MAX) + ",3,1,3";
    EXPECT_EQ(text::TokenizeStringToLongSet(list, ","), (std::set<long>{1, 3, LONG_MAX}));
}

TEST(TokenizeStringToLongSet, TakesALongListInTheTimeOfAShortOneTimesItsLength)
{
    std::string list;
    for (int i = 0; i < 200'000; ++i)
        list += std::to_string(i % 1000) + ",";
    EXPECT_EQ(text::TokenizeStringToLongSet(list, ",").size(), 1000U);
    EXPECT_EQ(text::TokenizeStringToIntVector(list, ",").size(), 200'000U);
}
