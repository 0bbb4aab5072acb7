#include "KFramework/perfmon/sampling.h"

#include <deque>
#include <string>
#include <vector>

#include <gtest/gtest.h>

using namespace kf::perfmon;
using journal = std::vector<std::string>;

namespace
{
class noting_port final : public sampling_port
{
public:
    /// Stops at the given question, counted from 1.
    explicit noting_port(int stop_at, std::deque<bool> collects = {})
        : stop_at_(stop_at), collects_(std::move(collects))
    {
    }

    bool stopping() override { return ++asked_ >= stop_at_; }
    void begin_cycle() override { calls.emplace_back("begin"); }
    bool collect() override
    {
        calls.emplace_back("collect");
        if (collects_.empty())
            return true;
        const bool works = collects_.front();
        collects_.pop_front();
        return works;
    }
    process_look look_at_processes() override
    {
        calls.emplace_back("look");
        return {++looks_, {}};
    }
    void store_processes(const process_look& before, const process_look& after) override
    {
        calls.push_back("processes " + std::to_string(before.clock) + " to " + std::to_string(after.clock));
    }
    void store_counters() override { calls.emplace_back("counters"); }
    void pause() override { calls.emplace_back("pause"); }

    journal calls;

private:
    int stop_at_, asked_ = 0;
    std::int64_t looks_ = 0;
    std::deque<bool> collects_;
};
} // namespace

TEST(Sample, DoesNothingOnceItIsToStop)
{
    noting_port port(1);
    sample(port);
    EXPECT_EQ(port.calls, journal{});
}

TEST(Sample, MeasuresOverThePauseBetweenTwoCollections)
{
    noting_port port(3);
    sample(port);
    EXPECT_EQ(port.calls, (journal{"begin", "collect", "look", "pause", "look", "processes 1 to 2", "collect",
                                   "counters", "pause"}));
}

TEST(Sample, MeasuresNothingOverAPauseThatWasCutShort)
{
    noting_port port(2);
    sample(port);
    EXPECT_EQ(port.calls, (journal{"begin", "collect", "look", "pause"}));
}

TEST(Sample, PausesAfterEveryFailedCollection)
{
    noting_port port(6, {false, false, false, false, false});
    sample(port);
    journal expected;
    for (int cycle = 0; cycle < 5; ++cycle)
        expected.insert(expected.end(), {"begin", "collect", "pause"});
    EXPECT_EQ(port.calls, expected);
}

TEST(Sample, StoresProcessesButNoCountersWhenTheSecondCollectionFails)
{
    noting_port port(3, {true, false});
    sample(port);
    EXPECT_EQ(port.calls,
              (journal{"begin", "collect", "look", "pause", "look", "processes 1 to 2", "collect", "pause"}));
}
