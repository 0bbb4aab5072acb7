#include <climits>
#include <list>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;
using ints = std::vector<int>;
using words = std::vector<std::string>;

namespace
{
std::string ranges(const ints& numbers)
{
    return text::IntVectorToPrintableRanges(&numbers);
}

std::string set_ranges(const std::set<int>& numbers)
{
    return text::IntSetToPrintableRanges(&numbers);
}

std::string joined(const words& texts)
{
    return text::StringVectorToPrintable(&texts);
}
} // namespace

TEST(AddNumericPadding, PutsZerosInFrontUpToTheWidth)
{
    EXPECT_EQ(text::AddNumericPadding("7", 3), "007");
    EXPECT_EQ(text::AddNumericPadding("", 2), "00");
    EXPECT_EQ(text::AddNumericPadding("7", 100'000), std::string(99'999, '0') + "7");
}

TEST(AddNumericPadding, LeavesATextThatIsLongEnough)
{
    EXPECT_EQ(text::AddNumericPadding("1234", 3), "1234");
    EXPECT_EQ(text::AddNumericPadding("123", 3), "123");
    EXPECT_EQ(text::AddNumericPadding("7", 0), "7");
}

TEST(AddNumericPadding, LeavesEveryTextForANegativeWidth)
{
    EXPECT_EQ(text::AddNumericPadding("7", -1), "7");
    EXPECT_EQ(text::AddNumericPadding("", INT_MIN), "");
}

// KEPT[zeros-before-sign]
TEST(AddNumericPadding, PutsZerosInFrontOfASignToo)
{
    EXPECT_EQ(text::AddNumericPadding("-5", 4), "00-5");
    EXPECT_EQ(text::AddNumericPadding("ab", 3), "0ab");
}

TEST(IntVectorToPrintable, KeepsOrderAndRepeats)
{
    const ints numbers{5, 4, 4, INT_MIN, INT_MAX};
    EXPECT_EQ(text::IntVectorToPrintable(&numbers), "5,4,4,-2147483648,2147483647");
    const ints none;
    EXPECT_EQ(text::IntVectorToPrintable(&none), "");
    const ints runs{1, 2, 3};
    EXPECT_EQ(text::IntVectorToPrintable(&runs), "1,2,3");
}

TEST(LongVectorToPrintable, WritesTheWholeRangeOfALong)
{
    const std::vector<long> numbers{LONG_MAX, LONG_MIN, 0};
    EXPECT_EQ(text::LongVectorToPrintable(&numbers),
              std::to_string(LONG_MAX) + "," + std::to_string(LONG_MIN) + ",0");
}

TEST(IntSetToPrintable, IsAscendingWithoutRuns)
{
    const std::set<int> numbers{3, -1, 2, 1};
    EXPECT_EQ(text::IntSetToPrintable(&numbers), "-1,1,2,3");
    const std::set<int> none;
    EXPECT_EQ(text::IntSetToPrintable(&none), "");
}

// KEPT[printables-plural]
TEST(LongSetToPrintables, IsNamedUnlikeItsNeighbours)
{
    const std::set<long> numbers{LONG_MAX, 2, 1};
    EXPECT_EQ(text::LongSetToPrintables(&numbers), "1,2," + std::to_string(LONG_MAX));
}

TEST(IntSetToPrintableRanges, WritesRunsAsFirstAndLast)
{
    EXPECT_EQ(set_ranges({1, 2, 3, 5, 7, 8}), "1-3,5,7-8");
    EXPECT_EQ(set_ranges({4}), "4");
    EXPECT_EQ(set_ranges({}), "");
    EXPECT_EQ(set_ranges({7, 8}), "7-8");
}

TEST(IntSetToPrintableRanges, WritesSignedNumbers)
{
    EXPECT_EQ(set_ranges({-2, -1, 0}), "-2-0");
    EXPECT_EQ(set_ranges({-3, -2, -1}), "-3--1");
    EXPECT_EQ(set_ranges({INT_MIN, INT_MIN + 1, INT_MAX - 1, INT_MAX}),
              "-2147483648--2147483647,2147483646-2147483647");
}

// KEPT[ranges-in-order]
TEST(IntVectorToPrintableRanges, KeepsOrderAndRepeats)
{
    EXPECT_EQ(ranges({3, 4, 4, 2}), "3-4,4,2");
    EXPECT_EQ(ranges({5, 4}), "5,4");
    EXPECT_EQ(ranges({1, 1, 2, 3, 1}), "1,1-3,1");
    EXPECT_EQ(ranges({}), "");
}

TEST(IntVectorToPrintableRanges, HasNothingBehindTheLargestNumber)
{
    EXPECT_EQ(ranges({INT_MAX, INT_MIN}), "2147483647,-2147483648");
    EXPECT_EQ(ranges({INT_MAX - 1, INT_MAX, INT_MIN, INT_MIN + 1}),
              "2147483646-2147483647,-2147483648--2147483647");
}

TEST(LongVectorToPrintableRanges, HasNothingBehindTheLargestNumber)
{
    const std::vector<long> numbers{1, 2, LONG_MAX, LONG_MIN};
    EXPECT_EQ(text::LongVectorToPrintableRanges(&numbers),
              "1-2," + std::to_string(LONG_MAX) + "," + std::to_string(LONG_MIN));
}

TEST(LongSetToPrintableRanges, WritesRunsAsFirstAndLast)
{
    const std::set<long> numbers{3, 2, 1, LONG_MAX, LONG_MAX - 1};
    EXPECT_EQ(text::LongSetToPrintableRanges(&numbers),
              "1-3," + std::to_string(LONG_MAX - 1) + "-" + std::to_string(LONG_MAX));
}

TEST(PrintableRanges, GrowToAnyLength)
{
    ints numbers;
    std::string expected;
    for (int i = 0; i < 50'000; ++i)
    {
        numbers.push_back(INT_MIN + 2 * i);
        expected += (i > 0 ? "," : "") + std::to_string(INT_MIN + 2 * i);
    }
    EXPECT_EQ(ranges(numbers), expected);
    EXPECT_EQ(text::IntVectorToPrintable(&numbers), expected);
}

// KEPT[set-keeps-empties]
TEST(StringSetToPrintable, GivesAnEmptyElementItsComma)
{
    const std::set<std::string> texts{"", "a"};
    EXPECT_EQ(text::StringSetToPrintable(&texts), ",a");
    const std::set<std::string> sorted{"b,c", "B", "a"};
    EXPECT_EQ(text::StringSetToPrintable(&sorted), "B,a,b,c");
    const std::set<std::string> only_empty{""};
    EXPECT_EQ(text::StringSetToPrintable(&only_empty), "");
    const std::set<std::string> none;
    EXPECT_EQ(text::StringSetToPrintable(&none), "");
}

// KEPT[set-keeps-empties]
TEST(StringVectorToPrintable, LeavesOutEmptyElements)
{
    EXPECT_EQ(joined({"a", "", "b"}), "a,b");
    EXPECT_EQ(joined({"", "a", ""}), "a");
    EXPECT_EQ(joined({"", ""}), "");
    EXPECT_EQ(joined({"b", "a", "b"}), "b,a,b");
}

// KEPT[set-keeps-empties]
TEST(StringListToPrintable, LeavesOutEmptyElements)
{
    const std::list<std::string> texts{"", "b", "", "a", ""};
    EXPECT_EQ(text::StringListToPrintable(&texts), "b,a");
    const std::list<std::string> none;
    EXPECT_EQ(text::StringListToPrintable(&none), "");
}
