#include "KFramework/socket.h"

#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "tests/socket/loopback_sockets_win.h"
#include "tests/support/captured_log_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KSocket;
using kf::test::import_hook;
using kf::test::loopback_socket;
using kf::test::port_of;
using kf::test::unique_socket;

namespace
{

constexpr int kWaitMs = 1000 * static_cast<int>(kf::test::kDeadline.count());
constexpr char kFailure[] = "Unable to send broadcast packet. Socket error!";

struct packet
{
    std::string bytes;
    sockaddr_in to;
    int address_bytes;
    int flags;
};

std::vector<packet> packets;

/// Packets go to this port on loopback, not to the network; 0 refuses them.
std::uint16_t forward_port = 0;

int WSAAPI forward_to_loopback(SOCKET socket, const char* data, int length, int flags, const sockaddr* to,
                               int address_bytes)
{
    packets.push_back(
        {{data, data + length}, *reinterpret_cast<const sockaddr_in*>(to), address_bytes, flags});
    if (forward_port == 0)
        return SOCKET_ERROR;
    const sockaddr_in here = kf::test::loopback_address(forward_port);
    return ::sendto(socket, data, length, flags, reinterpret_cast<const sockaddr*>(&here), sizeof here);
}

bool send(SOCKET socket, int port, std::string data)
{
    return SendbroadcastSocket(socket, port, data.data(), static_cast<int>(data.size()));
}

struct option_call
{
    int level;
    int name;
    std::string value;
    bool operator==(const option_call&) const = default;
};

std::vector<option_call> option_calls;
/// Which call fails, from 1; 0 for none.
int failing_option = 0;

int WSAAPI note_setsockopt(SOCKET socket, int level, int name, const char* value, int length)
{
    option_calls.push_back({level, name, {value, value + length}});
    if (static_cast<int>(option_calls.size()) == failing_option)
        return SOCKET_ERROR;
    return ::setsockopt(socket, level, name, value, length);
}

} // namespace

TEST(SendbroadcastSocket, SendsTheBytesToEveryoneOnThePort)
{
    const import_hook hook("sendto", &forward_to_loopback);
    const unique_socket listener = loopback_socket(SOCK_DGRAM);
    const unique_socket sender(CreateSocket(AF_INET, 1));
    packets.clear();
    forward_port = port_of(listener.get());
    EXPECT_TRUE(send(sender.get(), 0x1234, std::string("a\0b", 3)));

    ASSERT_EQ(packets.size(), 1u);
    EXPECT_EQ(packets[0].bytes, std::string("a\0b", 3));
    EXPECT_EQ(packets[0].to.sin_family, AF_INET);
    EXPECT_EQ(packets[0].to.sin_addr.s_addr, 0xFFFFFFFFu);
    EXPECT_EQ(packets[0].to.sin_port, ::htons(0x1234));
    EXPECT_EQ(packets[0].address_bytes, 16);
    EXPECT_EQ(packets[0].flags, 0);

    ASSERT_TRUE(kf::test::readable(listener.get(), kWaitMs));
    char buffer[10] = {};
    EXPECT_EQ(::recv(listener.get(), buffer, sizeof buffer, 0), 3);
    EXPECT_EQ(std::string(buffer, 3), std::string("a\0b", 3));
}

TEST(SendbroadcastSocket, LogsAFailureAtTheFirstLevel)
{
    const import_hook hook("sendto", &forward_to_loopback);
    forward_port = 0;
    const kf::test::captured_log log;
    kf::test::captured_output error(kf::test::captured_output::stream::error);
    EXPECT_FALSE(send(INVALID_SOCKET, 9, "x"));
    EXPECT_EQ(error.bytes(), "") << "only to the log";
    EXPECT_EQ(log.lines(), std::vector<std::string>{std::string("SEVR [KFramework] ") + kFailure});
}

TEST(SendbroadcastSocket, PrintsAFailureWhenThereIsNoLogger)
{
    const import_hook hook("sendto", &forward_to_loopback);
    forward_port = 0;
    kf::test::captured_output error(kf::test::captured_output::stream::error);
    EXPECT_FALSE(send(INVALID_SOCKET, 9, "x"));
    EXPECT_NE(error.text().find(kFailure), std::string::npos) << error.text();
}

TEST(BindBroadcastSocket, BindsToEveryInterfaceAndAllowsBroadcasts)
{
    const unique_socket socket(CreateSocket(AF_INET, 1));
    EXPECT_TRUE(BindBroadcastSocket(socket.get(), 0));
    sockaddr_in address = {};
    int length = sizeof address;
    EXPECT_EQ(::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &length), 0);
    EXPECT_EQ(address.sin_addr.s_addr, ::htonl(INADDR_ANY));
    EXPECT_NE(address.sin_port, 0);
    int allowed = 0;
    EXPECT_EQ(kf::test::option_of(socket.get(), SOL_SOCKET, SO_BROADCAST, allowed), 0);
    EXPECT_NE(allowed, 0);

    const unique_socket second(CreateSocket(AF_INET, 1));
    EXPECT_TRUE(BindBroadcastSocket(second.get(), ::ntohs(address.sin_port))) << "the port is shared";
}

// KEPT[broadcast-option-byte]
TEST(BindBroadcastSocket, SetsTwoOptionsOfOneByteInOrder)
{
    const import_hook hook("setsockopt", &note_setsockopt);
    option_calls.clear();
    failing_option = 0;
    const unique_socket socket(CreateSocket(AF_INET, 1));
    EXPECT_TRUE(BindBroadcastSocket(socket.get(), 0));
    EXPECT_EQ(option_calls,
              (std::vector<option_call>{{SOL_SOCKET, SO_REUSEADDR, "\1"}, {SOL_SOCKET, SO_BROADCAST, "\1"}}));
}

TEST(BindBroadcastSocket, GivesFalseWhenAStepFails)
{
    EXPECT_FALSE(BindBroadcastSocket(INVALID_SOCKET, 0));
    const unique_socket bound = loopback_socket(SOCK_DGRAM);
    EXPECT_FALSE(BindBroadcastSocket(bound.get(), 0)) << "bound already";

    const import_hook hook("setsockopt", &note_setsockopt);
    for (const int step : {1, 2})
    {
        option_calls.clear();
        failing_option = step;
        const unique_socket socket(CreateSocket(AF_INET, 1));
        EXPECT_FALSE(BindBroadcastSocket(socket.get(), 0));
        EXPECT_EQ(option_calls.size(), static_cast<std::size_t>(step));
        EXPECT_EQ(port_of(socket.get()), 0) << "not bound";
    }
}
