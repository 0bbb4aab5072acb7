#include "load.h"

#include <gtest/gtest.h>

namespace
{
constexpr const char* kMemory = "8589934592 3221225472 140737488224256 83886080 1048576";
} // namespace

TEST(ParseLoad, TakesTheMeanOfTheProcessorsAndTheMemoryInUse)
{
    // The last figure of each report is the renderer's.
    const auto known = farm::parse_load(farm::load_text("12.5 100 0 99.9 7.25 ", kMemory));
    ASSERT_TRUE(known);
    EXPECT_EQ(known->processor, 53);
    EXPECT_EQ(known->memory_used, 3221225472U);
    EXPECT_EQ(known->memory, 8589934592U);
    EXPECT_EQ(farm::parse_load(farm::load_text("0 0 ", kMemory))->processor, 0);
    EXPECT_EQ(farm::parse_load(farm::load_text("1e+02 101", kMemory))->processor, 100);
}

TEST(ParseLoad, RefusesEveryShorterText)
{
    const std::string whole = farm::load_text("1 2 ", kMemory);
    const std::size_t last = whole.rfind(' ') + 1; // cut inside the last figure, that one is only smaller
    for (std::size_t length = 0; length < last + 2; ++length)
        EXPECT_EQ(farm::parse_load(whole.substr(0, length)).has_value(), length > last) << length;
}

TEST(ParseLoad, RefusesProcessorsThatNoMachineHas)
{
    for (const char* const wrong :
         {"", " ", "1", "1 ", "-1 0 ", "101 0 ", "100.5 0 ", "nan 0 ", "inf 0 ", "1,5 0 ", "1  2 ", " 1 2 ",
          "1 2 x", "1 2\t", "0x1 2 ", "+1 2 ", "\x1B[2J", "1e999 0 "})
        EXPECT_FALSE(farm::parse_load(farm::load_text(wrong, kMemory))) << wrong;
}

TEST(ParseLoad, RefusesMemoryThatNoMachineHas)
{
    for (const char* const wrong :
         {"", "8 4 1 1", "8 4 1 1 0 0", "0 0 1 1 0", "8 9 1 1 0", "-8 4 1 1 0", "8 4 1 1 -1", "8.5 4 1 1 0",
          "1125899906842625 4 1 1 0", "18446744073709551616 4 1 1 0", "8 4 1 1 0\n", "8 4 1 1 0\n1 1"})
        EXPECT_FALSE(farm::parse_load(farm::load_text("1 2 ", wrong))) << wrong;
}

TEST(ParseLoad, TakesTheReportOfAThousandProcessorsAndNoLongerText)
{
    std::string report;
    for (int i = 0; i < 1024; ++i)
        report += "99.9 ";
    EXPECT_EQ(farm::parse_load(farm::load_text(report, kMemory))->processor, 100);
    EXPECT_FALSE(farm::parse_load(farm::load_text(report + report + report + report, kMemory)));
}

TEST(LoadCells, ShowWhatIsKnown)
{
    const auto known = farm::parse_load(farm::load_text("44.6 0 ", kMemory));
    EXPECT_EQ(farm::processor_cell(known), "45%");
    EXPECT_EQ(farm::memory_cell(known), "3.0/8.0 GiB");
    EXPECT_EQ(farm::processor_cell({}), "-");
    EXPECT_EQ(farm::memory_cell({}), "-");
}
