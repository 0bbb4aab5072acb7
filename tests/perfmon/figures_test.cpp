#include "KFramework/perfmon/figures.h"

#include <gtest/gtest.h>

using namespace kf::perfmon;

TEST(CoreUsage, IsNothingBeforeTheFirstAndBehindTheLastCore)
{
    double cores[] = {1.5, 2.5};
    kPerformanceMonitorData table;
    table.processorCount = 2;
    table.cpuByCore = cores;
    EXPECT_EQ(core_usage(table, -1), 0.0);
    EXPECT_EQ(core_usage(table, 0), 1.5);
    EXPECT_EQ(core_usage(table, 1), 2.5);
    EXPECT_EQ(core_usage(table, 2), 0.0);
}

TEST(CoreUsage, IsNothingWithoutAnArray)
{
    kPerformanceMonitorData table;
    table.processorCount = 2;
    EXPECT_EQ(core_usage(table, 0), 0.0);
}

TEST(FigureAt, IsNothingOutOfRangeAndWithoutAnArray)
{
    const std::uint64_t figures[] = {7, 8};
    EXPECT_EQ(figure_at(figures, 1, 2), 8u);
    EXPECT_EQ(figure_at(figures, 2, 2), 0u);
    EXPECT_EQ(figure_at(figures, ~std::uint64_t{0}, 2), 0u);
    EXPECT_EQ(figure_at<double>(nullptr, 0, 2), 0.0);
}

TEST(FigureOf, IsNothingForAnUnknownInstance)
{
    const std::map<int, double> figures{{-3, 1.5}};
    EXPECT_EQ(figure_of(figures, -3), 1.5);
    EXPECT_EQ(figure_of(figures, 3), 0.0);
}

TEST(NameAt, FollowsTheOrderOfTheBytes)
{
    const std::set<std::string> names{"\xC3\x84", "b", "B"};
    EXPECT_EQ(name_at(names, 0), "B");
    EXPECT_EQ(name_at(names, 1), "b");
    EXPECT_EQ(name_at(names, 2), "\xC3\x84");
    EXPECT_EQ(name_at(names, 3), "");
    EXPECT_EQ(name_at(names, ~std::uint64_t{0}), "");
}

TEST(ForgetItems, FreesAllSevenArraysAndEmptiesTheSets)
{
    kPerformanceMonitorData table;
    table.cpuByCore = new double[1];
    table.interfaceUsage = new double[1];
    table.interfaceFigureA = new std::uint64_t[1];
    table.interfaceFigureB = new std::uint64_t[1];
    table.diskTotal = new double[1];
    table.diskRead = new double[1];
    table.diskWrite = new double[1];
    table.networkInterfaces = {"a"};
    table.disks = {"b"};
    table.ramAmount = 5;
    forget_items(table);
    EXPECT_EQ(table.cpuByCore, nullptr);
    EXPECT_EQ(table.interfaceUsage, nullptr);
    EXPECT_EQ(table.interfaceFigureA, nullptr);
    EXPECT_EQ(table.interfaceFigureB, nullptr);
    EXPECT_EQ(table.diskTotal, nullptr);
    EXPECT_EQ(table.diskRead, nullptr);
    EXPECT_EQ(table.diskWrite, nullptr);
    EXPECT_TRUE(table.networkInterfaces.empty());
    EXPECT_TRUE(table.disks.empty());
    EXPECT_EQ(table.ramAmount, 5u);
    forget_items(table);
}
