#include "KFramework/socket.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/socket/loopback_sockets_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KSocket;
using kf::test::captured_output;
using kf::test::import_hook;
using kf::test::loopback_socket;
using kf::test::option_of;
using kf::test::port_of;
using kf::test::unique_socket;

namespace
{

constexpr int kWaitMs = 1000 * static_cast<int>(kf::test::kDeadline.count());

int type_of(SOCKET socket)
{
    int type = 0;
    return option_of(socket, SOL_SOCKET, SO_TYPE, type) == 0 ? type : -1;
}

std::vector<int> seen_numbers;
sockaddr_in seen_address;

SOCKET WSAAPI note_socket(int family, int type, int protocol)
{
    seen_numbers = {family, type, protocol};
    return INVALID_SOCKET;
}

int WSAAPI refuse_connect(SOCKET, const sockaddr* address, int length)
{
    seen_numbers = {length};
    seen_address = *reinterpret_cast<const sockaddr_in*>(address);
    return SOCKET_ERROR;
}

int WSAAPI refuse_lookup(const char*, const char*, const addrinfo*, addrinfo**)
{
    ADD_FAILURE() << "a name was looked up";
    return WSAHOST_NOT_FOUND;
}

int WSAAPI note_backlog(SOCKET, int backlog)
{
    seen_numbers = {backlog};
    return 0;
}

std::vector<const void*> seen_pointers;

int WSAAPI note_select(int count, fd_set* read, fd_set* write, fd_set* except, const timeval* timeout)
{
    seen_numbers = {count};
    seen_pointers = {read, write, except, timeout};
    return 7;
}

int WSAAPI note_option(SOCKET, int level, int name, const char* value, int length)
{
    int number = 0;
    std::memcpy(&number, value, sizeof number);
    seen_numbers = {level, name, number, length};
    return 0;
}

int WSAAPI note_shutdown(SOCKET, int how)
{
    seen_numbers = {how};
    return 5;
}

int WSAAPI note_mode(SOCKET, long command, u_long* mode)
{
    seen_numbers.push_back(static_cast<int>(*mode));
    EXPECT_EQ(command, static_cast<long>(FIONBIO));
    return SOCKET_ERROR;
}

struct connected_pair
{
    unique_socket listener = loopback_socket(SOCK_STREAM);
    unique_socket connecting = kf::test::connected_to(port_of(listener.get()));
    unique_socket accepted{AcceptSocket(listener.get(), nullptr, nullptr)};
};

} // namespace

// KEPT[datagram-kinds]
TEST(CreateSocket, MakesDatagramSocketsOfKindsOneAndTwo)
{
    const unique_socket one(CreateSocket(AF_INET, 1));
    const unique_socket two(CreateSocket(AF_INET, 2));
    EXPECT_EQ(type_of(one.get()), SOCK_DGRAM);
    EXPECT_EQ(type_of(two.get()), SOCK_DGRAM);
}

TEST(CreateSocket, MakesStreamSocketsOfAnyOtherKind)
{
    for (const int kind : {0, 3, -1, 4096})
    {
        const unique_socket made(CreateSocket(AF_INET, kind));
        EXPECT_EQ(type_of(made.get()), SOCK_STREAM) << kind;
    }
}

TEST(CreateSocket, AsksForProtocolZero)
{
    const import_hook hook("socket", &note_socket);
    EXPECT_EQ(CreateSocket(AF_INET6, 0), INVALID_SOCKET);
    EXPECT_EQ(seen_numbers, (std::vector<int>{AF_INET6, SOCK_STREAM, 0}));
    EXPECT_EQ(CreateSocket(AF_INET, 1), INVALID_SOCKET);
    EXPECT_EQ(seen_numbers, (std::vector<int>{AF_INET, SOCK_DGRAM, 0}));
}

TEST(CreateSocket, GivesInvalidSocketForAnUnknownFamily)
{
    EXPECT_EQ(CreateSocket(12345, 0), INVALID_SOCKET);
}

