#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/fed_receives_win.h"
#include "tests/stream/port_loop_win.h"
#include "tests/support/captured_log_win.h"
#include "tests/support/winsock_session_win.h"

#include <chrono>
#include <cstring>
#include <gtest/gtest.h>

namespace
{

using namespace kf::test;

/// Puts bytes behind the fill as a receive does.
void feed(CKSocketStream& stream, const std::string& bytes)
{
    std::memcpy(stream.receiveBuffer + stream.receiveFill, bytes.data(), bytes.size());
    stream.IncrementReadBytes(static_cast<unsigned int>(bytes.size()), true);
}

struct taken
{
    bool result;
    unsigned int command;
    unsigned int parameter;
    std::string text; // "(null)" for no content
};

taken take(CKSocketStream& stream, bool lock = true)
{
    taken one{false, 77, 77, ""};
    char* content = nullptr;
    one.result = stream.GetNextMessage(one.command, &content, &one.parameter, lock);
    one.text = content != nullptr ? content : "(null)";
    CKSocketStream::DestroyMessageContent(content);
    return one;
}

std::string printed(SOCKET socket)
{
    return std::to_string(static_cast<int>(socket));
}

class AddMessage : public testing::Test
{
protected:
    winsock_session winsock_;
    captured_log log_;
    socket_pair pair_;
    CKSocketStream stream_;

    void SetUp() override { stream_.BindSocket(pair_.first()); }

