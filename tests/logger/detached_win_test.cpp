#include "tests/logger/clocks_win.h"
#include "tests/logger/logger_fixture_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "KFramework/process.h"

namespace
{
using namespace kf::test;
using namespace KFramework::KLogger;
using clock_type = std::chrono::steady_clock;

using start_thread = uintptr_t __cdecl(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned,
                                       unsigned*);

start_thread* real_start = nullptr;
std::atomic<int> starts{0};

uintptr_t __cdecl count_start(void* security, unsigned stack, unsigned(__stdcall* routine)(void*),
                              void* argument, unsigned flags, unsigned* id)
{
    ++starts;
    return real_start(security, stack, routine, argument, flags, id);
}

uintptr_t __cdecl refuse_start(void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*)
{
    ++starts;
    return 0;
}

class SetLoggerDetachedStatusTest : public LoggerTest
{
protected:
    void add(int line) { AddLogEntry(&logger, kInfo, "Test", "%d", line); }

    void expect_numbers(int count)
    {
        const std::vector<std::string> messages = messages_of(log());
        ASSERT_EQ(messages.size(), static_cast<std::size_t>(count));
        for (int i = 0; i < count; ++i)
            ASSERT_EQ(messages[static_cast<std::size_t>(i)], std::to_string(i));
    }

    std::size_t pending()
    {
        KFramework::KProcesses::LockMutex(logger.queueMutex);
        const std::size_t size = logger.pendingLines.size();
        KFramework::KProcesses::UnlockMutex(logger.queueMutex);
        return size;
    }
};
using FlushDetachedThreadTest = SetLoggerDetachedStatusTest;
using DestroyLoggerDetachedTest = SetLoggerDetachedStatusTest;

TEST_F(SetLoggerDetachedStatusTest, StartsOneThreadHoweverOftenItIsAsked)
{
    create(kInfo, kFile);
    const import_hook hook("_beginthreadex", &count_start);
    real_start = hook.original();
    starts = 0;
    SetLoggerDetachedStatus(&logger, true);
    void* const thread = logger.writerThread;
    EXPECT_NE(thread, nullptr);
    EXPECT_TRUE(logger.detached);
    SetLoggerDetachedStatus(&logger, true);
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(logger.writerThread, thread);
    SetLoggerDetachedStatus(&logger, false);
    SetLoggerDetachedStatus(&logger, false);
    EXPECT_FALSE(logger.detached);
    EXPECT_EQ(logger.writerThread, nullptr);
    SetLoggerDetachedStatus(&logger, true);
    EXPECT_EQ(starts, 2);
}

TEST_F(SetLoggerDetachedStatusTest, StaysDirectWhenTheThreadCannotBeStarted)
{
    create(kInfo, kFile);
    const std::size_t handles = handle_count();
    {
        const import_hook hook("_beginthreadex", &refuse_start);
        SetLoggerDetachedStatus(&logger, true);
    }
    EXPECT_FALSE(logger.detached);
    EXPECT_EQ(logger.writerThread, nullptr);
    EXPECT_EQ(handle_count(), handles);
    for (int i = 0; i < 300; ++i)
        add(i);
    FlushDetachedThread(&logger);
    expect_numbers(300);
    SetLoggerDetachedStatus(&logger, true);
    EXPECT_TRUE(logger.detached);
}

TEST_F(SetLoggerDetachedStatusTest, WritesThreeHundredQuickLinesInOrder)
{
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    FlushDetachedThread(&logger);
    for (int i = 0; i < 300; ++i)
    {
        add(i);
        EXPECT_LE(pending(), 256u);
    }
    FlushDetachedThread(&logger);
    expect_numbers(300);
    EXPECT_EQ(pending(), 0u);
}

TEST_F(SetLoggerDetachedStatusTest, WritesWithoutBeingAsked)
{
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    add(0);
    EXPECT_TRUE(wait_until([this] { return !log().empty(); }));
}

TEST_F(SetLoggerDetachedStatusTest, KeepsUpWithAFlood)
{
    // One batch of 256 per idle pause would take 78 seconds.
    constexpr int kLines = 100'000;
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    const auto begin = clock_type::now();
    for (int i = 0; i < kLines; ++i)
        add(i);
    FlushDetachedThread(&logger);
    const std::chrono::duration<double> taken = clock_type::now() - begin;
    EXPECT_LT(taken, kDeadline);
    RecordProperty("lines_per_second", static_cast<int>(kLines / taken.count()));
    expect_numbers(kLines);
}

TEST_F(SetLoggerDetachedStatusTest, LetsEveryBlockedCallerGoAtOnce)
{
    constexpr int kThreads = 32;
    constexpr int kLines = 600;
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    const auto begin = clock_type::now();
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [this]
            {
                for (int line = 0; line < kLines; ++line)
                    add(line);
            });
    for (std::thread& thread : threads)
        thread.join();
    FlushDetachedThread(&logger);
    EXPECT_LT(clock_type::now() - begin, kDeadline);
    EXPECT_EQ(lines_of(log()).size(), static_cast<std::size_t>(kThreads * kLines));
}

