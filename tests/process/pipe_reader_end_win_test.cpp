/// How a pipe reader is stopped, called off, killed and given back.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/read_pipe_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using kf::test::handle_count;
using kf::test::import_hook;
using kf::test::kReaderChunk;
using kf::test::read_pipe;
using kf::test::wait_until;
using kf::test::waiting;
} // namespace

// KEPT[reader-no-draining]
TEST(TerminatePipeReader, StopsAtTheNextCheckWithoutDraining)
{
    for (const bool abort : {false, true})
    {
        static std::atomic<KPipeReader*> held = nullptr;
        static std::atomic<bool> looking = false;
        held = nullptr;
        looking = false;
        read_pipe pipe(nullptr);
        const std::string sent(kReaderChunk + 1000, 'a');
        std::thread writer(
            [&] { WritePipe(pipe.pipes->stdoutWrite, sent.data(), static_cast<unsigned int>(sent.size())); });
        EXPECT_TRUE(wait_until([&] { return waiting(pipe.pipes->stdoutRead) == sent.size(); }));
        // Holds the reader between its check and its look at the pipe until it is told to stop.
        const import_hook hook(
            "PeekNamedPipe",
            +[](HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, LPDWORD count,
                LPDWORD left) -> BOOL WINAPI
            {
                looking = true;
                EXPECT_TRUE(wait_until(
                    []
                    {
                        KPipeReader* const reader = held;
                        return reader != nullptr && (std::atomic_ref(reader->stopRequested).load() ||
                                                     std::atomic_ref(reader->abortRequested).load());
                    }));
                return ::PeekNamedPipe(file, buffer, size, read, count, left);
            });
        pipe.start(0);
        held = pipe.reader;
        EXPECT_TRUE(wait_until([] { return looking.load(); }));
        TerminatePipeReader(pipe.reader, abort);
        EXPECT_EQ(pipe.reader->stopRequested, !abort);
        EXPECT_EQ(pipe.reader->abortRequested, abort);
        EXPECT_EQ(PoolPipeReader(pipe.reader).size(), kReaderChunk); // one read, and the rest is left
        EXPECT_EQ(waiting(pipe.pipes->stdoutRead), 1000u);
        ClosePipeHandle(
            std::exchange(pipe.pipes->stdoutRead, nullptr)); // sets a writer free that still waits
        writer.join();
    }
}

TEST(TerminatePipeReader, MayBeCalledTwice)
{
    read_pipe pipe;
    TerminatePipeReader(pipe.reader, false);
    // Forgotten here too, so that a failure is no second join of a freed record.
    EXPECT_EQ(std::exchange(pipe.reader->thread, nullptr), nullptr);
    TerminatePipeReader(pipe.reader, true);
    EXPECT_TRUE(pipe.reader->abortRequested);
}

namespace
{
/// A read that hangs until the event is set, and what is done about it.
HANDLE release_read = nullptr;
std::atomic<bool> read_hangs = false;
std::atomic<int> cancelled = 0;
std::atomic<int> killed = 0;
std::mutex joins_mutex;
std::vector<DWORD> joins;

BOOL WINAPI hang(HANDLE, LPVOID, DWORD, LPDWORD taken, LPOVERLAPPED)
{
    read_hangs = true;
    ::WaitForSingleObject(release_read, INFINITE);
    *taken = 0;
    ::SetLastError(ERROR_OPERATION_ABORTED);
    return FALSE;
}

DWORD longest_brief_wait = 0;

/// Waits that would be long end soon.
DWORD WINAPI impatient(HANDLE handle, DWORD time)
{
    if (handle == release_read)
        return ::WaitForSingleObject(handle, time);
    const std::lock_guard lock(joins_mutex);
    joins.push_back(time);
    return ::WaitForSingleObject(handle, time == 10000 ? 50 : std::min(time, longest_brief_wait));
}

BOOL WINAPI note_kill(HANDLE thread, DWORD code)
{
    ++killed;
    return ::TerminateThread(thread, code);
}

void prepare_hang(DWORD brief_wait = INFINITE)
{
    longest_brief_wait = brief_wait;
    release_read = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    read_hangs = false;
    cancelled = 0;
    killed = 0;
    joins.clear();
}
} // namespace