    bool add_frame(std::size_t bytes, bool quiet, bool force)
    {
        return stream_.AddMessage(1, incompressible_text(bytes - 13, 5).c_str(), 9, quiet, force);
    }
};

TEST_F(AddMessage, AppendsFramesInOrder)
{
    EXPECT_TRUE(stream_.AddMessage(1, "first", 10, false, false));
    EXPECT_TRUE(stream_.AddMessage(2, nullptr, 20, false, false));
    EXPECT_TRUE(stream_.AddMessage(3, "aaaaaaaaaaaaaaaaaaaa", 30, false, false));
    EXPECT_EQ(std::string(stream_.sendBuffer, stream_.sendFill),
              frame(1, "first", 10) + frame(2, "", 20) + frame(3, "aaaaaaaaaaaaaaaaaaaa", 30));
}

TEST_F(AddMessage, EndsTheConnectionOnOverflow)
{
    EXPECT_FALSE(add_frame(65536, false, false));
    EXPECT_EQ(log_.lines(),
              std::vector<std::string>{"SEVR [CKSocketStream] Socket send buffer overflow. Terminating "
                                       "connection! [" +
                                       printed(pair_.first()) + "]"});
    EXPECT_EQ(stream_.sendFill, 0U);
    EXPECT_FALSE(stream_.IsDisconnected());
    EXPECT_EQ(receive_exactly(pair_.second(), 1), ""); // the peer sees the end
}

// KEPT[quiet-overflow]
TEST_F(AddMessage, DropsTheMessageSilentlyWhenQuiet)
{
    EXPECT_FALSE(add_frame(65536, true, false));
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_TRUE(send_all(pair_.second(), "x")); // still connected
    EXPECT_EQ(stream_.Read(), 1);
    EXPECT_TRUE(stream_.AddMessage(1, "small", 0, false, false));
}

TEST_F(AddMessage, LetsOneMessageExceedTheMaximumByForce)
{
    EXPECT_TRUE(add_frame(65536, false, true));
    EXPECT_TRUE(add_frame(65536, true, true));
    EXPECT_EQ(stream_.sendFill, 131072U);
    EXPECT_EQ(stream_.sendCapacity, 196605U);
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_FALSE(add_frame(70000, true, false));
}

TEST_F(AddMessage, AcceptsTotalsUpToTheMaximumItself)
{
    EXPECT_TRUE(add_frame(65535, false, false));
    EXPECT_EQ(stream_.sendCapacity, 131070U); // total + 1 did not fit
    EXPECT_TRUE(stream_.AddMessage(1, nullptr, 0, false, false)) << "the grown buffer has room";
    EXPECT_EQ(stream_.sendFill, 65548U);
}

// KEPT[send-limit-at-growth]
TEST_F(AddMessage, LooksAtTheMaximumOnlyWhenTheBufferMustGrow)
{
    stream_.SetMaxOutgoingBufferSize(10);
    EXPECT_TRUE(add_frame(65534, false, false));
    EXPECT_EQ(stream_.sendCapacity, 65535U);
    EXPECT_FALSE(stream_.AddMessage(1, nullptr, 0, true, false));
}

TEST_F(AddMessage, GrowsWithoutBoundWithTheCheckOff)
{
    stream_.SetBufferCheck(false);
    stream_.SetMaxOutgoingBufferSize(1);
    std::string all;
    for (unsigned int i = 0; i < 40; ++i)
    {
        const std::string text = incompressible_text(50000, i);
        ASSERT_TRUE(stream_.AddMessage(i, text.c_str(), i, false, false));
        all += frame(i, text, i);
    }
    EXPECT_EQ(stream_.sendFill, all.size());
    EXPECT_EQ(stream_.sendCapacity % 65535, 0U);
    EXPECT_TRUE(std::string(stream_.sendBuffer, stream_.sendFill) == all);
}

TEST_F(AddMessage, RefusesADisconnectedStream)
{
    stream_.SetDisconnected(true);
    EXPECT_FALSE(stream_.AddMessage(1, "text", 0, false, true));
    EXPECT_EQ(stream_.sendFill, 0U);
    EXPECT_FALSE(stream_.HasToWrite());
    stream_.SetDisconnected(false);
    EXPECT_TRUE(stream_.AddMessage(1, "text", 0, false, true));
    EXPECT_TRUE(stream_.HasToWrite());
    stream_.SetDisconnected(true);
    EXPECT_FALSE(stream_.HasToWrite());
}

TEST(GetNextMessage, TakesFramesOneByOne)
{
    CKSocketStream stream;
    feed(stream, frame(7, "short", 70) + frame(8, "", 80) + frame(9, std::string(1000, 'z'), 90));
    taken one = take(stream);
    EXPECT_TRUE(one.result);
    EXPECT_EQ(one.command, 7U);
    EXPECT_EQ(one.parameter, 70U);
    EXPECT_EQ(one.text, "short");
    // What is left always begins at a frame boundary and is terminated.
    EXPECT_EQ(std::string(stream.receiveBuffer, stream.receiveFill),
              frame(8, "", 80) + frame(9, std::string(1000, 'z'), 90));
    EXPECT_EQ(stream.receiveBuffer[stream.receiveFill], '\0');
    one = take(stream);
    EXPECT_TRUE(one.result);
    EXPECT_EQ(one.text, "(null)");
    EXPECT_EQ(one.command, 8U);
    one = take(stream);
    EXPECT_TRUE(one.result);
    EXPECT_EQ(one.text, std::string(1000, 'z'));
    one = take(stream);
    EXPECT_FALSE(one.result);
    EXPECT_EQ(one.command, 0U);
    EXPECT_EQ(one.parameter, 0U);
    EXPECT_EQ(stream.receiveFill, 0U);
}

TEST(GetNextMessage, WaitsForTheLastByteButTellsTheCommand)
{
    CKSocketStream stream;
    const std::string whole = frame(5, "split text that is compressed compressed compressed", 6);
    for (std::size_t i = 0; i + 1 < whole.size(); ++i)
    {
        feed(stream, whole.substr(i, 1));
        EXPECT_FALSE(stream.HasCompleteMessageAvailable());
        const taken one = take(stream);
        EXPECT_FALSE(one.result);
        EXPECT_EQ(one.command, i < 12 ? 0U : 5U);
        EXPECT_EQ(one.parameter, i < 12 ? 0U : 6U);
    }
    feed(stream, whole.substr(whole.size() - 1));
    EXPECT_TRUE(stream.HasCompleteMessageAvailable());
    EXPECT_EQ(take(stream).text, "split text that is compressed compressed compressed");
}

TEST(GetNextMessage, RefusesADisconnectedStreamBeforeTouchingTheParameter)
{
    CKSocketStream stream;
    feed(stream, frame(7, "short", 70));
    stream.SetDisconnected(true);
    const taken one = take(stream);
    EXPECT_FALSE(one.result);
    EXPECT_EQ(one.command, 0U);
    EXPECT_EQ(one.parameter, 77U);
    EXPECT_NE(stream.receiveFill, 0U);
}

TEST(GetNextMessage, TakesWithoutTheLockUnderTheCallersOwn)
{
    CKSocketStream stream;
    feed(stream, frame(1, "a") + frame(2, "b"));
    stream.LockRead();
    EXPECT_EQ(take(stream, false).text, "a");
    EXPECT_EQ(take(stream, false).text, "b");
    stream.UnlockRead();
}

TEST(GetNextMessage, ConsumesADamagedFrameAndGoesOn)
{
    CKSocketStream stream;
    std::string damaged = frame(1, std::string(500, 'q'));
    damaged[damaged.size() - 3] = static_cast<char>(damaged[damaged.size() - 3] ^ 0x55);
    feed(stream, damaged + frame(2, "whole"));
    EXPECT_FALSE(take(stream).result);
    EXPECT_TRUE(stream.HasCompleteMessageAvailable());
    EXPECT_EQ(take(stream).text, "whole");
}

TEST(GetNextMessage, TakesAMessageWhoseContentNobodyWants)
{
    CKSocketStream stream;
    feed(stream, frame(1, "unwanted", 5) + frame(2, "wanted"));
    unsigned int command = 0;
    EXPECT_TRUE(stream.GetNextMessage(command, nullptr, nullptr, true));
    EXPECT_EQ(command, 1U);
    EXPECT_EQ(take(stream).text, "wanted");
}

TEST(GetNextMessage, NeverCompletesANegativeLength)
{
    CKSocketStream stream;
    std::string negative(13, '\0');
    const std::uint32_t length = 0xFFFFFFF3; // -13
    std::memcpy(&negative[1], &length, 4);
    negative[9] = 4;
    feed(stream, negative + frame(1, "x"));
    const taken one = take(stream);
    EXPECT_FALSE(one.result);
    EXPECT_EQ(one.command, 4U);
    EXPECT_FALSE(stream.HasCompleteMessageAvailable());
    EXPECT_EQ(stream.receiveFill, 13U + frame(1, "x").size());
}

TEST(GetNextMessage, TakesThousandsOfSmallFramesInLinearTime)
{
    constexpr std::size_t kBytes = 20;
    constexpr std::size_t kFrames = 3000;
    CKSocketStream stream;
    ASSERT_LE(kBytes * kFrames, stream.receiveCapacity);
    const char* const block = stream.receiveBuffer;
    std::size_t moves = 0;
    std::string all;
    for (std::size_t i = 0; i < kFrames; ++i)
        all += frame(static_cast<unsigned int>(i), "1234567");
    feed(stream, all);
    for (std::size_t i = 0; i < kFrames; ++i)
    {
        const char* const front = stream.receiveBuffer;
        ASSERT_TRUE(take(stream).result);
        moves += stream.receiveBuffer == front ? 1U : 0U; // the rest was moved instead of the front
    }
    EXPECT_LE(moves, 1U);
    EXPECT_EQ(stream.receiveBuffer, block);
}

TEST(ExtractCommand, ReadsTheFrontFrameWithoutConsumingOrLocking)
{
    CKSocketStream stream;
    unsigned int command = 99;
    EXPECT_FALSE(stream.ExtractCommand(&command));
    EXPECT_EQ(command, 99U);
    const std::string whole = frame(42, "never complete");
    feed(stream, whole.substr(0, 12));
    EXPECT_FALSE(stream.ExtractCommand(&command));
    feed(stream, whole.substr(12, 1));
    stream.LockRead();
    EXPECT_TRUE(stream.ExtractCommand(&command));
    stream.UnlockRead();
    EXPECT_EQ(command, 42U);
    EXPECT_EQ(stream.receiveFill, 13U);
}

TEST(IncrementReadBytes, CountsTerminatesAndAddsToTheCounter)
{
    CKSocketStream stream;
    unsigned long long sent = 0;
    unsigned long long received = 5;
    stream.RegisterCounters(&sent, &received);
    std::memset(stream.receiveBuffer, 'x', 20);
    stream.IncrementReadBytes(0, true);
    EXPECT_EQ(stream.receiveBuffer[0], 'x');
    stream.IncrementReadBytes(7, true);
    EXPECT_STREQ(stream.receiveBuffer, "xxxxxxx");
    stream.LockRead();
    stream.IncrementReadBytes(3, false);
    stream.UnlockRead();
    EXPECT_EQ(stream.receiveFill, 10U);
    EXPECT_EQ(received, 15U);
    EXPECT_EQ(sent, 0U);
}

TEST(IncrementReadBytes, NeverGoesBeyondTheBlock)
{
    CKSocketStream stream;
    stream.IncrementReadBytes(65535, true);
    EXPECT_EQ(stream.receiveFill, 65535U);
    EXPECT_EQ(stream.receiveBuffer[65535], '\0');
    stream.IncrementReadBytes(1000, true);
    EXPECT_EQ(stream.receiveFill, 65535U);
}

TEST(DecrementSentBytes, MovesTheRestToTheFrontAndAddsToTheCounter)
{
    CKSocketStream stream;
    unsigned long long sent = 0;
    stream.RegisterCounters(&sent, nullptr);
    ASSERT_TRUE(stream.AddMessage(1, "one", 0, false, false));
    ASSERT_TRUE(stream.AddMessage(2, "two", 0, false, false));
    stream.DecrementSentBytes(0, true);
    stream.DecrementSentBytes(16, true);
    EXPECT_EQ(std::string(stream.sendBuffer, stream.sendFill), frame(2, "two"));
    stream.LockWrite();
    stream.DecrementSentBytes(16, false);
    stream.UnlockWrite();
    EXPECT_EQ(stream.sendFill, 0U);
    EXPECT_EQ(sent, 32U);
}

// KEPT[oversized-decrement-keeps-lock]
TEST(DecrementSentBytes, EmptiesTheQueueAndKeepsTheLockOnACountTooLarge)
{
    CKSocketStream stream;
    unsigned long long sent = 0;
    stream.RegisterCounters(&sent, nullptr);
    ASSERT_TRUE(stream.AddMessage(1, "one", 0, false, false));
    stream.DecrementSentBytes(17, true);
    EXPECT_EQ(stream.sendFill, 0U);
    EXPECT_EQ(sent, 0U);

    std::atomic<bool> entered = false;
    std::thread other(
        [&]
        {
            stream.LockWrite();
            entered = true;
            stream.UnlockWrite();
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(150));
    EXPECT_FALSE(entered);
    stream.UnlockWrite();
    other.join();
    EXPECT_TRUE(entered);
}

TEST(DecrementSentBytes, TakesNoLockWhenToldSoEvenWithACountTooLarge)
{
    CKSocketStream stream;
    ASSERT_TRUE(stream.AddMessage(1, "one", 0, false, false));
    stream.DecrementSentBytes(17, false);
    EXPECT_EQ(stream.sendFill, 0U);
    stream.LockWrite(); // would hang
    stream.UnlockWrite();
}

TEST(ClearBuffers, EmptiesBothAndKeepsTheCapacities)
{
    CKSocketStream stream;
    stream.SetBufferCheck(false);
    ASSERT_TRUE(stream.AddMessage(1, incompressible_text(70000, 1).c_str(), 0, false, false));
    const unsigned long long capacity = stream.sendCapacity;
    feed(stream, frame(1, "x"));
    stream.ClearBuffers();
    EXPECT_EQ(stream.receiveFill, 0U);
    EXPECT_EQ(stream.sendFill, 0U);
    EXPECT_EQ(stream.sendCapacity, capacity);
    EXPECT_FALSE(stream.HasToWrite());
    EXPECT_FALSE(stream.HasCompleteMessageAvailable());
    feed(stream, frame(2, "next"));
    EXPECT_EQ(take(stream).text, "next");
}

TEST(RegisterCounters, AddExactlyWhileTheHostAddsToThemToo)
{
    constexpr unsigned int kRounds = 20000;
    unsigned long long received = 0;
    CKSocketStream one;
    CKSocketStream two;
    one.RegisterCounters(nullptr, &received);
    two.RegisterCounters(nullptr, &received);
    std::vector<std::thread> threads;
    for (CKSocketStream* const stream : {&one, &two})
        threads.emplace_back(
            [stream]
            {
                for (unsigned int i = 0; i < kRounds; ++i)
                {
                    stream->IncrementReadBytes(3, true);
                    stream->ClearBuffers();
                }
            });
    for (unsigned int i = 0; i < kRounds; ++i)
        KFramework::AtomicAdd64(&received, 5);
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(received, kRounds * (3ULL + 3 + 5));
}

} // namespace