/// Leaves one line queued behind a writer that has been stopped.
///
/// The writer pauses when it finds nothing, and does not look at the queue again once it is to stop. It may by chance
/// wake between the two calls; then the line is written and another try is made.
bool leave_one_line(CKLoggerInstance& logger)
{
    for (int tries = 0; tries < 50; ++tries)
    {
        SetLoggerDetachedStatus(&logger, true);
        FlushDetachedThread(&logger);
        ::Sleep(10); // into the pause
        AddLogEntry(&logger, kInfo, "Test", "left");
        SetLoggerDetachedStatus(&logger, false);
        if (!logger.pendingLines.empty())
            return true;
    }
    return false;
}

// KEPT[stop-leaves-lines]
TEST_F(SetLoggerDetachedStatusTest, LeavesQueuedLinesInTheQueueAndWritesThemAfterTheNextStart)
{
    create(kInfo, kFile);
    ASSERT_TRUE(leave_one_line(logger));
    ASSERT_EQ(logger.pendingLines.size(), 1u);
    EXPECT_EQ(message_of(logger.pendingLines.front()), "left");
    const std::size_t written = lines_of(log()).size();
    AddLogEntry(&logger, kInfo, "Test", "direct");
    EXPECT_EQ(lines_of(log()).size(), written + 1);
    SetLoggerDetachedStatus(&logger, true);
    FlushDetachedThread(&logger);
    EXPECT_EQ(lines_of(log()).size(), written + 2);
    EXPECT_EQ(messages_of(log()).back(), "left");
}

// KEPT[destroy-leaves-lines]
TEST_F(DestroyLoggerDetachedTest, LeavesLinesUnwrittenThatAreQueuedWithoutAWriter)
{
    create(kInfo, kFile);
    ASSERT_TRUE(leave_one_line(logger));
    const std::string before = log();
    destroy();
    EXPECT_EQ(log(), before);
}

TEST_F(SetLoggerDetachedStatusTest, AccountsForEveryLineWhenItStopsUnderAFlood)
{
    constexpr int kThreads = 8;
    constexpr int kLines = 3'000;
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    std::atomic<int> running{kThreads};
    std::vector<std::thread> threads;
    for (int i = 0; i < kThreads; ++i)
        threads.emplace_back(
            [&]
            {
                for (int line = 0; line < kLines; ++line)
                    add(line);
                --running;
            });
    int stops = 0;
    for (; running != 0; ++stops)
    {
        SetLoggerDetachedStatus(&logger, false);
        SetLoggerDetachedStatus(&logger, true);
    }
    for (std::thread& thread : threads)
        thread.join();
    FlushDetachedThread(&logger);
    EXPECT_GT(stops, 0);
    EXPECT_EQ(lines_of(log()).size(), static_cast<std::size_t>(kThreads * kLines));
}

using wait_for_object = DWORD WINAPI(HANDLE, DWORD);

CKLoggerInstance* stopped_logger = nullptr;
void* writer_handle = nullptr;
wait_for_object* real_wait = nullptr;
std::atomic<int> joins{0};
std::atomic<bool> second_returned{false};

