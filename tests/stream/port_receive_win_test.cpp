#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/fed_receives_win.h"
#include "tests/stream/manual_port_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>
#include <regex>

namespace
{

using namespace kf::test;

class RegisterCompletionPort : public OnPort
{
};
class SetupReadEvent : public OnPort
{
protected:
    std::string text_of_next()
    {
        unsigned int command = 0;
        char* content = nullptr;
        EXPECT_TRUE(stream_->GetNextMessage(command, &content, nullptr, true));
        std::string text = content != nullptr ? content : "(null)";
        CKSocketStream::DestroyMessageContent(content);
        return text;
    }
};

TEST_F(RegisterCompletionPort, MakesTheStreamItsKey)
{
    stream_->SetupReadEvent();
    EXPECT_TRUE(stream_->readEvent.isMarked());
    ASSERT_TRUE(send_all(pair_.second(), "hello"));
    const std::optional<completion> one = port_.next();
    ASSERT_TRUE(one);
    EXPECT_EQ(one->stream, stream_.get());
    EXPECT_EQ(one->record, &stream_->readEvent);
    EXPECT_EQ(one->bytes, 5U);
    EXPECT_TRUE(stream_->readEvent.isMarked()) << "only the host unmarks";
}

TEST_F(RegisterCompletionPort, LogsAFailureAndLeavesTheStreamWithoutAPort)
{
    CKSocketStream other;
    other.BindSocket(INVALID_SOCKET);
    other.RegisterCompletionPort(port_.get());
    EXPECT_EQ(other.completionPort, nullptr);
    EXPECT_EQ(log_.lines(), std::vector<std::string>{
                                "SEVR [CKSocketStream] Failed to assign socket -1 to IO completion port"});
}

TEST_F(RegisterCompletionPort, TakesNoPortThatTheSystemMadeByItself)
{
    CKSocketStream other;
    other.RegisterCompletionPort(nullptr);
    const std::size_t before = handle_count();
    for (int i = 0; i < 10; ++i)
        other.RegisterCompletionPort(nullptr); // an invalid socket and no port ask for a new port
    EXPECT_EQ(handle_count(), before);
    EXPECT_EQ(other.completionPort, nullptr);
    EXPECT_EQ(log_.count("Failed to assign socket -1 to IO completion port"), 11U);
}

// KEPT[double-receive]
TEST_F(SetupReadEvent, PostsASecondReceiveAndLogsTheDoubleEventOnce)
{
    stream_->SetupReadEvent();
    stream_->SetupReadEvent();
    ASSERT_EQ(log_.lines().size(), 1U);
    EXPECT_TRUE(std::regex_match(
        log_.lines()[0], std::regex(R"(SEVR \[CKSocketOverlappedStruct\] \(-?[0-9]+:118\)Mark\(\) on socket )"
                                    R"(failure\. Double event, previous event was 0)")))
        << log_.lines()[0];
    for (const char* const text : {"one", "two"})
    {
        ASSERT_TRUE(send_all(pair_.second(), text));
        const std::optional<completion> one = port_.next();
        ASSERT_TRUE(one);
        EXPECT_EQ(one->record, &stream_->readEvent);
        EXPECT_EQ(one->bytes, 3U);
    }
    EXPECT_TRUE(stream_->readEvent.isMarked());
}

TEST_F(SetupReadEvent, OffersTheFreeSpaceButOneByte)
{
    fed_receives feed("12345", 100);
    stream_->SetupReadEvent();
    EXPECT_EQ(feed.last_room(), 65534U);
    stream_->IncrementReadBytes(5, true);
    stream_->readEvent.Unmark();
    stream_->SetupReadEvent();
    EXPECT_EQ(feed.last_room(), 65529U);
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

class ReceiveEdge : public testing::TestWithParam<edge>
{
};

// KEPT[port-growth-counts-twice]
// KEPT[overflow-stays-marked]
TEST_P(ReceiveEdge, DecidesWhetherAFrameArrives)
{
    const captured_log log;
    const edge& one = GetParam();
    const std::string whole = frame_of_size(one.frame_bytes);
    CKSocketStream stream;
    stream.SetMaxIncomingBufferSize(one.maximum);
    fed_receives feed(whole, one.piece);
    EXPECT_EQ(run_posted(stream, feed), one.arrives);
    EXPECT_EQ(stream.HasCompleteMessageAvailable(), one.arrives);
    EXPECT_TRUE(std::string(stream.receiveBuffer, stream.receiveFill) == whole.substr(0, stream.receiveFill));
    EXPECT_EQ(stream.readEvent.isMarked(), !one.arrives);
    if (!one.arrives)
    {
        EXPECT_EQ(log.lines(),
                  std::vector<std::string>{
                      "SEVR [CKSocketStream] Socket read buffer overflow. Terminating connection! [-1]"});
    }
}

constexpr std::size_t kWhole = 1U << 20;

INSTANTIATE_TEST_SUITE_P(AtTheDefault, ReceiveEdge,
                         testing::Values(edge{61439, kWhole, 65535, true}, edge{61439, 1, 65535, true},
                                         edge{61440, kWhole, 65535, true}, edge{61440, 1, 65535, false},
                                         edge{65534, kWhole, 65535, true}, edge{65534, 1, 65535, false},
                                         edge{65535, kWhole, 65535, false}, edge{65535, 1, 65535, false}));
INSTANTIATE_TEST_SUITE_P(AroundTheFirstGrowth, ReceiveEdge,
                         testing::Values(edge{61440, 1, 69631, false}, edge{61440, 1, 69632, false},
                                         edge{61440, 1, 131070, false}, edge{65535, 1, 131070, false},
                                         edge{61440, 1, 131071, true}, edge{65534, 1, 131071, true},
                                         edge{65535, 1, 131071, true}, edge{65535, kWhole, 131071, false},
                                         edge{65535, kWhole, 135165, false},
                                         edge{65535, kWhole, 135166, true}));

TEST(ReceiveGrowth, GoesInLargeStepsUntilItReachesTheSum)
{
    CKSocketStream stream;
    stream.SetBufferCheck(false);
    stream.SetMaxIncomingBufferSize(0);
    fed_receives feed(frame_of_size(1000000), kWhole);
    EXPECT_TRUE(run_posted(stream, feed));
    EXPECT_TRUE(stream.HasCompleteMessageAvailable());
    EXPECT_EQ(stream.receiveCapacity % 65535, 0U);
}

TEST_F(SetupReadEvent, ReceivesTheLargestFrameThatArrivesInOnePiece)
{
    const std::string whole = frame_of_size(65534);
    int size = 1 << 20;
    ::setsockopt(socket_, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<const char*>(&size), sizeof size);
    ASSERT_TRUE(send_all(pair_.second(), whole));
    u_long waiting = 0;
    ASSERT_TRUE(wait_until(
        [&] { return ::ioctlsocket(socket_, FIONREAD, &waiting) == 0 && waiting == whole.size(); }));
    stream_->SetupReadEvent();
    complete_read();
    EXPECT_TRUE(stream_->HasCompleteMessageAvailable());
}

// KEPT[overflow-stays-marked]
TEST_F(SetupReadEvent, ShutsDownOnOverflowAndStaysMarked)
{
    ASSERT_TRUE(send_all(pair_.second(), frame_of_size(65535)));
    for (int i = 0; i < 100 && stream_->completionPort != nullptr; ++i)
    {
        stream_->SetupReadEvent();
        if (stream_->completionPort != nullptr)
            complete_read();
    }
    EXPECT_TRUE(stream_->readEvent.isMarked());
    EXPECT_EQ(log_.count("SEVR [CKSocketStream] Socket read buffer overflow. Terminating connection! [" +
                         number() + "]"),
              1U);
    EXPECT_EQ(port_.take_close_records(), 1);
    EXPECT_EQ(stream_->GetSocket(), socket_);
    stream_->readEvent.Unmark();
}

int receive_error = 0;

class RefusedReceive : public SetupReadEvent
{
protected:
    static int PASCAL refuse(SOCKET, WSABUF*, DWORD, DWORD*, DWORD*, WSAOVERLAPPED*,
                             LPWSAOVERLAPPED_COMPLETION_ROUTINE)
    {
        ::WSASetLastError(receive_error);
        return SOCKET_ERROR;
    }

    std::vector<std::string> lines_after(int error)
    {
        receive_error = error;
        const import_hook hook("WSARecv", &refuse);
        stream_->SetupReadEvent();
        return log_.lines();
    }
};

TEST_F(RefusedReceive, IsLoggedUnmarkedAndShutDown)
{
    EXPECT_EQ(lines_after(10055),
              std::vector<std::string>{"DEBG [CKSocketStream] WSARecv error 10055, shutting down "
                                       "socket [" +
                                       number() + "]"});
    EXPECT_FALSE(stream_->readEvent.isMarked());
    EXPECT_EQ(port_.take_close_records(), 1);
    EXPECT_EQ(receive_exactly(pair_.second(), 1), "");
}

TEST_F(RefusedReceive, IsNotLoggedWhenThePeerAborted)
{
    EXPECT_TRUE(lines_after(10053).empty());
    EXPECT_FALSE(stream_->readEvent.isMarked());
    EXPECT_EQ(port_.take_close_records(), 1);
}

TEST_F(RefusedReceive, IsNotLoggedWhenThePeerReset)
{
    EXPECT_TRUE(lines_after(10054).empty());
    EXPECT_FALSE(stream_->readEvent.isMarked());
    EXPECT_EQ(port_.take_close_records(), 1);
}

TEST_F(SetupReadEvent, PostsNoSecondCloseRecordAfterShutdown)
{
    stream_->Shutdown();
    EXPECT_EQ(port_.take_close_records(), 1);
    stream_->SetupReadEvent();
    EXPECT_EQ(log_.lines(),
              std::vector<std::string>{"DEBG [CKSocketStream] WSARecv error 10058, shutting down socket [" +
                                       number() + "]"});
    EXPECT_FALSE(stream_->readEvent.isMarked());
    EXPECT_EQ(port_.take_close_records(), 0);
}

TEST_F(SetupReadEvent, KeepsTheStreamWholeWhenMessagesAreTakenDuringAReceive)
{
    ASSERT_TRUE(
        send_all(pair_.second(), frame(1, "first") + frame(2, "second") + frame(3, "third").substr(0, 15)));
    u_long waiting = 0;
    ASSERT_TRUE(wait_until([&] { return ::ioctlsocket(socket_, FIONREAD, &waiting) == 0 && waiting == 52; }))
        << waiting;
    stream_->SetupReadEvent();
    complete_read();
    stream_->SetupReadEvent(); // outstanding from here on
    EXPECT_EQ(text_of_next(), "first");
    EXPECT_EQ(text_of_next(), "second");
    EXPECT_EQ(std::string(stream_->receiveBuffer, stream_->receiveFill), frame(3, "third").substr(0, 15));
    ASSERT_TRUE(send_all(pair_.second(), frame(3, "third").substr(15)));
    complete_read();
    EXPECT_EQ(text_of_next(), "third");

    ASSERT_TRUE(send_all(pair_.second(), frame(4, "fourth")));
    stream_->SetupReadEvent();
    complete_read();
    EXPECT_EQ(text_of_next(), "fourth");
}

TEST_F(SetupReadEvent, KeepsTheStreamWholeWhenBuffersAreClearedDuringAReceive)
{
    ASSERT_TRUE(send_all(pair_.second(), frame(1, "dropped")));
    stream_->SetupReadEvent();
    complete_read();
    stream_->SetupReadEvent();
    stream_->ClearBuffers();
    EXPECT_EQ(stream_->receiveFill, 0U);
    ASSERT_TRUE(send_all(pair_.second(), frame(2, "kept")));
    complete_read();
    EXPECT_EQ(std::string(stream_->receiveBuffer, stream_->receiveFill), frame(2, "kept"));
    EXPECT_EQ(text_of_next(), "kept");
    stream_->SetupReadEvent();
    EXPECT_EQ(stream_->receiveBuffer, stream_->receiveBlock);
}

TEST_F(SetupReadEvent, KeepsTheBlockOfAReceiveThatIsStillOutstanding)
{
    // A second post on a nearly full buffer grows it: the first receive still writes into the old block.
    stream_->SetBufferCheck(false);
    const std::string part = frame_of_size(65535).substr(0, 61438);
    ASSERT_TRUE(send_all(pair_.second(), part));
    while (stream_->receiveFill < part.size())
    {
        stream_->SetupReadEvent();
        complete_read();
    }
    stream_->SetupReadEvent(); // 4,097 bytes free: fits
    const char* const old_room = stream_->receiveBuffer + stream_->receiveFill;
    stream_->IncrementReadBytes(1, true); // a host's mistake makes the next one grow
    stream_->SetupReadEvent();
    EXPECT_NE(stream_->receiveBuffer + stream_->receiveFill, old_room + 1);
    ASSERT_TRUE(send_all(pair_.second(), "Z"));
    ASSERT_TRUE(port_.next());
    EXPECT_EQ(*old_room, 'Z');
}

} // namespace
