#include "KFramework/socket.h"
#include "tests/stream/fed_receives_win.h"
#include "tests/stream/port_loop_win.h"
#include "tests/support/captured_log_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/winsock_session_win.h"

#include <chrono>
#include <gtest/gtest.h>

namespace
{

using namespace kf::test;
using clock_type = std::chrono::steady_clock;

std::string printed(SOCKET socket)
{
    return std::to_string(static_cast<int>(socket));
}

/// A stream on one end of a pair of blocking sockets.
class Polled : public testing::Test
{
protected:
    winsock_session winsock_;
    captured_log log_;
    socket_pair pair_;
    CKSocketStream stream_;

    void SetUp() override { stream_.BindSocket(pair_.first()); }

    void use_non_blocking() { KFramework::KSocket::SetBlockStatus(pair_.first(), false); }

    std::string line(const std::string& text) const { return "DEBG [CKSocketStream] " + text; }
    std::string number() const { return printed(pair_.first()); }

    /// Queues by force and writes until the pipe to the peer, who does not read, is full.
    void fill_pipe()
    {
        use_non_blocking();
        const std::string text = incompressible_text(60000, 1);
        int sent = 0;
        do
        {
            ASSERT_TRUE(stream_.AddMessage(1, text.c_str(), 0, true, true));
            sent = stream_.Write();
        } while (sent > 0);
        ASSERT_EQ(sent, -1);
    }
};

class Read : public Polled
{
};
class Write : public Polled
{
};
class FlushWrite : public Polled
{
};
class WaitForCompleteMessage : public Polled
{
};
class NetworkTasks : public Polled
{
};

TEST_F(Read, GivesTheCountAndAsksFor4096Bytes)
{
    ASSERT_TRUE(send_all(pair_.second(), "hello"));
    EXPECT_EQ(stream_.Read(), 5);
    EXPECT_STREQ(stream_.receiveBuffer, "hello");

    fed_receives feed(std::string(5000, 'x'), 100000);
    EXPECT_EQ(stream_.Read(), 4096);
    EXPECT_EQ(feed.last_room(), 4096U);
}

TEST_F(Read, ShutsDownWhenThePeerHasEnded)
{
    pair_.close_second();
    EXPECT_EQ(stream_.Read(), 0);
    EXPECT_EQ(log_.lines(), std::vector<std::string>{
                                line("Received 0 bytes from socket [" + number() + "], shutting down...")});
    EXPECT_EQ(::send(pair_.first(), "x", 1, 0), SOCKET_ERROR); // shut down
    EXPECT_FALSE(stream_.IsDisconnected());
}

TEST_F(Read, GivesMinusOneWhenItWouldBlock)
{
    use_non_blocking();
    EXPECT_EQ(stream_.Read(), -1);
    const import_hook in_progress(
        "recv",
        +[](SOCKET, char*, int, int) PASCAL -> int
        {
            ::WSASetLastError(WSAEINPROGRESS);
            return SOCKET_ERROR;
        });
    EXPECT_EQ(stream_.Read(), -1);
    EXPECT_TRUE(log_.lines().empty());
}

// KEPT[received-error-number]
TEST_F(Read, LogsTheErrorNumberInThePlaceOfTheSocket)
{
    const import_hook reset(
        "recv",
        +[](SOCKET, char*, int, int) PASCAL -> int
        {
            ::WSASetLastError(WSAECONNRESET);
            return SOCKET_ERROR;
        });
    EXPECT_EQ(stream_.Read(), 0);
    EXPECT_EQ(log_.lines(),
              (std::vector<std::string>{line("Received error from socket [10054], shutting down..."),
                                        line("Shutdown of socket [" + number() + "] completed")}));
}

TEST_F(Read, GivesZeroOnADisconnectedStreamWithoutReading)
{
    ASSERT_TRUE(send_all(pair_.second(), "x"));
    stream_.SetDisconnected(true);
    EXPECT_EQ(stream_.Read(), 0);
    EXPECT_EQ(stream_.receiveFill, 0U);
    stream_.SetDisconnected(false);
    EXPECT_EQ(stream_.Read(), 1);
}

TEST_F(Read, MovesWhatIsLeftBackBeforeItReads)
{
    fed_receives feed(frame(1, "a") + frame(2, "b") + frame(3, "c"), 30);
    ASSERT_EQ(stream_.Read(), 30);
    unsigned int command = 0;
    ASSERT_TRUE(stream_.GetNextMessage(command, nullptr, nullptr, true));
    ASSERT_EQ(stream_.Read(), 12);
    EXPECT_EQ(std::string(stream_.receiveBuffer, stream_.receiveFill), frame(2, "b") + frame(3, "c"));
}

struct edge
{
    std::size_t frame_bytes;
    std::size_t piece;
    unsigned long long maximum;
    bool arrives;
};

void PrintTo(const edge& one, std::ostream* out)
{
    *out << one.frame_bytes << " bytes in pieces of " << one.piece << ", maximum " << one.maximum;
}

class ReadEdge : public testing::TestWithParam<edge>
{
};

// KEPT[polled-growth-step]
TEST_P(ReadEdge, DecidesWhetherAFrameArrives)
{
    const captured_log log;
    const edge& one = GetParam();
    const std::string whole = frame_of_size(one.frame_bytes);
    CKSocketStream stream;
    stream.SetMaxIncomingBufferSize(one.maximum);
    fed_receives feed(whole, one.piece);
    EXPECT_EQ(run_polled(stream, feed), one.arrives);
    EXPECT_EQ(stream.HasCompleteMessageAvailable(), one.arrives);
    EXPECT_TRUE(std::string(stream.receiveBuffer, stream.receiveFill) == whole.substr(0, stream.receiveFill));
    if (!one.arrives)
    {
        EXPECT_EQ(log.lines(),
                  std::vector<std::string>{
                      "SEVR [CKSocketStream] Socket read buffer overflow. Terminating connection! [-1]"});
    }
}

constexpr std::size_t kWhole = 1U << 20;

INSTANTIATE_TEST_SUITE_P(AtTheDefault, ReadEdge,
                         testing::Values(edge{61439, kWhole, 65535, true}, edge{61439, 1, 65535, true},
                                         edge{61440, kWhole, 65535, true}, edge{61440, 1, 65535, false},
                                         edge{65534, kWhole, 65535, false}, edge{65534, 1, 65535, false},
                                         edge{65535, kWhole, 65535, false}, edge{65535, 1, 65535, false}));
INSTANTIATE_TEST_SUITE_P(AroundTheFirstGrowth, ReadEdge,
                         testing::Values(edge{61440, 1, 69631, false}, edge{65535, kWhole, 69631, false},
                                         edge{61440, 1, 69632, true}, edge{65535, kWhole, 69632, true},
                                         edge{65535, 1, 69632, true}, edge{65536, 1, 69632, true},
                                         edge{65537, 1, 69632, false}, edge{65537, 1, 131070, true},
                                         edge{65537, 1, 131071, true}));

TEST_F(Read, GrowsWithoutBoundWithTheCheckOff)
{
    stream_.SetBufferCheck(false);
    stream_.SetMaxIncomingBufferSize(0);
    const std::string whole = frame_of_size(400000);
    fed_receives feed(whole, 4096);
    EXPECT_TRUE(run_polled(stream_, feed));
    EXPECT_TRUE(stream_.HasCompleteMessageAvailable());
    EXPECT_EQ((stream_.receiveCapacity - 65535) % 4097, 0U);
    EXPECT_TRUE(std::string(stream_.receiveBuffer, stream_.receiveFill) == whole);
}

// KEPT[idle-write]
TEST_F(Write, GivesMinusOneWhenIdleAndZeroWhenDead)
{
    EXPECT_EQ(stream_.Write(), -1);
    stream_.SetDisconnected(true);
    EXPECT_EQ(stream_.Write(), 0);
}

TEST_F(Write, SendsWhatIsQueued)
{
    unsigned long long sent = 0;
    stream_.RegisterCounters(&sent, nullptr);
    ASSERT_TRUE(stream_.AddMessage(1, "text", 2, false, false));
    EXPECT_EQ(stream_.Write(), 17);
    EXPECT_EQ(receive_exactly(pair_.second(), 17), frame(1, "text", 2));
    EXPECT_EQ(sent, 17U);
    EXPECT_EQ(stream_.sendFill, 0U);
}

TEST_F(Write, KeepsTheQueueWhenItWouldBlock)
{
    fill_pipe();
    const unsigned long long queued = stream_.sendFill;
    EXPECT_EQ(stream_.Write(), -1);
    EXPECT_EQ(stream_.sendFill, queued);
    EXPECT_TRUE(log_.lines().empty());
}

TEST_F(Write, ShutsDownOnAnErrorWithoutALine)
{
    ASSERT_TRUE(stream_.AddMessage(1, "text", 2, false, false));
    const import_hook reset(
        "send",
        +[](SOCKET, const char*, int, int) PASCAL -> int
        {
            ::WSASetLastError(WSAECONNRESET);
            return SOCKET_ERROR;
        });
    EXPECT_EQ(stream_.Write(), 0);
    EXPECT_TRUE(log_.lines().empty());
    EXPECT_EQ(receive_exactly(pair_.second(), 1), "");
    EXPECT_EQ(stream_.sendFill, 17U);
}

TEST_F(FlushWrite, WritesEverything)
{
    for (unsigned int i = 0; i < 10; ++i)
        ASSERT_TRUE(stream_.AddMessage(i, "text", 0, false, false));
    stream_.FlushWrite();
    EXPECT_EQ(stream_.sendFill, 0U);
    EXPECT_EQ(receive_exactly(pair_.second(), 170).size(), 170U);
}

TEST_F(FlushWrite, StopsWhenTheSocketIsNotWritable)
{
    fill_pipe();
    const unsigned long long queued = stream_.sendFill;
    stream_.FlushWrite();
    EXPECT_EQ(stream_.sendFill, queued);
}

TEST_F(FlushWrite, StopsOnADeadStreamWithSomethingQueued)
{
    ASSERT_TRUE(stream_.AddMessage(1, "text", 0, false, false));
    stream_.SetDisconnected(true);
    stream_.FlushWrite(); // the socket is writable, and Write gives 0 for ever
    EXPECT_EQ(stream_.sendFill, 17U);
}

TEST_F(WaitForCompleteMessage, WaitsWithoutEndWhenTheTimeOutIsZero)
{
    const std::string whole = frame(1, "late");
    std::thread peer(
        [&]
        {
            for (const char c : whole)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(30));
                send_all(pair_.second(), std::string(1, c));
            }
        });
    const auto start = clock_type::now();
    EXPECT_TRUE(stream_.WaitForCompleteMessage(0));
    EXPECT_GE(clock_type::now() - start, std::chrono::milliseconds(30 * 17));
    EXPECT_TRUE(stream_.HasCompleteMessageAvailable());
    peer.join();
}

