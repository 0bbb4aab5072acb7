#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/fed_receives_win.h"
#include "tests/stream/port_loop_win.h"
#include "tests/support/winsock_session_win.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>

namespace
{

using namespace kf::test;

TEST(Stream, StartsWithTwoBuffersAndNoSocket)
{
    KFramework::UpdateServerTime();
    const long long before = KFramework::GetServerTime();
    CKSocketStream stream;
    ASSERT_NE(stream.sendBuffer, nullptr);
    ASSERT_NE(stream.receiveBuffer, nullptr);
    EXPECT_EQ(stream.receiveFill, 0U);
    EXPECT_EQ(stream.sendFill, 0U);
    EXPECT_EQ(stream.receiveCapacity, 65535U);
    EXPECT_EQ(stream.sendCapacity, 65535U);
    EXPECT_EQ(stream.lastHeartbeat, before);
    EXPECT_EQ(stream.maximumReceiveSize, 65535U);
    EXPECT_EQ(stream.maximumSendSize, 65535U);
    EXPECT_TRUE(stream.bufferCheck);
    EXPECT_EQ(stream.userData, nullptr);
    EXPECT_EQ(stream.sentBytesCounter, nullptr);
    EXPECT_EQ(stream.receivedBytesCounter, nullptr);
    EXPECT_EQ(stream.completionPort, nullptr);
    EXPECT_NE(stream.writeMutex, nullptr);
    EXPECT_EQ(stream.socket, INVALID_SOCKET);
    EXPECT_FALSE(stream.disconnected);
    EXPECT_FALSE(stream.traceEnabled);
    EXPECT_EQ(stream.traceFile, nullptr);
    EXPECT_EQ(stream.traceFolder, "");
    EXPECT_FALSE(stream.readEvent.isMarked());
    EXPECT_FALSE(stream.writeEvent.isMarked());
    EXPECT_EQ(stream.host, "");
    EXPECT_EQ(stream.port, 0);
    EXPECT_TRUE(stream.pooled);
    EXPECT_EQ(stream.referenceCount, 0U);
}

TEST(Stream, OverridesOnlyTheDestructorAndRelease)
{
    struct released : CKSocketStream
    {
        explicit released(int& count) : count_(count) {}
        ~released() override { count_ += 10; }
        void Release() override { ++count_; }
        int& count_;
    };
    int count = 0;
    {
        released one(count);
        KFramework::CKObject& object = one;
        void* const* const slots = *reinterpret_cast<void* const* const*>(&object);
        // Two slots for the destructor, then Release.
        reinterpret_cast<void (*)(KFramework::CKObject*)>(slots[2])(&object);
        EXPECT_EQ(count, 1);
    }
    EXPECT_EQ(count, 11);
}

TEST(Stream, SharesItsBuffersWithCopiesAndFreesThemOnce)
{
    auto source = std::make_unique<CKSocketStream>();
    source->SetSocketHostAndPort("host", 7);
    ASSERT_TRUE(source->AddMessage(1, "queued", 0, false, false));
    auto copy = std::make_unique<CKSocketStream>(*source);
    EXPECT_EQ(copy->sendBuffer, source->sendBuffer);
    EXPECT_EQ(copy->receiveBuffer, source->receiveBuffer);
    EXPECT_EQ(copy->writeMutex, source->writeMutex);
    EXPECT_EQ(copy->sendFill, source->sendFill);
    EXPECT_STREQ(copy->GetSocketHost(), "host");
    EXPECT_EQ(copy->GetSocketPort(), 7);

    source.reset();
    EXPECT_TRUE(copy->AddMessage(2, "after", 0, false, false));
    EXPECT_EQ(std::string(copy->sendBuffer, copy->sendFill), frame(1, "queued") + frame(2, "after"));

    CKSocketStream assigned;
    assigned = *copy;
    copy.reset();
    EXPECT_EQ(assigned.sendFill, frame(1, "queued").size() + frame(2, "after").size());
    EXPECT_TRUE(assigned.AddMessage(3, nullptr, 0, false, false));
}

TEST(Stream, KeepsTheBlockOfACopyWhenItsSourceGrows)
{
    CKSocketStream source;
    source.SetBufferCheck(false);
    ASSERT_TRUE(source.AddMessage(1, "first", 0, false, false));
    const CKSocketStream copy(source);
    while (source.sendCapacity == copy.sendCapacity)
        ASSERT_TRUE(source.AddMessage(2, incompressible_text(20000, 1).c_str(), 0, false, false));
    EXPECT_EQ(std::string(copy.sendBuffer, copy.sendFill), frame(1, "first"));
}

TEST(Stream, KeepsTheBlocksOfACopyWhoseSourceGrewAndDied)
{
    auto source = std::make_unique<CKSocketStream>();
    source->SetBufferCheck(false);
    ASSERT_TRUE(source->AddMessage(1, "first", 0, false, false));
    CKSocketStream copy(*source);
    ASSERT_TRUE(source->AddMessage(2, incompressible_text(70000, 1).c_str(), 0, false, false));
    {
        fed_receives feed(frame_of_size(70000), 4096);
        ASSERT_TRUE(run_polled(*source, feed));
    }
    ASSERT_NE(source->sendBuffer, copy.sendBuffer);
    ASSERT_NE(source->receiveBuffer, copy.receiveBuffer);
    source.reset();

    ASSERT_TRUE(copy.AddMessage(3, "next", 0, false, false));
    fed_receives feed(frame(4, "arrived"), 100);
    ASSERT_TRUE(run_polled(copy, feed));
    std::vector<std::string> others; // would take the place of freed blocks
    for (int i = 0; i < 8; ++i)
        others.emplace_back(65551, 'x');
    EXPECT_EQ(std::string(copy.sendBuffer, copy.sendFill), frame(1, "first") + frame(3, "next"));
    EXPECT_EQ(std::string(copy.receiveBuffer, copy.receiveFill), frame(4, "arrived"));
}

TEST(Stream, SurvivesInAContainerOfValues)
{
    std::vector<CKSocketStream> streams;
    for (unsigned int i = 0; i < 20; ++i) // grows, copying and destroying temporaries
    {
        streams.emplace_back();
        ASSERT_TRUE(streams.back().AddMessage(i, "text", i, false, false));
    }
    for (unsigned int i = 0; i < 20; ++i)
        EXPECT_EQ(std::string(streams[i].sendBuffer, streams[i].sendFill), frame(i, "text", i));
}

// KEPT[destructor-keeps-socket]
TEST(Stream, LeavesTheSocketOpenWhenItDies)
{
    const winsock_session winsock;
    socket_pair pair;
    {
        CKSocketStream stream;
        stream.BindSocket(pair.first());
    }
    EXPECT_TRUE(send_all(pair.first(), "alive"));
    EXPECT_EQ(receive_exactly(pair.second(), 5), "alive");
}

TEST(CheckHeartBeat, IsTrueUpToTheLimit)
{
    CKSocketStream stream;
    stream.UpdateHeartBeat(1000);
    EXPECT_TRUE(stream.CheckHeartBeat(30, 1030));
    EXPECT_FALSE(stream.CheckHeartBeat(30, 1031));
    EXPECT_TRUE(stream.CheckHeartBeat(30, 0));
    EXPECT_FALSE(stream.CheckHeartBeat(-1, 1000));
    EXPECT_TRUE(stream.CheckHeartBeat(0, 1000));
    stream.UpdateHeartBeat(std::numeric_limits<long long>::min());
    stream.CheckHeartBeat(0, std::numeric_limits<long long>::max()); // wraps, does not trap
}

TEST(BindSocket, AdoptsTheSocketAndSetsTheHeartbeat)
{
    CKSocketStream stream;
    stream.UpdateHeartBeat(5);
    stream.BindSocket(1234);
    EXPECT_EQ(stream.GetSocket(), 1234U);
    EXPECT_EQ(stream.lastHeartbeat, KFramework::GetServerTime());
    stream.UnbindSocket();
    EXPECT_EQ(stream.GetSocket(), INVALID_SOCKET);
}

TEST(UnbindSocket, HandsTheOpenSocketBack)
{
    const winsock_session winsock;
    socket_pair pair;
    CKSocketStream stream;
    stream.BindSocket(pair.first());
    stream.UnbindSocket();
    EXPECT_EQ(stream.Close(), 0);
    EXPECT_TRUE(send_all(pair.first(), "alive"));
}

TEST(GetBuffersUsage, IsInPercentOfTheMaximums)
{
    CKSocketStream stream;
    double in = -1;
    double out = -1;
    stream.GetBuffersUsage(0, 0, in, out);
    EXPECT_DOUBLE_EQ(in, 0.0);
    EXPECT_DOUBLE_EQ(out, 0.0);

    ASSERT_TRUE(stream.AddMessage(1, incompressible_text(65535 - 13, 3).c_str(), 0, false, false));
    EXPECT_EQ(stream.sendFill, 65535U);
    stream.GetBuffersUsage(65535, 65535, in, out);
    EXPECT_DOUBLE_EQ(in, 100.0);
    EXPECT_DOUBLE_EQ(out, 200.0);
    stream.GetBuffersUsage(0, 0, in, out);
    EXPECT_DOUBLE_EQ(out, 100.0);
    stream.SetMaxOutgoingBufferSize(0);
    stream.GetBuffersUsage(0, 0, in, out);
    EXPECT_TRUE(std::isinf(out));
}

TEST(StreamFields, AreSetAndGotAsTheyAre)
{
    CKSocketStream stream;
    int data = 0;
    stream.SetData(&data);
    EXPECT_EQ(stream.GetData(), &data);
    stream.SetSocketHostAndPort("peer", 99);
    EXPECT_STREQ(stream.GetSocketHost(), "peer");
    EXPECT_EQ(stream.GetSocketPort(), 99);
    stream.SetSocketHostAndPort(nullptr, 1);
    EXPECT_STREQ(stream.GetSocketHost(), "");
    stream.SetDisconnected(true);
    EXPECT_TRUE(stream.IsDisconnected());
    stream.SetDisconnected(false);
    EXPECT_FALSE(stream.IsDisconnected());
    stream.SetMaxIncomingBufferSize(1);
    stream.SetMaxOutgoingBufferSize(2);
    EXPECT_EQ(stream.maximumReceiveSize, 1U);
    EXPECT_EQ(stream.maximumSendSize, 2U);
    EXPECT_EQ(stream.receiveCapacity, 65535U);
    EXPECT_EQ(stream.sendCapacity, 65535U);
}

} // namespace
