#include "KFramework/socket/stream_buffer.h"

#include <cmath>
#include <cstring>
#include <gtest/gtest.h>

namespace
{

using namespace kf::socket;

constexpr size_limit kDefault{};
constexpr size_limit kUnchecked{0, false};

// KEPT[send-limit-at-growth]
TEST(SendGrowth, LooksAtTheMaximumOnlyWhenTheBufferMustGrow)
{
    EXPECT_EQ(send_growth(65534, 65535, kDefault).what, verdict::fits);
    EXPECT_EQ(send_growth(65535, 65535, kDefault).what, verdict::grow);
    EXPECT_EQ(send_growth(65536, 65535, kDefault).what, verdict::overflow);
    EXPECT_EQ(send_growth(65534, 65535, {100, true}).what, verdict::fits);
    EXPECT_EQ(send_growth(65535, 65535, {100, true}).what, verdict::overflow);
}

TEST(SendGrowth, TakesAsManyStepsAsTheTotalNeedsAndAtLeastOne)
{
    EXPECT_EQ(send_growth(65535, 65535, kUnchecked).capacity, 131070U);
    EXPECT_EQ(send_growth(131070, 65535, kUnchecked).capacity, 131070U);
    EXPECT_EQ(send_growth(131071, 65535, kUnchecked).capacity, 196605U);
    EXPECT_EQ(send_growth(131070, 131070, kUnchecked).capacity, 196605U);
    EXPECT_EQ(send_growth(20ULL << 30, 65535, kUnchecked).capacity % 65535, 0U);
}

// KEPT[polled-growth-step]
TEST(PolledGrowth, AddsOneSmallStepWhenFewerThan4097BytesAreFree)
{
    EXPECT_EQ(polled_growth(61438, 65535, kDefault).what, verdict::fits);
    EXPECT_EQ(polled_growth(61439, 65535, kDefault).what, verdict::overflow);
    EXPECT_EQ(polled_growth(61439, 65535, {69631, true}).what, verdict::overflow);
    EXPECT_EQ(polled_growth(61439, 65535, {69632, true}).what, verdict::grow);
    EXPECT_EQ(polled_growth(61439, 65535, {69632, true}).capacity, 69632U);
    EXPECT_EQ(polled_growth(65536, 69632, {69632, true}).what, verdict::overflow);
    EXPECT_EQ(polled_growth(65536, 69632, kUnchecked).capacity, 73729U);
}

// KEPT[port-growth-counts-twice]
TEST(PortGrowth, CountsCapacityAndFillTogether)
{
    EXPECT_EQ(port_growth(61438, 65535, kDefault).what, verdict::fits);
    EXPECT_EQ(port_growth(61439, 65535, kDefault).what, verdict::overflow);
    EXPECT_EQ(port_growth(61439, 65535, {131070, true}).what, verdict::overflow);
    EXPECT_EQ(port_growth(61439, 65535, {131071, true}).what, verdict::grow);
    EXPECT_EQ(port_growth(61439, 65535, {131071, true}).capacity, 196605U); // 131,070 would not reach it
    EXPECT_EQ(port_growth(65534, 65535, {135165, true}).what, verdict::overflow);
    EXPECT_EQ(port_growth(65534, 65535, {135166, true}).what, verdict::grow);
}

TEST(UsagePercent, IsOfTheMaximumAndInfiniteWithoutOne)
{
    EXPECT_DOUBLE_EQ(usage_percent(0, 0, 65535), 0.0);
    EXPECT_DOUBLE_EQ(usage_percent(65535, 0, 65535), 100.0);
    EXPECT_DOUBLE_EQ(usage_percent(100, 100, 100), 200.0);
    EXPECT_TRUE(std::isinf(usage_percent(1, 0, 0)));
}

TEST(OneCall, CarriesAtMostWhatThirtyTwoBitsCount)
{
    EXPECT_EQ(one_call(0), 0U);
    EXPECT_EQ(one_call(0xFFFFFFFFULL), 0xFFFFFFFFU);
    EXPECT_EQ(one_call(0x100000000ULL), 0xFFFFFFFFU);
}

TEST(BlockStore, MakesZeroFilledBlocksWithSlack)
{
    block_store store;
    const char* const block = store.make(100);
    EXPECT_EQ(std::string(block, 100 + kSlackBytes), std::string(100 + kSlackBytes, '\0'));
}

TEST(BlockStore, MakesLargerBlocksOfAtLeastTwiceTheRoom)
{
    block_store store;
    const char* const first = store.make(100);
    EXPECT_TRUE(store.has_room(first, 100));
    EXPECT_FALSE(store.has_room(first, 101));
    const char* const second = store.make_larger(first, 101);
    EXPECT_TRUE(store.has_room(second, 200));
    EXPECT_FALSE(store.has_room(second, 201));
    EXPECT_TRUE(store.has_room(store.make_larger(second, 1000), 1000));
}

TEST(BlockStore, KeepsARetiredBlockUntilToldThatItsOperationHasEnded)
{
    block_store store;
    char* const used = store.make(16);
    std::memset(used, 'x', 17);
    store.release(used, true);
    EXPECT_EQ(store.count(), 1U);
    EXPECT_EQ(used[16], 'x'); // a freed block is reported by the sanitizer
    store.free_retired(nullptr);
    EXPECT_EQ(store.count(), 0U);
}

TEST(BlockStore, FreesAnUnusedBlockAtOnceAndNeverOneItHandsOut)
{
    block_store store;
    char* const current = store.make(16);
    store.release(store.make(16), false);
    store.free_retired(nullptr);
    EXPECT_EQ(store.count(), 1U);
    current[0] = 'x';
}

TEST(BlockStore, KeepsARetiredBlockForTheOneWhoStillStandsOnIt)
{
    block_store store;
    char* const current = store.make(16);
    store.release(current, true); // by another user, who went on to a larger one
    store.free_retired(current);
    EXPECT_EQ(store.count(), 1U);
    current[0] = 'x';
    store.free_retired(nullptr);
    EXPECT_EQ(store.count(), 0U);
}

TEST(BlockStore, KeepsEveryBlockWhenOperationsCannotBeToldApart)
{
    block_store store;
    store.keep_all();
    store.release(store.make(16), false);
    store.release(store.make(16), true);
    store.free_retired(nullptr);
    EXPECT_EQ(store.count(), 2U);
}

} // namespace