TEST_F(WaitForCompleteMessage, ReturnsWhenTheConnectionFails)
{
    std::thread peer(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
            pair_.close_second();
        });
    EXPECT_FALSE(stream_.WaitForCompleteMessage(0));
    peer.join();
}

TEST_F(WaitForCompleteMessage, ReturnsAtOnceWithoutAUsableSocket)
{
    stream_.UnbindSocket();
    EXPECT_FALSE(stream_.WaitForCompleteMessage(0));
    EXPECT_FALSE(stream_.WaitForCompleteMessage(1));
}

TEST_F(WaitForCompleteMessage, ReturnsWhenTheStreamIsMarkedDisconnected)
{
    std::thread host(
        [&]
        {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
            stream_.SetDisconnected(true);
        });
    EXPECT_FALSE(stream_.WaitForCompleteMessage(0));
    host.join();
}

TEST_F(WaitForCompleteMessage, GivesUpAfterASilentTimeOut)
{
    ASSERT_TRUE(send_all(pair_.second(), "half"));
    const auto start = clock_type::now();
    EXPECT_FALSE(stream_.WaitForCompleteMessage(1));
    EXPECT_GE(clock_type::now() - start, std::chrono::seconds(1));
    EXPECT_EQ(stream_.receiveFill, 4U);
}

