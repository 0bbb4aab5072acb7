#include <atomic>
#include <cstdint>
#include <limits>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core.h"

using namespace KFramework;

namespace
{

constexpr unsigned kThreads = 8;
constexpr unsigned kRounds = 20000;

template <class Work>
void on_eight_threads(Work work)
{
    std::vector<std::thread> threads;
    for (unsigned t = 0; t < kThreads; ++t)
        threads.emplace_back(
            [&]
            {
                for (unsigned i = 0; i < kRounds; ++i)
                    work();
            });
    for (std::thread& thread : threads)
        thread.join();
}

} // namespace

TEST(AtomicIncrement32, GivesTheNewValueAndWraps)
{
    std::uint32_t counter = 0xFFFFFFFE;
    EXPECT_EQ(AtomicIncrement32(&counter), 0xFFFFFFFFu);
    EXPECT_EQ(AtomicIncrement32(&counter), 0u);
    EXPECT_EQ(counter, 0u);
}

TEST(AtomicDecrement32, GivesTheNewValueAndWraps)
{
    std::uint32_t counter = 1;
    EXPECT_EQ(AtomicDecrement32(&counter), 0u);
    EXPECT_EQ(AtomicDecrement32(&counter), 0xFFFFFFFFu);
    EXPECT_EQ(counter, 0xFFFFFFFFu);
}

// KEPT[add-32-old-value]
TEST(AtomicAdd32, GivesTheValueBeforeAndSubtractToo)
{
    std::uint32_t counter = 10;
    EXPECT_EQ(AtomicAdd32(&counter, 5), 10u);
    EXPECT_EQ(counter, 15u);
    EXPECT_EQ(AtomicSubtract32(&counter, 6), 15u);
    EXPECT_EQ(counter, 9u);
    EXPECT_EQ(AtomicAdd32(&counter, -10), 9u);
    EXPECT_EQ(counter, 0xFFFFFFFFu);
}

TEST(AtomicSubtract32, TakesTheSmallestNumber)
{
    std::uint32_t counter = 1;
    EXPECT_EQ(AtomicSubtract32(&counter, std::numeric_limits<std::int32_t>::min()), 1u);
    EXPECT_EQ(counter, 0x80000001u);
}

TEST(AtomicAdd64, GivesTheNewValueAndSubtractToo)
{
    std::uint64_t counter = 10;
    EXPECT_EQ(AtomicAdd64(&counter, 5), 15u);
    EXPECT_EQ(counter, 15u);
    EXPECT_EQ(AtomicSubtract64(&counter, 16), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(AtomicIncrement64(&counter), 0u);
    EXPECT_EQ(AtomicDecrement64(&counter), 0xFFFFFFFFFFFFFFFFu);
    EXPECT_EQ(counter, 0xFFFFFFFFFFFFFFFFu);
}

TEST(AtomicSubtract64, TakesTheSmallestNumber)
{
    std::uint64_t counter = 1;
    EXPECT_EQ(AtomicSubtract64(&counter, std::numeric_limits<std::int64_t>::min()), 0x8000000000000001u);
    EXPECT_EQ(counter, 0x8000000000000001u);
}

TEST(AtomicIncrement32, GivesEachValueOnceToEightThreads)
{
    std::uint32_t counter = 0;
    std::vector<std::atomic<std::uint8_t>> seen(kThreads * kRounds + 1);
    on_eight_threads([&] { ++seen[AtomicIncrement32(&counter)]; });
    EXPECT_EQ(counter, kThreads * kRounds);
    for (std::size_t value = 1; value < seen.size(); ++value)
        ASSERT_EQ(seen[value], 1) << value;
}

TEST(AtomicAdd64, LosesNothingAgainstAnInterlockedAdditionWithoutTheLock)
{
    std::uint64_t counter = 0;
    std::atomic<unsigned> turn{0};
    on_eight_threads(
        [&]
        {
            if (turn++ % 2 == 0)
                AtomicAdd64(&counter, 3);
            else
                std::atomic_ref(counter).fetch_add(5);
        });
    EXPECT_EQ(counter, kThreads * kRounds / 2 * 8u);
}
