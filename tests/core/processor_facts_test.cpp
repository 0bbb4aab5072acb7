#include <cmath>
#include <cstdint>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core/processor_facts.h"

using namespace kf::core;

namespace
{

std::vector<processor_record> host(int packages, int cores_each, int threads_each)
{
    std::vector<processor_record> records;
    std::uint64_t mask = (std::uint64_t{1} << threads_each) - 1;
    for (int core = 0; core < packages * cores_each; ++core, mask <<= threads_each)
        records.push_back({processor_relation::core, mask, 0});
    for (int package = 0; package < packages; ++package)
    {
        records.push_back({processor_relation::package, ~std::uint64_t{0}, 0});
        records.push_back({processor_relation::numa_node, ~std::uint64_t{0}, 0});
    }
    for (const std::uint8_t level : std::initializer_list<std::uint8_t>{1, 1, 2, 3, 4})
        records.push_back({processor_relation::cache, ~std::uint64_t{0}, level});
    return records;
}

processor_facts count(const std::vector<processor_record>& records)
{
    processor_facts facts;
    count_processors(records, facts);
    return facts;
}

} // namespace

TEST(ProcessorFacts, StartWithTheirDefaults)
{
    const processor_facts facts;
    EXPECT_EQ(facts.cores_type, "Unknown");
    EXPECT_EQ(facts.cores_speed, 0.0F);
    EXPECT_EQ(facts.cores, 1);
    EXPECT_EQ(facts.packages, 1);
    EXPECT_EQ(facts.threads, 1);
    EXPECT_FALSE(facts.threads_differ);
}

// KEPT[cores-per-package]
TEST(CountProcessors, GivesCoresPerPackageAndAllThreads)
{
    const processor_facts facts = count(host(2, 8, 2));
    EXPECT_EQ(facts.cores, 8);
    EXPECT_EQ(facts.packages, 2);
    EXPECT_EQ(facts.threads, 32);
    EXPECT_TRUE(facts.threads_differ);
    EXPECT_EQ(facts.numa_nodes, 2);
    EXPECT_EQ(facts.caches[0], 2);
    EXPECT_EQ(facts.caches[1], 1);
    EXPECT_EQ(facts.caches[2], 1);
}

TEST(CountProcessors, SeesNoDifferenceWithOneThreadPerCore)
{
    const processor_facts facts = count(host(1, 8, 1));
    EXPECT_EQ(facts.cores, 8);
    EXPECT_EQ(facts.packages, 1);
    EXPECT_EQ(facts.threads, 8);
    EXPECT_FALSE(facts.threads_differ);
}

TEST(CountProcessors, TakesOneForNoThreadsAndNoPackages)
{
    const processor_facts facts = count({});
    EXPECT_EQ(facts.cores, 0);
    EXPECT_EQ(facts.packages, 1);
    EXPECT_EQ(facts.threads, 1);
    EXPECT_TRUE(facts.threads_differ);
}

TEST(CountProcessors, RoundsCoresPerPackageDown)
{
    std::vector<processor_record> records = host(2, 2, 1);
    records.push_back({processor_relation::core, std::uint64_t{1} << 63, 0});
    const processor_facts facts = count(records);
    EXPECT_EQ(facts.cores, 2);
    EXPECT_EQ(facts.threads, 5);
    EXPECT_TRUE(facts.threads_differ);
}

TEST(ModelFromBrand, CutsTheSpeedAndReducesBlanks)
{
    EXPECT_EQ(model_from_brand("Model  CPU @ 3.40GHz"), "Model CPU");
    EXPECT_EQ(model_from_brand("  Model CPU  "), "Model CPU");
    EXPECT_EQ(model_from_brand("Model @ one @ two"), "Model");
    EXPECT_EQ(model_from_brand("@ 3.40GHz"), "");
    EXPECT_EQ(model_from_brand(""), "");
}

TEST(ModelFromBrand, ReducesEachPairOfBlanksOnce)
{
    EXPECT_EQ(model_from_brand("A    B"), "A  B");
    EXPECT_EQ(model_from_brand("A   B"), "A  B");
}

TEST(SpeedFromBrand, ReadsTheNumberBehindTheFirstMark)
{
    EXPECT_EQ(speed_from_brand("Model  CPU @ 3.40GHz"), 3.4F);
    EXPECT_EQ(speed_from_brand("Model @3.41GHz @ 9"), 3.5F);
    EXPECT_EQ(speed_from_brand("Model"), 0.0F);
    EXPECT_EQ(speed_from_brand("Model @ fast"), 0.0F);
    EXPECT_EQ(speed_from_brand("Model @"), 0.0F);
}

TEST(SpeedFromMegahertz, RoundsUpToTenths)
{
    EXPECT_EQ(speed_from_megahertz(3401), 3.5F);
    EXPECT_EQ(speed_from_megahertz(3499), 3.5F);
    EXPECT_EQ(speed_from_megahertz(2599), 2.6F);
    EXPECT_EQ(speed_from_megahertz(1), 0.1F);
    EXPECT_EQ(speed_from_megahertz(0), 0.0F);
}

TEST(SpeedFromMegahertz, LeavesEveryMultipleOfAHundredAsItIs)
{
    for (unsigned tenths = 1; tenths <= 60; ++tenths)
    {
        EXPECT_EQ(speed_from_megahertz(tenths * 100), static_cast<float>(tenths) / 10.0F) << tenths;
        const std::string brand =
            "M @ " + std::to_string(tenths / 10) + "." + std::to_string(tenths % 10) + "0GHz";
        EXPECT_EQ(speed_from_brand(brand), static_cast<float>(tenths) / 10.0F) << brand;
    }
}