// KEPT[timeout-bounds-each-wait]
TEST_F(WaitForCompleteMessage, BoundsEachWaitAndNotTheCall)
{
    const std::string whole = frame(1, "slow");
    std::thread peer(
        [&]
        {
            for (std::size_t i = 0; i < 3; ++i)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(600));
                send_all(pair_.second(), i < 2 ? whole.substr(i, 1) : whole.substr(2));
            }
        });
    const auto start = clock_type::now();
    EXPECT_TRUE(stream_.WaitForCompleteMessage(1));
    EXPECT_GE(clock_type::now() - start, std::chrono::milliseconds(1800));
    peer.join();
}

// KEPT[idle-network-tasks]
TEST_F(NetworkTasks, GivesFalseOnAWritableIdleStream)
{
    EXPECT_FALSE(stream_.NetworkTasks());
    ASSERT_TRUE(send_all(pair_.second(), "x"));
    EXPECT_TRUE(wait_until([&] { return stream_.NetworkTasks(), stream_.receiveFill == 1; }));
    EXPECT_FALSE(stream_.IsDisconnected());
}

TEST_F(NetworkTasks, ReadsAndWritesWhatIsReady)
{
    ASSERT_TRUE(send_all(pair_.second(), "x"));
    u_long waiting = 0;
    ASSERT_TRUE(
        wait_until([&] { return ::ioctlsocket(pair_.first(), FIONREAD, &waiting) == 0 && waiting == 1; }));
    ASSERT_TRUE(stream_.AddMessage(1, "text", 2, false, false));
    EXPECT_TRUE(stream_.NetworkTasks());
    EXPECT_EQ(stream_.receiveFill, 1U);
    EXPECT_EQ(receive_exactly(pair_.second(), 17), frame(1, "text", 2));
}

TEST_F(NetworkTasks, GivesFalseWhenNothingIsReadyOrThereIsNoSocket)
{
    fill_pipe();
    EXPECT_FALSE(stream_.NetworkTasks());
    stream_.UnbindSocket();
    EXPECT_FALSE(stream_.NetworkTasks());
}

TEST_F(NetworkTasks, GivesFalseWhenThePeerHasEnded)
{
    ASSERT_TRUE(stream_.AddMessage(1, "text", 2, false, false));
    pair_.close_second();
    EXPECT_TRUE(wait_until([&] { return !stream_.NetworkTasks(); }));
    EXPECT_EQ(log_.count("Received "), 1U);
}

} // namespace
