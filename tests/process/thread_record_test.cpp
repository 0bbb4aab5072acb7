/// Who frees a thread's records, in every order; the address sanitizer counts.

#include <memory>
#include <thread>

#include <gtest/gtest.h>

#include "KFramework/process/thread_record.h"

using namespace KFramework::KProcesses;

TEST(ThreadRecord, IsFreedByTheRoutineWhenTheJoinerLetGoFirst)
{
    KThreadObject* const thread = kf::process::make_thread_records(nullptr);
    void* const start = kf::process::start_of(*thread);
    kf::process::abandon_thread(thread);
    EXPECT_EQ(GetThreadData(start), nullptr); // both records are still there
    EndThread(5, start);
}

TEST(ThreadRecord, IsFreedByTheJoinerWhenTheRoutineEndedFirst)
{
    KThreadObject* const thread = kf::process::make_thread_records(nullptr);
    EndThread(5, kf::process::start_of(*thread));
    EXPECT_EQ(CheckJoinableThread(thread), 1);
    EXPECT_EQ(kf::process::exit_code_of(*thread), 5);
    kf::process::abandon_thread(thread);
}

TEST(ThreadRecord, IsFreedOnceWhenBothLetGoAtTheSameTime)
{
    for (int round = 0; round < 500; ++round)
    {
        KThreadObject* const thread = kf::process::make_thread_records(nullptr);
        void* const start = kf::process::start_of(*thread);
        std::thread routine([=] { EndThread(round, start); });
        kf::process::abandon_thread(thread);
        routine.join();
    }
}

TEST(ThreadRecord, IsFreedByAJoinAfterTheEndWithOrWithoutAMark)
{
    KThreadObject* const marked = kf::process::make_thread_records(nullptr);
    EndThread(1, kf::process::start_of(*marked));
    kf::process::free_thread_records(marked);
    KThreadObject* const killed = kf::process::make_thread_records(nullptr);
    kf::process::free_thread_records(killed);
}

TEST(ThreadRecord, OutlivesAThreadThatWasNeverStarted)
{
    KThreadObject* const thread = kf::process::make_thread_records(nullptr);
    kf::process::forget_routine(*thread);
    EXPECT_EQ(kf::process::start_of(*thread), nullptr);
    EXPECT_EQ(thread->threadHandle, nullptr);
    EXPECT_EQ(CheckJoinableThread(thread), 0);
    kf::process::abandon_thread(thread);
}

TEST(ThreadRecord, MarksTheEndAcrossThreads)
{
    int data = 0;
    KThreadObject* const thread = kf::process::make_thread_records(&data);
    void* const start = kf::process::start_of(*thread);
    EXPECT_EQ(GetThreadData(start), &data);
    EXPECT_EQ(CheckJoinableThread(thread), 0);
    EXPECT_EQ(kf::process::exit_code_of(*thread), 0);
    std::thread routine([=] { EndThread(-7, start); });
    while (CheckJoinableThread(thread) == 0)
        std::this_thread::yield();
    EXPECT_EQ(kf::process::exit_code_of(*thread), -7);
    routine.join();
    kf::process::free_thread_records(thread);
}

TEST(ThreadRecord, TakesNull)
{
    EXPECT_EQ(GetThreadData(nullptr), nullptr);
    EXPECT_EQ(CheckJoinableThread(nullptr), 0);
    EndThread(1, nullptr);
}
