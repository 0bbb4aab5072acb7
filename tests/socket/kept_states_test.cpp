#include "KFramework/socket/kept_states.h"

#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/socket/portable_frames.h"

namespace
{

std::atomic<int> alive{0};

struct counted_state
{
    counted_state() noexcept { ++alive; }
    ~counted_state() { --alive; }
    counted_state(const counted_state&) = delete;
    counted_state& operator=(const counted_state&) = delete;

    std::atomic<bool> in_use{false};
};

} // namespace

TEST(KeptStates, LendsTheSameStateAgain)
{
    kf::socket::kept_states<counted_state> states;
    auto first = states.take();
    const counted_state* const address = first.get();
    states.give_back(std::move(first));
    EXPECT_EQ(states.take().get(), address);
}

TEST(KeptStates, DestroysWhatItHasNoRoomForAndTheRestAtTheEnd)
{
    {
        kf::socket::kept_states<counted_state> states;
        std::vector<std::unique_ptr<counted_state>> lent;
        for (int i = 0; i < 50; ++i)
            lent.push_back(states.take());
        EXPECT_EQ(alive, 50);
        for (auto& state : lent)
            states.give_back(std::move(state));
        EXPECT_GT(alive, 0);
        EXPECT_LT(alive, 50);
    }
    EXPECT_EQ(alive, 0);
}

TEST(KeptStates, LendsEachStateToOneThreadAtATime)
{
    kf::socket::kept_states<counted_state> states;
    std::atomic<int> shared{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 12; ++i)
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < 5000; ++round)
                {
                    auto state = states.take();
                    shared += state->in_use.exchange(true) ? 1 : 0;
                    state->in_use = false;
                    states.give_back(std::move(state));
                }
            });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(shared, 0);
}

TEST(KeptStates, LetThreadsEncodeAndDecodeAtOnce)
{
    std::atomic<int> wrong{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 8; ++i)
        threads.emplace_back(
            [&wrong, i]
            {
                const std::string text(static_cast<std::size_t>(100 + i * 37), static_cast<char>('a' + i));
                for (int round = 0; round < 300; ++round)
                    wrong += kf::test::take(kf::test::encode_text(text.c_str(), 1, 2)).text == text ? 0 : 1;
            });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(wrong, 0);
}
