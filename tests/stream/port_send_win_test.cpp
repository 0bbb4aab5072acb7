#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/manual_port_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

namespace
{

using namespace kf::test;

class IOCPSend : public OnPort
{
protected:
    /// Reads as the peer until everything has come, completing sends meanwhile.
    std::string receive_all(std::size_t count)
    {
        std::string bytes;
        std::thread peer([&] { bytes = receive_exactly(pair_.second(), count); });
        while (stream_->sendFill != 0 || stream_->writeEvent.isMarked())
            complete_send();
        peer.join();
        return bytes;
    }
};

TEST_F(IOCPSend, SendsEachMessageAtOnce)
{
    unsigned long long sent = 0;
    stream_->RegisterCounters(&sent, nullptr);
    ASSERT_TRUE(stream_->AddMessage(1, "text", 2, false, false));
    EXPECT_TRUE(stream_->writeEvent.isMarked());
    EXPECT_EQ(receive_exactly(pair_.second(), 17), frame(1, "text", 2));
    EXPECT_EQ(stream_->sendFill, 17U) << "only the host counts what was sent";
    complete_send();
    EXPECT_EQ(stream_->sendFill, 0U);
    EXPECT_FALSE(stream_->writeEvent.isMarked());
    EXPECT_EQ(sent, 17U);
}

TEST_F(IOCPSend, PostsNothingWhenNothingIsQueued)
{
    stream_->IOCPSend();
    EXPECT_FALSE(stream_->writeEvent.isMarked());
    EXPECT_FALSE(port_.next(0));
}

TEST_F(IOCPSend, PostsNothingWhileASendIsOutstanding)
{
    static std::atomic<int> sends = 0;
    static std::atomic<void*> real = nullptr;
    using send_function =
        int PASCAL(SOCKET, WSABUF*, DWORD, DWORD*, DWORD, WSAOVERLAPPED*, LPWSAOVERLAPPED_COMPLETION_ROUTINE);
    sends = 0;
    const import_hook hook(
        "WSASend",
        +[](SOCKET s, WSABUF* buffers, DWORD n, DWORD* sent, DWORD flags, WSAOVERLAPPED* record,
            LPWSAOVERLAPPED_COMPLETION_ROUTINE routine) PASCAL -> int
        {
            ++sends;
            return reinterpret_cast<send_function*>(real.load())(s, buffers, n, sent, flags, record, routine);
        });
    real = reinterpret_cast<void*>(hook.original());

    ASSERT_TRUE(stream_->AddMessage(1, "one", 0, false, false));
    ASSERT_TRUE(stream_->AddMessage(2, "two", 0, false, false));
    ASSERT_TRUE(stream_->AddMessage(3, "three", 0, false, false));
    stream_->IOCPSend();
    EXPECT_EQ(sends, 1);
    EXPECT_TRUE(log_.lines().empty());
    complete_send();
    EXPECT_EQ(sends, 2) << "one send carries everything queued";
    complete_send();
    EXPECT_EQ(sends, 2);
    EXPECT_EQ(receive_exactly(pair_.second(), 50), frame(1, "one") + frame(2, "two") + frame(3, "three"));
}

TEST_F(IOCPSend, SurvivesGrowthUnderAPendingSend)
{
    std::string all = fill_pipe();
    ASSERT_TRUE(stream_->writeEvent.isMarked());
    const char* const posted = stream_->sendBuffer;
    int grown = 0;
    for (unsigned int i = 0; grown < 20; ++i)
    {
        const unsigned long long before = stream_->sendCapacity;
        const std::string text = incompressible_text(50000, i + 7);
        ASSERT_TRUE(stream_->AddMessage(i, text.c_str(), i, false, true));
        all += frame(i, text, i);
        grown += stream_->sendCapacity != before ? 1 : 0;
    }
    EXPECT_NE(stream_->sendBuffer, posted);
    EXPECT_TRUE(receive_all(all.size()) == all);
    EXPECT_EQ(stream_->sendFill, 0U);
}

TEST_F(IOCPSend, SendsTheOldBytesAndThenTheNewWhenBuffersAreClearedMeanwhile)
{
    const std::string before = fill_pipe();
    ASSERT_TRUE(stream_->AddMessage(98, "queued behind the send, never posted", 0, false, true));
    stream_->ClearBuffers();
    EXPECT_EQ(stream_->sendFill, 0U);
    ASSERT_TRUE(stream_->AddMessage(99, "after", 0, false, true));
    const std::string after = frame(99, "after");
    EXPECT_EQ(std::string(stream_->sendBuffer, stream_->sendFill), after);

    EXPECT_TRUE(receive_all(before.size() + after.size()) == before + after);
    stream_->LockWrite(); // the completion of the cleared send has not left it held
    stream_->UnlockWrite();
    ASSERT_TRUE(stream_->AddMessage(100, "more", 0, false, false));
    complete_send();
    EXPECT_EQ(receive_exactly(pair_.second(), frame(100, "more").size()), frame(100, "more"));
}

// KEPT[oversized-decrement-keeps-lock]
TEST_F(IOCPSend, ForgivesExactlyOneCompletionAfterAClear)
{
    ASSERT_TRUE(stream_->AddMessage(1, "one", 0, false, false));
    stream_->ClearBuffers();
    complete_send();
    ASSERT_TRUE(stream_->AddMessage(2, "two", 0, false, false));
    const std::optional<completion> one = port_.next();
    ASSERT_TRUE(one);
    stream_->DecrementSentBytes(one->bytes + 1, true); // too many now: the lock stays held
    std::atomic<bool> entered = false;
    std::thread other(
        [&]
        {
            stream_->LockWrite();
            entered = true;
            stream_->UnlockWrite();
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_FALSE(entered);
    stream_->UnlockWrite();
    other.join();
}

TEST_F(IOCPSend, ForgivesTheCompletionAlsoAfterTwoClears)
{
    ASSERT_TRUE(stream_->AddMessage(1, "one", 0, false, false));
    stream_->ClearBuffers();
    stream_->ClearBuffers();
    complete_send();
    std::atomic<bool> entered = false;
    std::thread other(
        [&]
        {
            stream_->LockWrite();
            entered = true;
            stream_->UnlockWrite();
        });
    const bool free = wait_until([&] { return entered.load(); });
    EXPECT_TRUE(free) << "the completion has left the lock held";
    if (!free)
        stream_->UnlockWrite();
    other.join();
}

TEST_F(IOCPSend, KeepsAPolledWriteApartFromAClearedSend)
{
    ASSERT_TRUE(stream_->AddMessage(1, "one", 0, false, false));
    stream_->ClearBuffers();
    ASSERT_TRUE(stream_->AddMessage(1, "two", 0, false, false)); // waits: the first is still marked
    EXPECT_EQ(stream_->Write(), 16);
    EXPECT_FALSE(stream_->HasToWrite()) << "the written bytes would go out a second time";
    complete_send();
    EXPECT_TRUE(stream_->AddMessage(1, "three", 0, false, false)) << "and the lock is free";
}

int send_error = 0;

class RefusedSend : public IOCPSend
{
protected:
    std::vector<std::string> lines_after(int error)
    {
        send_error = error;
        const import_hook hook(
            "WSASend",
            +[](SOCKET, WSABUF*, DWORD, DWORD*, DWORD, WSAOVERLAPPED*, LPWSAOVERLAPPED_COMPLETION_ROUTINE)
                 PASCAL -> int
            {
                ::WSASetLastError(send_error);
                return SOCKET_ERROR;
            });
        EXPECT_TRUE(stream_->AddMessage(1, "text", 0, false, false));
        EXPECT_FALSE(stream_->writeEvent.isMarked());
        EXPECT_EQ(stream_->sendFill, 17U);
        EXPECT_EQ(port_.take_close_records(), 1);
        return log_.lines();
    }
};

// KEPT[send-failure-says-receive]
// KEPT[send-shutdown-prints-error]
TEST_F(RefusedSend, SpeaksOfReceivingAndPrintsTheErrorAsTheSocket)
{
    EXPECT_EQ(lines_after(10055),
              (std::vector<std::string>{
                  "SEVR [CKSocketStream] WSARecv error 10055, shutting down socket [" + number() + "]",
                  "DEBG [CKSocketStream] Error 10055, shutting down socket [" + number() + "]",
                  "DEBG [CKSocketStream] Shutdown of socket [10055] completed"}));
    EXPECT_EQ(receive_exactly(pair_.second(), 1), "");
}

TEST_F(RefusedSend, LeavesOutTheFirstLineWhenThePeerAborted)
{
    EXPECT_EQ(lines_after(10053),
              (std::vector<std::string>{"DEBG [CKSocketStream] Error 10053, shutting down socket [" +
                                            number() + "]",
                                        "DEBG [CKSocketStream] Shutdown of socket [10053] completed"}));
}

TEST_F(RefusedSend, LeavesOutTheFirstLineWhenThePeerReset)
{
    EXPECT_EQ(lines_after(10054),
              (std::vector<std::string>{"DEBG [CKSocketStream] Error 10054, shutting down socket [" +
                                            number() + "]",
                                        "DEBG [CKSocketStream] Shutdown of socket [10054] completed"}));
}

TEST(ManySenders, LoseNothingAndKeepEachOnesOrder)
{
    constexpr unsigned int kMessages = 50000;
    const winsock_session winsock;
    std::vector<unsigned int> next(2, 0);
    std::atomic<unsigned int> arrived = 0;
    std::atomic<unsigned int> wrong = 0;
    unsigned long long sent_bytes = 0;
    unsigned long long received_bytes = 0;
    port_loop loop(
        [&](CKSocketStream&, const port_loop::message& one)
        {
            // One receive is outstanding at a time, so this runs once at a time.
            if (one.command > 1 || one.parameter != next[one.command]++ ||
                one.text != std::to_string(one.parameter))
                ++wrong;
            ++arrived;
        });
    socket_pair pair;
    auto sender = std::make_unique<CKSocketStream>();
    auto receiver = std::make_unique<CKSocketStream>();
    sender->BindSocket(pair.release_first());
    receiver->BindSocket(pair.release_second());
    sender->RegisterCounters(&sent_bytes, nullptr);
    receiver->RegisterCounters(nullptr, &received_bytes);
    CKSocketStream& from = loop.add(std::move(sender));
    loop.add(std::move(receiver));

    std::vector<std::thread> threads;
    for (unsigned int number = 0; number < 2; ++number)
        threads.emplace_back(
            [&from, number]
            {
                for (unsigned int i = 0; i < kMessages; ++i)
                {
                    double in = 0;
                    double out = 0;
                    while (from.GetBuffersUsage(0, 100, in, out), out > 90)
                        std::this_thread::yield();
                    if (!from.AddMessage(number, std::to_string(i).c_str(), i, false, false))
                        return;
                }
            });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(wait_until([&] { return arrived == 2 * kMessages; })) << arrived;
    EXPECT_EQ(wrong, 0U);
    EXPECT_TRUE(wait_until([&] { return !from.HasToWrite() && !from.writeEvent.isMarked(); }));
    loop.stop();
    EXPECT_EQ(sent_bytes, received_bytes);
    EXPECT_EQ(loop.close_records(), 2);
}

} // namespace
