#include "KFramework/logger/detached_lines.h"

#include "tests/support/deadline.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace
{
using namespace kf::logger;
using namespace KFramework::KProcesses;
using kf::test::kDeadline;
using kf::test::wait_until;

class collecting_port final : public writer_port
{
public:
    void write(std::string& line) override
    {
        if (before_write)
            before_write();
        lines.push_back(line);
        written = lines.size();
        line.clear();
    }
    void flush_console() override { ++flushes; }

    std::function<void()> before_write;
    std::vector<std::string> lines; // the writer's, until it has ended
    std::atomic<std::size_t> written{0};
    std::atomic<int> flushes{0};
};

/// The parts of a logger that the queue uses, and a writer on a thread.
class DetachedLinesTest : public testing::Test
{
protected:
    DetachedLinesTest()
    {
        logger.queueMutex = CreateMutexW();
        logger.flushConditional = CreateConditional(logger.queueMutex);
        logger.hidden = new instance_state;
        logger.hidden->writer.wake = CreateConditional(logger.queueMutex);
    }

    ~DetachedLinesTest() override
    {
        stop();
        DestroyConditional(logger.hidden->writer.wake);
        delete logger.hidden;
        DestroyConditional(logger.flushConditional);
        DestroyMutex(logger.queueMutex);
    }

    void start()
    {
        store(logger.stopRequested, false);
        {
            const mutex_lock lock(logger.queueMutex);
            logger.hidden->writer.running = true;
        }
        writer = std::thread([this] { run_writer(logger, port); });
    }

    void stop()
    {
        if (!writer.joinable())
            return;
        request_stop(logger);
        writer.join();
    }

    bool queue(std::string line) { return queue_line(logger, line); }

    std::size_t pending()
    {
        const mutex_lock lock(logger.queueMutex);
        return logger.pendingLines.size();
    }

    unsigned int waiters()
    {
        const mutex_lock lock(logger.queueMutex);
        return logger.hidden->writer.waiters;
    }

    CKLoggerInstance logger;
    collecting_port port;
    std::thread writer;
};

TEST_F(DetachedLinesTest, RefusesALineWhenNoWriterRuns)
{
    std::string line = "kept";
    EXPECT_FALSE(queue_line(logger, line));
    EXPECT_EQ(line, "kept");
    EXPECT_EQ(pending(), 0u);
    wait_until_drained(logger); // returns: nobody would ever end it
}

TEST_F(DetachedLinesTest, WritesInOrderAndReturnsFromADrainWithEverythingWritten)
{
    start();
    for (int round = 0; round < 20; ++round)
    {
        for (int i = 0; i < 10; ++i)
            ASSERT_TRUE(queue(std::to_string(round * 10 + i)));
        wait_until_drained(logger);
        EXPECT_EQ(port.written, static_cast<std::size_t>(round + 1) * 10);
    }
    stop();
    for (std::size_t i = 0; i < port.lines.size(); ++i)
        EXPECT_EQ(port.lines[i], std::to_string(i));
}

TEST_F(DetachedLinesTest, FlushesTheConsoleOncePerPassThatWroteSomething)
{
    for (int i = 0; i < 50; ++i)
        logger.pendingLines.push_back("before the start");
    start();
    wait_until_drained(logger);
    EXPECT_EQ(port.written, 50u);
    EXPECT_EQ(port.flushes, 1);
    wait_until_drained(logger);
    EXPECT_EQ(port.flushes, 1);
}

TEST_F(DetachedLinesTest, WritesWithoutBeingWokenWithinItsIdlePause)
{
    start();
    ASSERT_TRUE(queue("alone"));
    EXPECT_TRUE(wait_until([this] { return port.written == 1; }));
}

TEST_F(DetachedLinesTest, WakesTheWriterInsteadOfSufferingItsPause)
{
    start();
    wait_until_drained(logger);
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 100; ++i)
        wait_until_drained(logger);
    const auto taken = std::chrono::steady_clock::now() - begin;
    EXPECT_LT(taken, std::chrono::milliseconds(100 * kIdlePauseMs / 2));
}

TEST_F(DetachedLinesTest, TakesTwoHundredAndFiftySixLinesAndMakesTheNextCallerWait)
{
    logger.hidden->writer.running = true; // not yet: the queue only fills
    std::thread producer(
        [this]
        {
            for (int i = 0; i < 257; ++i)
                EXPECT_TRUE(queue(std::to_string(i)));
        });
    EXPECT_TRUE(wait_until([this] { return waiters() == 1; }));
    EXPECT_EQ(pending(), 256u);
    start();
    producer.join();
    wait_until_drained(logger);
    EXPECT_EQ(port.written, 257u);
}

TEST_F(DetachedLinesTest, SignalsTheFlushConditionalInEveryIdlePass)
{
    start();
    for (int i = 0; i < 3; ++i)
    {
        // A host may wait on the public conditional by itself: it is not counted as a waiter.
        const mutex_lock lock(logger.queueMutex);
        EXPECT_TRUE(WaitTimedConditional(logger.flushConditional,
                                         static_cast<int>(std::chrono::milliseconds(kDeadline).count())));
    }
}

