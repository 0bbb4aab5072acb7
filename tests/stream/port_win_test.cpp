#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/manual_port_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

namespace
{

using namespace kf::test;

class Shutdown : public OnPort
{
};
class Close : public OnPort
{
};

TEST(PortLoop, CarriesMessagesBothWays)
{
    const winsock_session winsock;
    std::mutex mutex;
    std::vector<std::string> seen;
    port_loop loop(
        [&](CKSocketStream& stream, const port_loop::message& one)
        {
            if (one.command == 1)
                stream.AddMessage(2, ("echo " + one.text).c_str(), one.parameter + 1, false, false);
            const std::lock_guard lock(mutex);
            seen.push_back(std::to_string(one.command) + "/" + std::to_string(one.parameter) + "/" +
                           one.text);
        });
    socket_pair pair;
    CKSocketStream& client = loop.add(pair.release_first());
    loop.add(pair.release_second());

    EXPECT_TRUE(client.AddMessage(1, "hello", 6, false, false));
    EXPECT_TRUE(wait_until(
        [&]
        {
            const std::lock_guard lock(mutex);
            return seen.size() == 2;
        }));
    EXPECT_EQ(seen, (std::vector<std::string>{"1/6/hello", "2/7/echo hello"}));
    loop.stop();
    EXPECT_EQ(loop.close_records(), 2);
}

/// Lets the mutex pool, which never shrinks, grow beyond what the test needs at once.
void grow_mutex_pool()
{
    std::vector<CKSocketStream> streams(16);
    for (CKSocketStream& stream : streams)
        stream.LockRead();
    for (CKSocketStream& stream : streams)
        stream.UnlockRead();
}

TEST(PortLoop, GivesBackEveryHandle)
{
    const winsock_session winsock;
    grow_mutex_pool();
    const auto once = []
    {
        std::atomic<int> arrived = 0;
        port_loop loop([&](CKSocketStream&, const port_loop::message&) { ++arrived; });
        for (int i = 0; i < 5; ++i)
        {
            socket_pair pair;
            CKSocketStream& one = loop.add(pair.release_first());
            CKSocketStream& two = loop.add(pair.release_second());
            one.AddMessage(1, "there", 0, false, false);
            two.AddMessage(1, "back", 0, false, false);
        }
        EXPECT_TRUE(wait_until([&] { return arrived == 10; }));
    };
    once(); // what the runtime keeps for itself
    const std::size_t before = handle_count();
    for (int i = 0; i < 5; ++i)
        once();
    // The global mutex lives on and makes its event when two threads first meet there.
    EXPECT_TRUE(wait_until([&] { return handle_count() <= before + 1; }))
        << handle_count() << " instead of " << before;
}

// KEPT[shutdown-not-disconnected]
TEST_F(Shutdown, PostsOneCloseRecordAndLeavesTheStreamWithoutAPort)
{
    stream_->Shutdown();
    EXPECT_EQ(stream_->completionPort, nullptr);
    EXPECT_FALSE(stream_->IsDisconnected());
    EXPECT_EQ(stream_->GetSocket(), socket_);
    EXPECT_EQ(receive_exactly(pair_.second(), 1), ""); // both directions are shut
    const std::optional<completion> one = port_.next();
    ASSERT_TRUE(one);
    EXPECT_EQ(one->stream, stream_.get());
    EXPECT_EQ(one->record->event, KFramework::KSocket::kSocketIOClose);
    EXPECT_FALSE(one->record->isMarked());
    EXPECT_EQ(one->bytes, 0U);
    delete one->record;

    stream_->Shutdown();
    EXPECT_EQ(port_.take_close_records(), 0);
    EXPECT_EQ(stream_->Close(), 0);
    EXPECT_EQ(port_.take_close_records(), 0);
}

TEST_F(Shutdown, DoesNothingWithoutASocket)
{
    stream_->UnbindSocket();
    stream_->Shutdown();
    EXPECT_EQ(stream_->completionPort, port_.get());
    EXPECT_EQ(port_.take_close_records(), 0);
    stream_->BindSocket(socket_);
}

TEST_F(Shutdown, PostsOneRecordWhenManyThreadsRace)
{
    for (int round = 0; round < 30; ++round)
    {
        CKSocketStream stream;
        socket_pair pair;
        stream.BindSocket(pair.release_first());
        stream.RegisterCompletionPort(port_.get());
        std::atomic<bool> go = false;
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i)
            threads.emplace_back(
                [&, i]
                {
                    while (!go)
                        std::this_thread::yield();
                    if (i % 2 == 0)
                        stream.Shutdown();
                    else
                        stream.Close();
                });
        go = true;
        for (std::thread& thread : threads)
            thread.join();
        EXPECT_EQ(port_.take_close_records(), 1);
        EXPECT_EQ(stream.GetSocket(), INVALID_SOCKET);
    }
}

void* refused_record = nullptr;
int freed_records = 0;
void (*free_block)(void*, std::size_t) = nullptr;

