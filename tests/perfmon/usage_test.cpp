#include "KFramework/perfmon/usage.h"

#include <gtest/gtest.h>

using namespace kf::perfmon;

namespace
{
constexpr std::int64_t kSecond = 10'000'000;
}

TEST(ProcessUsage, IsThePartOfAllProcessors)
{
    EXPECT_DOUBLE_EQ(process_usage({100, 200}, {2'500'100, 2'500'200}, kSecond, 1), 50.0);
    EXPECT_DOUBLE_EQ(process_usage({100, 200}, {2'500'100, 2'500'200}, kSecond, 4), 12.5);
}

// KEPT[cpu-delta-32-bits]
TEST(ProcessUsage, CutsTheSumOfBothDeltasTo32Bits)
{
    constexpr std::uint64_t kLimit = 1ull << 32;
    EXPECT_DOUBLE_EQ(process_usage({0, 0}, {kLimit, 0}, kSecond, 1), 0.0);
    EXPECT_DOUBLE_EQ(process_usage({0, 0}, {kLimit - 1, 0}, kSecond, 1), 42949.67295);
    EXPECT_DOUBLE_EQ(process_usage({0, 0}, {kLimit + 1'000'000, 500'000}, kSecond, 1), 15.0);
    EXPECT_DOUBLE_EQ(process_usage({0, 0}, {kLimit / 2, kLimit / 2 + 2'000'000}, kSecond, 1), 20.0);
}

TEST(ProcessUsage, IsNothingWhenTheClockDidNotGoForward)
{
    EXPECT_EQ(process_usage({0, 0}, {5, 5}, 0, 1), 0.0);
    EXPECT_EQ(process_usage({0, 0}, {5, 5}, -kSecond, 1), 0.0);
}

TEST(ProcessUsage, IsNothingWithoutProcessors)
{
    EXPECT_EQ(process_usage({0, 0}, {5, 5}, kSecond, 0), 0.0);
    EXPECT_EQ(process_usage({0, 0}, {5, 5}, kSecond, -1), 0.0);
}

TEST(TreeUsage, SumsTheProcessesThatAreInBothLooks)
{
    const process_look before{0, {{1, {0, 0}}, {2, {0, 0}}, {3, {0, 0}}}};
    const process_look after{kSecond, {{1, {1'000'000, 0}}, {3, {0, 2'000'000}}, {4, {9, 9}}}};
    EXPECT_DOUBLE_EQ(tree_usage({1, 2, 3, 4, 5}, before, after, 1), 30.0);
    EXPECT_DOUBLE_EQ(tree_usage({3}, before, after, 1), 20.0);
    EXPECT_EQ(tree_usage({}, before, after, 1), 0.0);
}

TEST(FiguresOfInterface, TakesWhatWasNotSentForReceived)
{
    const interface_figures figures = figures_of_interface(1500, 1200, 1'000'000);
    EXPECT_EQ(figures.sent, 1200u);
    EXPECT_EQ(figures.received, 300u);
    EXPECT_DOUBLE_EQ(figures.usage, 0.012);
}

TEST(FiguresOfInterface, SubtractsOfATotalThatCannotBeReadAsOfAnyOther)
{
    const interface_figures figures = figures_of_interface(0, 1200, 1'000'000);
    EXPECT_EQ(figures.sent, 1200u);
    EXPECT_EQ(figures.received, ~std::uint64_t{1199});
    EXPECT_EQ(figures.usage, 0.0);
}

TEST(FiguresOfInterface, UsesNothingOfNoBandwidth)
{
    EXPECT_EQ(figures_of_interface(1500, 1200, 0).usage, 0.0);
    EXPECT_EQ(figures_of_interface(1500, 1200, -1).usage, 0.0);
}