TEST(TerminatePipeReader, CallsOffAReadThatHangsBeforeAnythingElse)
{
    prepare_hang();
    read_pipe pipe(nullptr);
    pipe.write("x");
    const import_hook read("ReadFile", &hang);
    const import_hook wait("WaitForSingleObject", &impatient);
    const import_hook kill("TerminateThread", &note_kill);
    const import_hook cancel(
        "CancelSynchronousIo",
        +[](HANDLE) -> BOOL WINAPI
        {
            ++cancelled;
            return ::SetEvent(release_read);
        });
    pipe.start(0);
    ASSERT_TRUE(wait_until([] { return read_hangs.load(); }));
    TerminatePipeReader(pipe.reader, false);
    EXPECT_EQ(cancelled, 1);
    EXPECT_EQ(killed, 0);
    EXPECT_EQ(joins, (std::vector<DWORD>{10000, 1000}));
    ::CloseHandle(release_read);
}

TEST(TerminatePipeReader, KillsAThreadThatStillHangsAndFreesItsRecord)
{
    prepare_hang();
    const std::size_t before = handle_count();
    {
        read_pipe pipe(nullptr);
        pipe.write("x");
        const import_hook read("ReadFile", &hang);
        const import_hook wait("WaitForSingleObject", &impatient);
        const import_hook kill("TerminateThread", &note_kill);
        const import_hook cancel(
            "CancelSynchronousIo",
            +[](HANDLE) -> BOOL WINAPI
            {
                ++cancelled;
                return FALSE;
            });
        pipe.start(0);
        ASSERT_TRUE(wait_until([] { return read_hangs.load(); }));
        TerminatePipeReader(pipe.reader, false);
        EXPECT_EQ(cancelled, 1);
        EXPECT_EQ(killed, 1);
        EXPECT_EQ(joins, (std::vector<DWORD>{10000, 1000, 1000}));
        EXPECT_EQ(pipe.reader->thread, nullptr);
        EXPECT_EQ(PoolPipeReader(pipe.reader), ""); // the mutex is free
    }
    EXPECT_EQ(handle_count(), before);
    ::CloseHandle(release_read);
}

TEST(TerminatePipeReader, IsNotHeldUpByAThreadThatCannotBeKilled)
{
    prepare_hang(50);
    read_pipe pipe(nullptr);
    pipe.write("x");
    const import_hook read("ReadFile", &hang);
    const import_hook kill(
        "TerminateThread", +[](HANDLE, DWORD) -> BOOL WINAPI { return FALSE; });
    const import_hook cancel(
        "CancelSynchronousIo", +[](HANDLE) -> BOOL WINAPI { return FALSE; });
    pipe.start(0);
    ASSERT_TRUE(wait_until([] { return read_hangs.load(); }));
    {
        const import_hook wait("WaitForSingleObject", &impatient);
        TerminatePipeReader(pipe.reader, false);
    }
    EXPECT_EQ(joins, (std::vector<DWORD>{10000, 1000, 1000}));
    EXPECT_NE(pipe.reader->thread, nullptr);
    ::SetEvent(release_read);
    TerminatePipeReader(pipe.reader, false); // it has come back: joined after all
    EXPECT_EQ(pipe.reader->thread, nullptr);
    ::CloseHandle(release_read);
}

TEST(TerminatePipeReader, StandsAThreadThatCouldNotBeStarted)
{
    read_pipe pipe(nullptr);
    {
        const import_hook hook(
            "_beginthreadex",
            +[](void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) -> std::uintptr_t
            { return 0; });
        pipe.start(0);
    }
    TerminatePipeReader(pipe.reader, false);
    EXPECT_EQ(pipe.reader->thread, nullptr);
}

TEST(DestroyPipeReader, GivesBackEverythingOfAHundredReaders)
{
    {
        const read_pipe first;
    }
    const std::size_t before = handle_count();
    {
        std::vector<std::unique_ptr<read_pipe>> readers;
        for (int i = 0; i < 100; ++i)
            readers.push_back(std::make_unique<read_pipe>(i % 2));
        for (const auto& pipe : readers)
            pipe->write("some text");
        for (const auto& pipe : readers)
            pipe->close_writer(); // so that they end side by side
    }
    EXPECT_EQ(handle_count(), before);
}

TEST(PipeReader, TakesNull)
{
    EXPECT_EQ(PoolPipeReader(nullptr), "");
    TerminatePipeReader(nullptr, false);
    DestroyPipeReader(nullptr);
}