TEST_F(Shutdown, FreesTheRecordThatTheSystemDoesNotTake)
{
    refused_record = nullptr;
    freed_records = 0;
    const import_hook post(
        "PostQueuedCompletionStatus",
        +[](HANDLE, DWORD, ULONG_PTR, OVERLAPPED* record) WINAPI -> BOOL
        {
            refused_record = record;
            return FALSE;
        });
    const import_hook release(
        "_ZdlPvy", // operator delete with a size
        +[](void* block, std::size_t size)
        {
            freed_records += block == refused_record && block != nullptr ? 1 : 0;
            free_block(block, size);
        });
    free_block = release.original();
    stream_->Shutdown();
    EXPECT_NE(refused_record, nullptr);
    EXPECT_EQ(freed_records, 1);
    EXPECT_EQ(stream_->completionPort, nullptr);
}

// KEPT[close-result]
TEST_F(Close, PostsTheRecordAndForgetsSocketAndPort)
{
    EXPECT_EQ(stream_->Close(), 0);
    EXPECT_EQ(stream_->GetSocket(), INVALID_SOCKET);
    EXPECT_EQ(stream_->completionPort, nullptr);
    EXPECT_FALSE(stream_->IsDisconnected());
    EXPECT_EQ(port_.take_close_records(), 1);
    EXPECT_EQ(stream_->Close(), 0);
    EXPECT_EQ(port_.take_close_records(), 0);
    EXPECT_EQ(receive_exactly(pair_.second(), 1), "");
}

TEST_F(Close, PostsNothingWithoutASocket)
{
    stream_->UnbindSocket();
    EXPECT_EQ(stream_->Close(), 0);
    EXPECT_EQ(port_.take_close_records(), 0);
    EXPECT_EQ(stream_->completionPort, port_.get());
    stream_->BindSocket(socket_);
}

TEST_F(Close, EndsAnOutstandingReceiveWithAFailure)
{
    stream_->SetupReadEvent();
    EXPECT_FALSE(port_.next(50));
    stream_->Close();
    int failed = 0;
    int closed = 0;
    for (int i = 0; i < 2; ++i)
    {
        const std::optional<completion> one = port_.next();
        ASSERT_TRUE(one);
        if (one->record->event == KFramework::KSocket::kSocketIOClose)
        {
            ++closed;
            delete one->record;
        }
        else
        {
            failed += one->good ? 0 : 1;
        }
    }
    EXPECT_EQ(failed, 1);
    EXPECT_EQ(closed, 1);
}

std::atomic<bool> inside = false;
std::atomic<bool> may_leave = false;
std::atomic<int> closed_inside = 0;
int(PASCAL* real_close)(SOCKET) = nullptr;

TEST_F(Close, WaitsForAThreadThatIsPosting)
{
    inside = false;
    may_leave = false;
    closed_inside = 0;
    const import_hook receive(
        "WSARecv",
        +[](SOCKET, WSABUF*, DWORD, DWORD*, DWORD*, WSAOVERLAPPED*, LPWSAOVERLAPPED_COMPLETION_ROUTINE)
             PASCAL -> int
        {
            inside = true;
            while (!may_leave)
                std::this_thread::yield();
            inside = false;
            ::WSASetLastError(WSAECONNRESET);
            return SOCKET_ERROR;
        });
    const import_hook close(
        "closesocket",
        +[](SOCKET socket) PASCAL -> int
        {
            closed_inside += inside ? 1 : 0;
            return real_close(socket);
        });
    real_close = close.original();
    std::thread poster([&] { stream_->SetupReadEvent(); });
    ASSERT_TRUE(wait_until([] { return inside.load(); }));
    std::thread closer([&] { stream_->Close(); });
    EXPECT_TRUE(wait_until([&] { return stream_->GetSocket() == INVALID_SOCKET; }))
        << "the handle goes out of sight first";
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    EXPECT_EQ(stream_->completionPort, port_.get()) << "Close has not gone on";
    may_leave = true;
    poster.join();
    closer.join();
    EXPECT_EQ(closed_inside, 0);
    EXPECT_EQ(port_.take_close_records(), 1);
}

TEST_F(Close, DoesNotWaitForABlockingRead)
{
    CKSocketStream polled;
    socket_pair pair;
    polled.BindSocket(pair.release_first());
    std::thread reader([&] { EXPECT_EQ(polled.Read(), 0); });
    std::this_thread::sleep_for(std::chrono::milliseconds(100)); // the reader is in recv, most likely
    EXPECT_EQ(polled.Close(), 0);
    pair.close_second();
    reader.join();
}

TEST_F(Close, LetsAConnectionBeMadeAgain)
{
    stream_->Close();
    EXPECT_EQ(port_.take_close_records(), 1);
    socket_pair again;
    stream_->BindSocket(again.release_first());
    stream_->RegisterCompletionPort(port_.get());
    stream_->SetupReadEvent();
    ASSERT_TRUE(send_all(again.second(), "again"));
    complete_read();
    EXPECT_STREQ(stream_->receiveBuffer, "again");
    again.close_second();
}

} // namespace