TEST(ConnectSocket, ConnectsToADottedAddress)
{
    const unique_socket listener = loopback_socket(SOCK_STREAM);
    const unique_socket socket(CreateSocket(AF_INET, 0));
    EXPECT_TRUE(ConnectSocket(socket.get(), "127.0.0.1", port_of(listener.get())));
}

TEST(ConnectSocket, GivesFalseWhenNobodyListens)
{
    const unique_socket bound(CreateSocket(AF_INET, 0)); // holds the port without listening
    const sockaddr_in address = kf::test::loopback_address();
    ASSERT_EQ(::bind(bound.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    const unique_socket socket(CreateSocket(AF_INET, 0));
    EXPECT_FALSE(ConnectSocket(socket.get(), "127.0.0.1", port_of(bound.get())));
    EXPECT_FALSE(ConnectSocket(INVALID_SOCKET, "127.0.0.1", port_of(bound.get())));
}

// KEPT[connect-literal]
TEST(ConnectSocket, LooksUpNoName)
{
    const import_hook lookup("getaddrinfo", &refuse_lookup);
    const import_hook connect("connect", &refuse_connect);
    const unique_socket socket(CreateSocket(AF_INET, 0));
    EXPECT_FALSE(ConnectSocket(socket.get(), "localhost", 0x1234));
    EXPECT_EQ(seen_address.sin_addr.s_addr, INADDR_NONE);
    EXPECT_EQ(seen_address.sin_family, AF_INET);
    EXPECT_EQ(seen_address.sin_port, ::htons(0x1234));
    EXPECT_EQ(seen_numbers, std::vector<int>{16});
}

// KEPT[listen-result]
TEST(ListenSocket, GivesZeroWhenListeningAndOneWhenNot)
{
    const unique_socket stream(CreateSocket(AF_INET, 0));
    const sockaddr_in address = kf::test::loopback_address();
    ASSERT_EQ(::bind(stream.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(ListenSocket(stream.get()), 0);
    const unique_socket datagram(CreateSocket(AF_INET, 1));
    EXPECT_EQ(ListenSocket(datagram.get()), 1);
    EXPECT_EQ(ListenSocket(INVALID_SOCKET), 1);
}

TEST(ListenSocket, AsksForTheLongestBacklog)
{
    const import_hook hook("listen", &note_backlog);
    EXPECT_EQ(ListenSocket(1), 0);
    EXPECT_EQ(seen_numbers, std::vector<int>{0x7FFFFFFF});
}

TEST(AcceptSocket, GivesASocketThatChildrenDoNotInherit)
{
    const connected_pair pair;
    ASSERT_TRUE(pair.accepted);
    EXPECT_FALSE(kf::test::inheritable(pair.accepted.get()));
    EXPECT_TRUE(kf::test::inheritable(pair.connecting.get()))
        << "the test must be able to see the difference";
}

TEST(AcceptSocket, FillsThePeersAddress)
{
    const unique_socket listener = loopback_socket(SOCK_STREAM);
    const unique_socket connecting = kf::test::connected_to(port_of(listener.get()));
    sockaddr_in peer = {};
    int length = sizeof peer;
    const unique_socket accepted(AcceptSocket(listener.get(), &peer, &length));
    EXPECT_TRUE(accepted);
    EXPECT_EQ(length, 16);
    EXPECT_EQ(peer.sin_addr.s_addr, ::htonl(INADDR_LOOPBACK));
    EXPECT_EQ(::ntohs(peer.sin_port), port_of(connecting.get()));
}

TEST(AcceptSocket, GivesInvalidSocketOnFailure)
{
    EXPECT_EQ(AcceptSocket(INVALID_SOCKET, nullptr, nullptr), INVALID_SOCKET);
    const unique_socket datagram(CreateSocket(AF_INET, 1));
    EXPECT_EQ(AcceptSocket(datagram.get(), nullptr, nullptr), INVALID_SOCKET);
}

TEST(SelectSocket, CountsReadySocketsAndGivesZeroInTime)
{
    const connected_pair pair;
    fd_set set;
    FD_ZERO(&set);
    FD_SET(pair.accepted.get(), &set);
    timeval soon = {0, 1000};
    EXPECT_EQ(SelectSocket(0, &set, nullptr, nullptr, &soon), 0);
    FD_SET(pair.accepted.get(), &set);
    EXPECT_EQ(SelectSocket(0, nullptr, &set, nullptr, nullptr), 1);
    EXPECT_EQ(SelectSocket(0, nullptr, nullptr, nullptr, &soon), SOCKET_ERROR);
}

// KEPT[select-count]
TEST(SelectSocket, Passes4096WhateverTheCount)
{
    const import_hook hook("select", &note_select);
    for (const int count : {0, 1, 5000})
    {
        EXPECT_EQ(SelectSocket(count, nullptr, nullptr, nullptr, nullptr), 7);
        EXPECT_EQ(seen_numbers, std::vector<int>{4096});
    }
}

TEST(SelectSocket, PassesEachSetInItsPlace)
{
    const import_hook hook("select", &note_select);
    fd_set read;
    fd_set write;
    fd_set except;
    timeval timeout = {};
    EXPECT_EQ(SelectSocket(0, &read, &write, &except, &timeout), 7);
    EXPECT_EQ(seen_pointers, (std::vector<const void*>{&read, &write, &except, &timeout}));
}

TEST(ShutdownSocket, EndsBothDirections)
{
    const connected_pair pair;
    EXPECT_EQ(ShutdownSocket(pair.accepted.get()), 0);
    ASSERT_TRUE(kf::test::readable(pair.connecting.get(), kWaitMs));
    char byte = 0;
    EXPECT_EQ(::recv(pair.connecting.get(), &byte, 1, 0), 0);
    EXPECT_EQ(::send(pair.accepted.get(), &byte, 1, 0), SOCKET_ERROR);
    EXPECT_EQ(::WSAGetLastError(), WSAESHUTDOWN);
}

TEST(ShutdownSocket, GivesWhatThePlatformGives)
{
    EXPECT_EQ(ShutdownSocket(12), SOCKET_ERROR);
    const import_hook hook("shutdown", &note_shutdown);
    EXPECT_EQ(ShutdownSocket(12), 5);
    EXPECT_EQ(seen_numbers, std::vector<int>{SD_BOTH});
}

// KEPT[invalid-socket]
TEST(ShutdownSocket, GivesZeroForInvalidSocketWhereClosingGivesMinusOneInSilence)
{
    captured_output error(captured_output::stream::error);
    EXPECT_EQ(ShutdownSocket(INVALID_SOCKET), 0);
    EXPECT_EQ(CloseSocket(INVALID_SOCKET), -1);
    EXPECT_EQ(error.bytes(), "");
}

TEST(CloseSocket, ClosesOnceAndPrintsTheErrorTheSecondTime)
{
    const SOCKET socket = CreateSocket(AF_INET, 0);
    captured_output error(captured_output::stream::error);
    EXPECT_EQ(CloseSocket(socket), 0);
    EXPECT_EQ(error.bytes(), "");
    EXPECT_EQ(CloseSocket(socket), -1);
    EXPECT_EQ(error.bytes(), "Close socket return: 10038\r\n");
}

// KEPT[linger-raw]
TEST(SetLingerStatus, PassesTheNumberAsTheRecordItself)
{
    const unique_socket socket(CreateSocket(AF_INET, 0));
    const auto expect_linger = [&](int value, int on, int seconds)
    {
        EXPECT_TRUE(SetLingerStatus(socket.get(), value));
        linger record = {99, 99};
        EXPECT_EQ(option_of(socket.get(), SOL_SOCKET, SO_LINGER, record), 0);
        EXPECT_EQ(record.l_onoff, on) << value;
        if (on != 0)
        {
            EXPECT_EQ(record.l_linger, seconds) << value;
        }
    };
    expect_linger(1, 1, 0);
    expect_linger(0, 0, 0);
    expect_linger(0x00050001, 1, 5);
}

TEST(SetLingerStatus, ResetsTheConnectionWithOne)
{
    connected_pair pair;
    EXPECT_TRUE(SetLingerStatus(pair.accepted.get(), 1));
    pair.accepted.reset();
    ASSERT_TRUE(kf::test::readable(pair.connecting.get(), kWaitMs));
    // A connection that was closed in the ordinary way takes one more byte; a reset one does not.
    char byte = 0;
    EXPECT_EQ(::send(pair.connecting.get(), &byte, 1, 0), SOCKET_ERROR);
    EXPECT_EQ(::WSAGetLastError(), WSAECONNRESET);
}

TEST(SetLingerStatus, PassesFourBytes)
{
    const import_hook hook("setsockopt", &note_option);
    EXPECT_TRUE(SetLingerStatus(1, -2));
    EXPECT_EQ(seen_numbers, (std::vector<int>{SOL_SOCKET, SO_LINGER, -2, 4}));
}

TEST(SetLingerStatus, GivesFalseOnFailure)
{
    EXPECT_FALSE(SetLingerStatus(INVALID_SOCKET, 1));
}

// KEPT[nagle-no-delay]
TEST(SetNagleStatus, SwitchesTheDelayOffWithTrue)
{
    const unique_socket socket(CreateSocket(AF_INET, 0));
    BOOLEAN no_delay = 99; // one byte is all that the platform promises to write
    EXPECT_TRUE(SetNagleStatus(socket.get(), true));
    EXPECT_EQ(option_of(socket.get(), IPPROTO_TCP, TCP_NODELAY, no_delay), 0);
    EXPECT_EQ(no_delay, 1);
    EXPECT_TRUE(SetNagleStatus(socket.get(), false));
    EXPECT_EQ(option_of(socket.get(), IPPROTO_TCP, TCP_NODELAY, no_delay), 0);
    EXPECT_EQ(no_delay, 0);
}

TEST(SetNagleStatus, PassesFourBytes)
{
    const import_hook hook("setsockopt", &note_option);
    EXPECT_TRUE(SetNagleStatus(1, true));
    EXPECT_EQ(seen_numbers, (std::vector<int>{IPPROTO_TCP, TCP_NODELAY, 1, 4}));
    EXPECT_TRUE(SetNagleStatus(1, false));
    EXPECT_EQ(seen_numbers, (std::vector<int>{IPPROTO_TCP, TCP_NODELAY, 0, 4}));
}

TEST(SetNagleStatus, GivesFalseOnFailure)
{
    EXPECT_FALSE(SetNagleStatus(INVALID_SOCKET, true));
}

TEST(SetBlockStatus, MakesAReadAnswerAtOnceOrWait)
{
    const connected_pair pair;
    const DWORD limit_ms = 50;
    ::setsockopt(pair.accepted.get(), SOL_SOCKET, SO_RCVTIMEO, reinterpret_cast<const char*>(&limit_ms),
                 sizeof limit_ms);
    char byte = 0;
    EXPECT_TRUE(SetBlockStatus(pair.accepted.get(), false));
    EXPECT_EQ(::recv(pair.accepted.get(), &byte, 1, 0), SOCKET_ERROR);
    EXPECT_EQ(::WSAGetLastError(), WSAEWOULDBLOCK);
    EXPECT_TRUE(SetBlockStatus(pair.accepted.get(), true));
    EXPECT_EQ(::recv(pair.accepted.get(), &byte, 1, 0), SOCKET_ERROR);
    EXPECT_EQ(::WSAGetLastError(), WSAETIMEDOUT);
}

// KEPT[block-status-true]
TEST(SetBlockStatus, GivesTrueEvenWhenNothingChanged)
{
    EXPECT_TRUE(SetBlockStatus(INVALID_SOCKET, true));
    EXPECT_TRUE(SetBlockStatus(INVALID_SOCKET, false));
    seen_numbers.clear();
    const import_hook hook("ioctlsocket", &note_mode);
    EXPECT_TRUE(SetBlockStatus(1, true));
    EXPECT_TRUE(SetBlockStatus(1, false));
    EXPECT_EQ(seen_numbers, (std::vector<int>{0, 1}));
}
