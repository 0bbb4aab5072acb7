#include "KFramework/socket/operation_mark.h"

#include <atomic>
#include <gtest/gtest.h>
#include <thread>
#include <vector>

namespace
{

using namespace kf::socket;

TEST(OperationMark, IsSetOnceUntilCleared)
{
    std::uint32_t mark = 0;
    EXPECT_FALSE(is_marked(mark));
    EXPECT_TRUE(set_mark(mark));
    EXPECT_TRUE(is_marked(mark));
    EXPECT_FALSE(set_mark(mark));
    EXPECT_EQ(mark, 1U);
    clear_mark(mark);
    EXPECT_FALSE(is_marked(mark));
    EXPECT_TRUE(set_mark(mark));
}

TEST(OperationMark, GoesToOneThreadAtATime)
{
    constexpr int kThreads = 4;
    constexpr int kRounds = 5000;
    std::uint32_t mark = 0;
    int counted = 0; // guarded by the mark
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&]
            {
                for (int done = 0; done < kRounds;)
                {
                    if (!set_mark(mark))
                    {
                        std::this_thread::yield();
                        continue;
                    }
                    ++counted;
                    ++done;
                    clear_mark(mark);
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(counted, kThreads * kRounds);
}

} // namespace