/// Lets a second thread stop the logger while the first is about to wait for the writer. A second wait for the same
/// thread is answered with a time-out, so that the record is not freed twice.
DWORD WINAPI stop_again_while_joining(HANDLE handle, DWORD milliseconds)
{
    if (handle != writer_handle)
        return real_wait(handle, milliseconds);
    if (++joins > 1)
        return WAIT_TIMEOUT;
    std::thread second(
        []
        {
            SetLoggerDetachedStatus(stopped_logger, false);
            second_returned = true;
        });
    EXPECT_TRUE(wait_until([] { return second_returned.load(); })) << "the write mutex is held by the join";
    second.join();
    return real_wait(handle, milliseconds);
}

TEST_F(SetLoggerDetachedStatusTest, LeavesTheJoinToTheFirstOfTwoThatStopAtOnce)
{
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    stopped_logger = &logger;
    writer_handle = logger.writerThread->threadHandle;
    joins = 0;
    second_returned = false;
    {
        const import_hook hook("WaitForSingleObject", &stop_again_while_joining);
        real_wait = hook.original();
        SetLoggerDetachedStatus(&logger, false);
    }
    EXPECT_EQ(joins, 1);
    EXPECT_TRUE(second_returned);
    EXPECT_FALSE(logger.detached);
    EXPECT_EQ(logger.writerThread, nullptr);
}

TEST_F(SetLoggerDetachedStatusTest, LeaksNothingWhenTwoStopAtOnce)
{
    create(kInfo, kFile);
    const auto round = [this]
    {
        SetLoggerDetachedStatus(&logger, true);
        std::thread other([this] { SetLoggerDetachedStatus(&logger, false); });
        SetLoggerDetachedStatus(&logger, false);
        other.join();
        EXPECT_FALSE(logger.detached);
    };
    round();
    // A mutex keeps the event it made when it was first contended, hence the allowance; a leak is one each round.
    constexpr std::size_t kRounds = 50;
    const std::size_t before = handle_count();
    for (std::size_t i = 0; i < kRounds; ++i)
        round();
    EXPECT_TRUE(wait_until([before] { return handle_count() < before + kRounds / 2; }))
        << handle_count() << " after " << before;
}

TEST_F(FlushDetachedThreadTest, ReturnsWithEverythingWrittenAndSoon)
{
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    const auto begin = clock_type::now();
    for (int i = 0; i < 200; ++i)
    {
        add(i);
        FlushDetachedThread(&logger);
        ASSERT_EQ(lines_of(log()).size(), static_cast<std::size_t>(i + 1));
    }
    EXPECT_LT(clock_type::now() - begin, kDeadline); // 40 seconds at an idle pause each
}

TEST_F(FlushDetachedThreadTest, ReturnsAtOnceFromADirectLogger)
{
    create(kInfo, kFile);
    FlushDetachedThread(&logger);
}

std::atomic<int> console_flushes{0};

int __cdecl count_flush(FILE* file)
{
    if (file == stdout)
        ++console_flushes;
    return 0;
}

TEST_F(FlushDetachedThreadTest, ReturnsWithTheConsoleFlushed)
{
    create(kInfo, kConsole);
    captured_output console(captured_output::stream::output);
    {
        const import_hook hook("fflush", &count_flush);
        console_flushes = 0;
        add(0);
        add(1);
        EXPECT_EQ(console_flushes, 2) << "a direct logger flushes every line";

        SetLoggerDetachedStatus(&logger, true);
        FlushDetachedThread(&logger);
        console_flushes = 0;
        for (int i = 2; i < 10; ++i)
            add(i);
        FlushDetachedThread(&logger);
        EXPECT_GE(console_flushes, 1) << "a detached logger flushes every batch";
        EXPECT_LE(console_flushes, 8);
    }
    const std::string text = console.text();
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 10);
}

TEST_F(FlushDetachedThreadTest, IsReleasedByAStop)
{
    create(kInfo, kFile);
    for (int i = 0; i < 50; ++i)
    {
        SetLoggerDetachedStatus(&logger, true);
        std::thread waiting([this] { FlushDetachedThread(&logger); });
        SetLoggerDetachedStatus(&logger, false);
        waiting.join();
    }
}

TEST_F(DestroyLoggerDetachedTest, WritesEverythingThatIsQueuedFirst)
{
    create(kInfo, kFile);
    SetLoggerDetachedStatus(&logger, true);
    for (int i = 0; i < 100; ++i)
        add(i);
    destroy();
    expect_numbers(100);
}
} // namespace
