#include "KFramework/socket.h"

#include <gtest/gtest.h>
#include <string>

#include "tests/socket/loopback_sockets_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KSocket;
using kf::test::import_hook;
using kf::test::unique_socket;

namespace
{

constexpr int kWaitMs = 1000 * static_cast<int>(kf::test::kDeadline.count());

/// Counts down with each call; the call that reaches 0 fails.
int calls_until_failure = 0;

bool fails_now()
{
    return --calls_until_failure == 0;
}

SOCKET WSAAPI failing_socket(int family, int type, int protocol)
{
    return fails_now() ? INVALID_SOCKET : ::socket(family, type, protocol);
}

int WSAAPI failing_bind(SOCKET, const sockaddr*, int)
{
    return SOCKET_ERROR;
}

int WSAAPI failing_listen(SOCKET, int)
{
    return SOCKET_ERROR;
}

int WSAAPI failing_getsockname(SOCKET socket, sockaddr* address, int* length)
{
    return fails_now() ? SOCKET_ERROR : ::getsockname(socket, address, length);
}

int WSAAPI failing_connect(SOCKET, const sockaddr*, int)
{
    return SOCKET_ERROR;
}

sockaddr_in bound_address;
int seen_backlog = 0;
SOCKET connected_end = INVALID_SOCKET;

int WSAAPI note_bind(SOCKET socket, const sockaddr* address, int length)
{
    EXPECT_EQ(length, 16);
    bound_address = *reinterpret_cast<const sockaddr_in*>(address);
    return ::bind(socket, address, length);
}

int WSAAPI note_listen(SOCKET socket, int backlog)
{
    seen_backlog = backlog;
    return ::listen(socket, backlog);
}

int WSAAPI note_connect(SOCKET socket, const sockaddr* address, int length)
{
    connected_end = socket;
    return ::connect(socket, address, length);
}

SOCKET WSAAPI failing_accept(SOCKET, sockaddr*, int*)
{
    return INVALID_SOCKET;
}

unique_socket stranger;

/// Somebody else finds the port and connects first.
int WSAAPI overtaken_connect(SOCKET socket, const sockaddr* address, int length)
{
    stranger = unique_socket(::socket(AF_INET, SOCK_STREAM, 0));
    EXPECT_EQ(::connect(stranger.get(), address, length), 0);
    return ::connect(socket, address, length);
}

int strangers_accepted = 0;

SOCKET WSAAPI accept_strangers_only(SOCKET, sockaddr* address, int* length)
{
    ++strangers_accepted;
    *reinterpret_cast<sockaddr_in*>(address) = kf::test::loopback_address(1);
    *length = sizeof(sockaddr_in);
    return ::socket(AF_INET, SOCK_STREAM, 0);
}

void expect_failure_without_leak()
{
    const std::size_t before = kf::test::socket_count();
    SOCKET pair[2] = {1, 2};
    EXPECT_EQ(CreateLoopbackPipes(pair), -1);
    EXPECT_EQ(pair[0], INVALID_SOCKET);
    EXPECT_EQ(pair[1], INVALID_SOCKET);
    EXPECT_EQ(kf::test::socket_count(), before);
}

void expect_passes(SOCKET from, SOCKET to, const std::string& text)
{
    EXPECT_EQ(::send(from, text.data(), static_cast<int>(text.size()), 0), static_cast<int>(text.size()));
    ASSERT_TRUE(kf::test::readable(to, kWaitMs));
    char buffer[100] = {};
    const int got = ::recv(to, buffer, sizeof buffer, 0);
    EXPECT_EQ(std::string(buffer, got > 0 ? static_cast<std::size_t>(got) : 0), text);
}

} // namespace

TEST(CreateLoopbackPipes, PassesDataInBothDirections)
{
    const std::size_t before = kf::test::socket_count();
    SOCKET pair[2] = {};
    ASSERT_EQ(CreateLoopbackPipes(pair), 0);
    EXPECT_EQ(kf::test::socket_count(), before + 2) << "the listener is closed";
    expect_passes(pair[0], pair[1], "there");
    expect_passes(pair[1], pair[0], "and back");
    EXPECT_EQ(CloseSocket(pair[0]), 0);
    EXPECT_EQ(CloseSocket(pair[1]), 0);
}