TEST_F(DetachedLinesTest, BlocksAtTheBoundUntilTheQueueIsDrained)
{
    std::atomic<bool> hold{true};
    std::atomic<bool> writing{false};
    port.before_write = [&]
    {
        writing = true;
        while (hold)
            std::this_thread::yield();
    };
    start();
    std::size_t most = 0;
    std::thread producer(
        [&]
        {
            for (int i = 0; i < 2000; ++i)
            {
                queue(std::to_string(i));
                most = std::max(most, pending());
            }
        });
    ASSERT_TRUE(wait_until([&] { return writing.load(); })); // the writer holds the queue, the producer waits
    hold = false;
    producer.join();
    wait_until_drained(logger);
    stop();
    ASSERT_EQ(port.lines.size(), 2000u);
    for (std::size_t i = 0; i < port.lines.size(); ++i)
        ASSERT_EQ(port.lines[i], std::to_string(i));
    EXPECT_LE(most, kMaxPendingLines + 1);
}

TEST_F(DetachedLinesTest, KeepsEveryThreadsOrderAndLosesNothing)
{
    constexpr int kThreads = 8;
    constexpr int kLines = 1000;
    start();
    std::vector<std::thread> producers;
    for (int thread = 0; thread < kThreads; ++thread)
        producers.emplace_back(
            [this, thread]
            {
                for (int i = 0; i < kLines; ++i)
                    ASSERT_TRUE(queue(std::to_string(thread) + ":" + std::to_string(i)));
            });
    for (std::thread& producer : producers)
        producer.join();
    wait_until_drained(logger);
    stop();
    std::map<std::string, int> next;
    for (const std::string& line : port.lines)
    {
        const std::size_t colon = line.find(':');
        ASSERT_EQ(line.substr(colon + 1), std::to_string(next[line.substr(0, colon)]++));
    }
    EXPECT_EQ(port.lines.size(), static_cast<std::size_t>(kThreads * kLines));
}

TEST_F(DetachedLinesTest, ReleasesEveryWaiterAtOnce)
{
    constexpr unsigned int kWaiters = 32;
    logger.hidden->writer.running = true; // not yet: they all wait
    std::vector<std::thread> waiting;
    for (unsigned int i = 0; i < kWaiters; ++i)
        waiting.emplace_back([this] { wait_until_drained(logger); });
    ASSERT_TRUE(wait_until([this] { return waiters() == kWaiters; }));
    start();
    const auto begin = std::chrono::steady_clock::now();
    for (std::thread& waiter : waiting)
        waiter.join();
    // One for each idle pause would take twice as long.
    EXPECT_LT(std::chrono::steady_clock::now() - begin,
              std::chrono::milliseconds(kWaiters * kIdlePauseMs / 2));
}

TEST_F(DetachedLinesTest, IgnoresSpuriousSignals)
{
    logger.hidden->writer.running = true; // not yet: nothing but a spurious signal can end the wait
    ASSERT_TRUE(queue("line"));
    std::atomic<bool> returned{false};
    std::thread waiting(
        [&]
        {
            wait_until_drained(logger);
            returned = true;
        });
    ASSERT_TRUE(wait_until([this] { return waiters() == 1; }));
    for (int i = 0; i < 1000; ++i)
    {
        BroadcastSignalConditional(logger.flushConditional);
        std::this_thread::sleep_for(std::chrono::microseconds(50));
    }
    bool returned_early = true;
    port.before_write = [&] { returned_early = returned; };
    start();
    waiting.join();
    EXPECT_FALSE(returned_early);
}

// KEPT[stop-leaves-lines]
TEST_F(DetachedLinesTest, LeavesWhatIsQueuedWhenItStopsAndWritesItAfterTheNextStart)
{
    logger.hidden->writer.running = true;
    ASSERT_TRUE(queue("left"));
    request_stop(logger);
    run_writer(logger, port);
    EXPECT_EQ(pending(), 1u);
    EXPECT_TRUE(port.lines.empty());
    start();
    wait_until_drained(logger);
    EXPECT_EQ(port.written, 1u);
}

TEST_F(DetachedLinesTest, StopReleasesCallersThatWaitAtTheBound)
{
    constexpr unsigned int kCallers = 8;
    // The writer is marked as running but not started: the callers really wait.
    logger.hidden->writer.running = true;
    for (std::size_t i = 0; i < kMaxPendingLines; ++i)
        logger.pendingLines.push_back("old");
    std::atomic<int> refused{0};
    std::vector<std::thread> callers;
    for (unsigned int i = 0; i < kCallers; ++i)
        callers.emplace_back(
            [&]
            {
                if (!queue("new"))
                    ++refused;
            });
    ASSERT_TRUE(wait_until([this] { return waiters() == kCallers; }));
    request_stop(logger);
    run_writer(logger, port); // finds stop requested and goes
    for (std::thread& caller : callers)
        caller.join();
    EXPECT_EQ(refused, static_cast<int>(kCallers)) << "their lines are theirs to write";
    EXPECT_EQ(pending(), kMaxPendingLines);
}

TEST_F(DetachedLinesTest, StopEndsTheIdlePause)
{
    const auto begin = std::chrono::steady_clock::now();
    for (int i = 0; i < 50; ++i)
    {
        start();
        wait_until_drained(logger);
        stop();
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::milliseconds(50 * kIdlePauseMs / 2));
}
} // namespace
