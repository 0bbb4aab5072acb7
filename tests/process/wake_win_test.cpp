#include <algorithm>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/platform/sockets_win.h"
#include "KFramework/process.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/winsock_session_win.h"

using kf::platform::unique_socket;
using kf::test::import_hook;
using KFramework::KProcesses::SendWOL;
using journal = std::vector<std::string>;
using bytes = std::vector<unsigned char>;

namespace
{
constexpr int kWakePort = 9;
constexpr const char* kMac = "00:11:22:33:44:55";

/// What was called and where the packet really goes; one at a time.
struct network_state
{
    journal calls;
    std::string failing; ///< as it stands in calls; "" fails none
    sockaddr_in listener{};
    int cut = 0; ///< bytes that the system says it did not send
    decltype(&::socket) make = nullptr;
    decltype(&::setsockopt) set = nullptr;
    decltype(&::bind) bind = nullptr;
    decltype(&::sendto) send = nullptr;
    decltype(&::closesocket) close = nullptr;
};
network_state network;

bool note(const std::string& call)
{
    network.calls.push_back(call);
    if (call != network.failing)
        return true;
    ::WSASetLastError(WSAEACCES);
    return false;
}

SOCKET WSAAPI make_socket(int family, int type, int protocol)
{
    const bool as_stated =
        family == AF_INET && type == SOCK_DGRAM && (protocol == 0 || protocol == IPPROTO_UDP);
    return note(as_stated ? "socket" : "another socket") ? network.make(family, type, protocol)
                                                         : INVALID_SOCKET;
}

int WSAAPI set_option(SOCKET socket, int level, int name, const char* value, int size)
{
    const bool as_stated = level == SOL_SOCKET && name == SO_BROADCAST && value[0] != 0;
    return note(as_stated ? "broadcast" : "another option") ? network.set(socket, level, name, value, size)
                                                            : SOCKET_ERROR;
}

int WSAAPI bind_socket(SOCKET socket, const sockaddr* address, int size)
{
    const auto& local = *reinterpret_cast<const sockaddr_in*>(address);
    const bool as_stated =
        local.sin_family == AF_INET && local.sin_addr.s_addr == ::htonl(INADDR_ANY) && local.sin_port == 0;
    return note(as_stated ? "bind" : "bind elsewhere") ? network.bind(socket, address, size) : SOCKET_ERROR;
}

int WSAAPI send_packet(SOCKET socket, const char* data, int size, int flags, const sockaddr* address,
                       int address_size)
{
    const auto& to = *reinterpret_cast<const sockaddr_in*>(address);
    const bool as_stated = to.sin_family == AF_INET && to.sin_addr.s_addr == 0xFFFFFFFF && flags == 0 &&
                           address_size == sizeof to;
    const std::string call = (as_stated ? "send " : "send elsewhere ") + std::to_string(size) + " to port " +
                             std::to_string(::ntohs(to.sin_port));
    if (!note(call))
        return SOCKET_ERROR;
    return network.send(socket, data, size, flags, reinterpret_cast<const sockaddr*>(&network.listener),
                        sizeof network.listener) -
           network.cut;
}

int WSAAPI close_socket(SOCKET socket)
{
    const bool works = note("close");
    const int result = network.close(socket);
    if (works)
        return result;
    ::WSASetLastError(WSAENETDOWN);
    return SOCKET_ERROR;
}

/// The network in the test's hands: packets go to a listener of the test's own.
class SendWOLTest : public testing::Test
{
protected:
    SendWOLTest()
    {
        network = {};
        network.make = make_.original();
        network.set = set_.original();
        network.bind = bind_.original();
        network.send = send_.original();
        network.close = close_.original();

        network.listener.sin_family = AF_INET;
        network.listener.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        int size = sizeof network.listener;
        EXPECT_EQ(::bind(listener_.get(), address(), size), 0);
        EXPECT_EQ(::getsockname(listener_.get(), address(), &size), 0);
        constexpr DWORD kMilliseconds = 10000;
        EXPECT_TRUE(kf::platform::set_option(listener_.get(), SOL_SOCKET, SO_RCVTIMEO, kMilliseconds));
    }