TEST(CreateLoopbackPipes, MakesNonBlockingSocketsThatChildrenDoNotInherit)
{
    SOCKET pair[2] = {};
    ASSERT_EQ(CreateLoopbackPipes(pair), 0);
    for (const SOCKET socket : pair)
    {
        const DWORD limit_ms = 1000; // what a blocking one would wait
        ::setsockopt(socket, SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&limit_ms),
                     sizeof limit_ms);
        char byte = 0;
        EXPECT_EQ(::recv(socket, &byte, 1, 0), SOCKET_ERROR);
        EXPECT_EQ(::WSAGetLastError(), WSAEWOULDBLOCK);
        EXPECT_FALSE(kf::test::inheritable(socket));
        sockaddr_in address = {};
        int length = sizeof address;
        EXPECT_EQ(::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length), 0);
        EXPECT_EQ(address.sin_addr.s_addr, ::htonl(INADDR_LOOPBACK));
    }
    EXPECT_EQ(CloseSocket(pair[0]), 0);
    EXPECT_EQ(CloseSocket(pair[1]), 0);
}

TEST(CreateLoopbackPipes, ListensOnLoopbackAloneForOneConnection)
{
    const import_hook binds("bind", &note_bind);
    const import_hook listens("listen", &note_listen);
    const import_hook connects("connect", &note_connect);
    SOCKET pair[2] = {};
    ASSERT_EQ(CreateLoopbackPipes(pair), 0);
    EXPECT_EQ(bound_address.sin_family, AF_INET);
    EXPECT_EQ(bound_address.sin_addr.s_addr, ::htonl(INADDR_LOOPBACK)) << "no other machine can get there";
    EXPECT_EQ(bound_address.sin_port, 0);
    EXPECT_EQ(seen_backlog, 1);
    EXPECT_EQ(pair[1], connected_end);
    EXPECT_EQ(CloseSocket(pair[0]), 0);
    EXPECT_EQ(CloseSocket(pair[1]), 0);
}

TEST(CreateLoopbackPipes, LeavesNothingOpenWhenACallFails)
{
    {
        const import_hook hook("bind", &failing_bind);
        expect_failure_without_leak();
    }
    {
        const import_hook hook("listen", &failing_listen);
        expect_failure_without_leak();
    }
    {
        const import_hook hook("connect", &failing_connect);
        expect_failure_without_leak();
    }
    {
        const import_hook hook("accept", &failing_accept);
        expect_failure_without_leak();
    }
    for (const int failing_call : {1, 2}) // of the listener, of the connecting end
    {
        {
            const import_hook hook("socket", &failing_socket);
            calls_until_failure = failing_call;
            expect_failure_without_leak();
        }
        {
            const import_hook hook("getsockname", &failing_getsockname);
            calls_until_failure = failing_call;
            expect_failure_without_leak();
        }
    }
}

TEST(CreateLoopbackPipes, TurnsAwayAStrangerWhoConnectsFirst)
{
    SOCKET pair[2] = {};
    {
        const import_hook hook("connect", &overtaken_connect);
        ASSERT_EQ(CreateLoopbackPipes(pair), 0);
    }
    expect_passes(pair[0], pair[1], "between the two");
    expect_passes(pair[1], pair[0], "and only them");
    ASSERT_TRUE(kf::test::readable(stranger.get(), kWaitMs));
    char byte = 0;
    EXPECT_LE(::recv(stranger.get(), &byte, 1, 0), 0) << "the stranger's connection is over";
    stranger.reset();
    EXPECT_EQ(CloseSocket(pair[0]), 0);
    EXPECT_EQ(CloseSocket(pair[1]), 0);
}

TEST(CreateLoopbackPipes, GivesUpAfterTooManyStrangers)
{
    const import_hook hook("accept", &accept_strangers_only);
    strangers_accepted = 0;
    expect_failure_without_leak();
    EXPECT_GT(strangers_accepted, 1);
}
