#include "job_board.h"

#include <gtest/gtest.h>

#include <set>

namespace
{
using farm::job_board;
using farm::verdict;

constexpr int kAda = 1;
constexpr int kBob = 2;
} // namespace

TEST(JobBoard, HandsOutEachFrameOnceInOrder)
{
    job_board board(10, 3, 3);
    std::set<unsigned int> tickets;
    for (const int expected : {10, 11, 12})
    {
        const auto given = board.take(kAda, false);
        ASSERT_TRUE(given);
        EXPECT_EQ(given->frame, expected);
        EXPECT_EQ(given->attempt, 1);
        tickets.insert(given->ticket);
    }
    EXPECT_EQ(tickets.size(), 3U);
    EXPECT_FALSE(board.take(kAda, false));
    EXPECT_FALSE(board.complete()) << "three frames still run";
}

TEST(JobBoard, IsCompleteWhenEveryFrameIsDone)
{
    job_board board(1, 2, 3);
    const auto first = board.take(kAda, false);
    const auto second = board.take(kBob, false);
    EXPECT_EQ(board.report(first->ticket, kAda, true).outcome, verdict::accepted);
    EXPECT_FALSE(board.complete());
    EXPECT_EQ(board.report(second->ticket, kBob, true).outcome, verdict::accepted);
    EXPECT_TRUE(board.complete());
    EXPECT_EQ(board.done(), 2);
}

TEST(JobBoard, KeepsAFailedFrameForAnotherWorker)
{
    job_board board(1, 1, 3);
    EXPECT_EQ(board.report(board.take(kAda, false)->ticket, kAda, false).outcome, verdict::retried);
    EXPECT_FALSE(board.take(kAda, false)) << "she failed it";
    const auto again = board.take(kBob, false);
    ASSERT_TRUE(again);
    EXPECT_EQ(again->attempt, 2);
    EXPECT_EQ(board.retries(), 1);
}

TEST(JobBoard, LetsTheOnlyWorkerTryItsOwnFailureAgain)
{
    job_board board(1, 1, 3);
    board.report(board.take(kAda, true)->ticket, kAda, false);
    EXPECT_TRUE(board.take(kAda, true));
}

TEST(JobBoard, GivesAFrameUpAfterTheLastTry)
{
    job_board board(1, 1, 3);
    for (const int worker : {kAda, kBob})
        EXPECT_EQ(board.report(board.take(worker, false)->ticket, worker, false).outcome, verdict::retried);
    EXPECT_EQ(board.report(board.take(kAda, false)->ticket, kAda, false).outcome, verdict::abandoned);
    EXPECT_TRUE(board.complete());
    EXPECT_EQ(board.abandoned(), 1);
    EXPECT_EQ(board.done(), 0);
}

TEST(JobBoard, DropsALateAnswerOfAFrameGivenToSomeoneElse)
{
    job_board board(1, 1, 3);
    const auto lost = board.take(kAda, false);
    ASSERT_EQ(board.lose(kAda).size(), 1U);
    const auto given = board.take(kBob, false);
    ASSERT_TRUE(given);
    EXPECT_EQ(board.report(lost->ticket, kAda, true).outcome, verdict::stale);
    EXPECT_EQ(board.report(given->ticket, kAda, true).outcome, verdict::stale) << "not her ticket";
    EXPECT_FALSE(board.running(lost->ticket, kAda));
    EXPECT_EQ(board.done(), 0);
    EXPECT_EQ(board.report(given->ticket, kBob, true).outcome, verdict::accepted);
    EXPECT_EQ(board.report(given->ticket, kBob, true).outcome, verdict::stale) << "an answer counts once";
    EXPECT_EQ(board.done(), 1);
}

TEST(JobBoard, CountsALostFrameAsAFailedTry)
{
    job_board board(1, 1, 1);
    ASSERT_TRUE(board.take(kAda, false));
    const auto rulings = board.lose(kAda);
    ASSERT_EQ(rulings.size(), 1U);
    EXPECT_EQ(rulings.front().outcome, verdict::abandoned);
    EXPECT_TRUE(board.complete());
}

TEST(JobBoard, TellsWhichFramesBecameWhat)
{
    job_board board(1, 4, 1);
    const auto first = board.take(kAda, false);
    const auto second = board.take(kAda, false);
    static_cast<void>(board.take(kBob, false));
    board.report(first->ticket, kAda, true);
    board.report(second->ticket, kAda, false);
    EXPECT_EQ(board.done_frames(), std::set<int>{1});
    EXPECT_EQ(board.abandoned_frames(), std::set<int>{2});
    EXPECT_EQ(board.missing_frames(), (std::set<int>{3, 4})) << "one runs, one waits";
}