    bytes received() const
    {
        bytes packet(2000);
        const int size = ::recv(listener_.get(), reinterpret_cast<char*>(packet.data()),
                                static_cast<int>(packet.size()), 0);
        packet.resize(static_cast<std::size_t>(std::max(size, 0)));
        return packet;
    }

private:
    static sockaddr* address() { return reinterpret_cast<sockaddr*>(&network.listener); }

    kf::test::winsock_session winsock_;
    unique_socket listener_{::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP)};
    import_hook<decltype(make_socket)> make_{"socket", &make_socket};
    import_hook<decltype(set_option)> set_{"setsockopt", &set_option};
    import_hook<decltype(bind_socket)> bind_{"bind", &bind_socket};
    import_hook<decltype(send_packet)> send_{"sendto", &send_packet};
    import_hook<decltype(close_socket)> close_{"closesocket", &close_socket};
};

bytes magic_packet()
{
    bytes packet(6, 0xFF);
    for (int i = 0; i < 16; ++i)
        packet.insert(packet.end(), {0x00, 0x11, 0x22, 0x33, 0x44, 0x55});
    return packet;
}
} // namespace

TEST_F(SendWOLTest, BroadcastsTheSamePacketForColonsAndHyphens)
{
    for (const char* mac : {kMac, "00-11-22-33-44-55", "001122334455"})
    {
        network.calls.clear();
        EXPECT_TRUE(SendWOL(mac, kWakePort)) << mac;
        EXPECT_EQ(network.calls, journal({"socket", "broadcast", "bind", "send 102 to port 9", "close"}))
            << mac;
        EXPECT_EQ(received(), magic_packet()) << mac;
    }
}

TEST_F(SendWOLTest, OpensNoSocketForAnAddressOfAnotherLength)
{
    for (const char* mac : {"0011223344", "00:11:22:33:44", "00:11:22:33:44:55:66", ""})
        EXPECT_FALSE(SendWOL(mac, kWakePort)) << mac;
    EXPECT_EQ(network.calls, journal());
}

// KEPT[wake-loose-digits]
TEST_F(SendWOLTest, SendsWhatCouldBeReadOfOtherCharacters)
{
    EXPECT_TRUE(SendWOL("zz:+f: 1:1g:44:55", 65535));
    EXPECT_EQ(network.calls[3], "send 102 to port 65535");
    const bytes packet = received();
    ASSERT_EQ(packet.size(), 102u);
    EXPECT_EQ(bytes(packet.begin() + 96, packet.end()), bytes({0, 15, 1, 1, 0x44, 0x55}));
}

TEST_F(SendWOLTest, ClosesTheSocketWhateverFails)
{
    const journal all{"socket", "broadcast", "bind", "send 102 to port 9"};
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        network.calls.clear();
        network.failing = all[i];
        EXPECT_FALSE(SendWOL(kMac, kWakePort)) << all[i];
        journal expected(all.begin(), all.begin() + static_cast<std::ptrdiff_t>(i) + 1);
        if (i > 0)
            expected.emplace_back("close");
        EXPECT_EQ(network.calls, expected);
    }
}

TEST_F(SendWOLTest, SaysOnStandardErrorThatTheSocketWasNotClosed)
{
    network.failing = "close";
    kf::test::captured_output error(kf::test::captured_output::stream::error);
    EXPECT_TRUE(SendWOL(kMac, kWakePort));
    EXPECT_EQ(error.text(), "Close socket return: 10050\n");
}

TEST_F(SendWOLTest, IsFalseWhenNotTheWholePacketWasSent)
{
    network.cut = 1;
    EXPECT_FALSE(SendWOL(kMac, kWakePort));
    EXPECT_EQ(network.calls.back(), "close");
}
