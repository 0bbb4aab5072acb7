#include "KFramework/socket.h"

#include <array>
#include <gtest/gtest.h>
#include <string>
#include <vector>

#include "KFramework/string.h"
#include "tests/socket/loopback_sockets_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KSocket;
using kf::test::captured_output;
using kf::test::import_hook;
using kf::test::unique_socket;

namespace
{

constexpr int kWaitMs = 1000 * static_cast<int>(kf::test::kDeadline.count());
constexpr char kGroupV4[] = "239.255.43.21";
constexpr char kGroupV6[] = "ff01::4321";
constexpr int kBufferBytes = 123456;

/// The functions take text that they could change; they do not.
std::string writable(const char* text)
{
    return text;
}

SOCKET receive_socket(const char* group, const char* port)
{
    std::string group_text = writable(group);
    std::string port_text = writable(port);
    return CreateMulticastRcvSocket(group_text.data(), port_text.data(), kBufferBytes);
}

SOCKET send_socket(const char* group, const char* port, int hops, addrinfo** destination)
{
    std::string group_text = writable(group);
    std::string port_text = writable(port);
    return CreateMulticastSendSocket(group_text.data(), port_text.data(), hops, destination);
}

std::string lookup_message(int code)
{
    return "getaddrinfo: " + KFramework::KStringHelper::WideStringToUtf8String(::gai_strerrorW(code)) + "\n";
}

int code_of_text_as_address()
{
    addrinfo hints = {};
    hints.ai_flags = AI_NUMERICHOST;
    addrinfo* list = nullptr;
    return ::getaddrinfo("no-address", nullptr, &hints, &list);
}

struct option_call
{
    int level;
    int name;
    std::vector<unsigned char> value;
    bool operator==(const option_call&) const = default;
};

option_call option(int level, int name, std::initializer_list<int> bytes)
{
    option_call call{level, name, {}};
    for (const int byte : bytes)
        call.value.push_back(static_cast<unsigned char>(byte));
    return call;
}

std::vector<option_call> option_calls;
/// Which call of setsockopt fails, from 1; 0 for none.
int failing_option = 0;
/// The options are taken for set: this machine may know no IPv6 group.
bool pretend_options = false;
std::vector<SOCKET> made_sockets;
std::vector<std::array<int, 3>> asked_sockets;
std::vector<sockaddr_in> bound_addresses;
int freed_lists = 0;
int lookups = 0;

SOCKET WSAAPI note_socket(int family, int type, int protocol)
{
    asked_sockets.push_back({family, type, protocol});
    made_sockets.push_back(::socket(family, type, protocol));
    return made_sockets.back();
}

SOCKET WSAAPI no_socket(int, int, int)
{
    return INVALID_SOCKET;
}

int WSAAPI note_setsockopt(SOCKET socket, int level, int name, const char* value, int length)
{
    option_calls.push_back({level, name, {value, value + length}});
    if (static_cast<int>(option_calls.size()) == failing_option)
        return SOCKET_ERROR;
    return pretend_options ? 0 : ::setsockopt(socket, level, name, value, length);
}

int WSAAPI failing_bind(SOCKET, const sockaddr*, int)
{
    return SOCKET_ERROR;
}

int WSAAPI note_bind(SOCKET, const sockaddr* address, int length)
{
    EXPECT_EQ(length, 16);
    bound_addresses.push_back(*reinterpret_cast<const sockaddr_in*>(address));
    return 0;
}

int WSAAPI pretended_bind(SOCKET, const sockaddr*, int)
{
    return 0;
}

int WSAAPI pretended_getsockopt(SOCKET, int, int, char*, int*)
{
    return 0;
}

int WSAAPI failing_getsockopt(SOCKET, int, int, char*, int*)
{
    return SOCKET_ERROR;
}

void WSAAPI note_freeaddrinfo(addrinfo* list)
{
    EXPECT_NE(list, nullptr);
    ++freed_lists;
    ::freeaddrinfo(list);
}

int WSAAPI second_lookup_fails(const char* node, const char* service, const addrinfo* hints, addrinfo** list)
{
    if (++lookups == 2)
        return WSAHOST_NOT_FOUND;
    return ::getaddrinfo(node, service, hints, list);
}

/// The group's address gets a length that fits neither family.
int WSAAPI lookup_of_odd_length(const char* node, const char* service, const addrinfo* hints, addrinfo** list)
{
    const int code = ::getaddrinfo(node, service, hints, list);
    if (node != nullptr && code == 0)
        (*list)->ai_addrlen = 20;
    return code;
}

std::vector<addrinfo> seen_hints;
std::vector<std::string> seen_texts;

int WSAAPI note_lookup(const char* node, const char* service, const addrinfo* hints, addrinfo** list)
{
    seen_hints.push_back(*hints);
    seen_texts.push_back(std::string(node == nullptr ? "-" : node) + " " +
                         (service == nullptr ? "-" : service));
    return ::getaddrinfo(node, service, hints, list);
}

/// Watches the calls of one creation, and closes what it left open.
class watched_creation
{
public:
    watched_creation()
    {
        option_calls.clear();
        made_sockets.clear();
        asked_sockets.clear();
        bound_addresses.clear();
        failing_option = 0;
        pretend_options = false;
        freed_lists = 0;
        lookups = 0;
    }
    ~watched_creation()
    {
        for (const SOCKET socket : made_sockets)
            ::closesocket(socket);
    }
    watched_creation(const watched_creation&) = delete;
    watched_creation& operator=(const watched_creation&) = delete;

private:
    import_hook<decltype(note_socket)> sockets_{"socket", &note_socket};
    import_hook<decltype(note_setsockopt)> options_{"setsockopt", &note_setsockopt};
    import_hook<decltype(note_freeaddrinfo)> lists_{"freeaddrinfo", &note_freeaddrinfo};
};

/// Creates a receiver, which must fail with the text and leave its socket open.
void expect_receiver_fails(const std::string& text, const char* group = kGroupV4)
{
    const std::size_t before = kf::test::socket_count();
    captured_output error(captured_output::stream::error);
    EXPECT_EQ(receive_socket(group, "0"), INVALID_SOCKET);
    EXPECT_EQ(error.text(), text);
    EXPECT_EQ(kf::test::socket_count(), before + 1);
    EXPECT_EQ(made_sockets.size(), 1u);
    EXPECT_EQ(freed_lists, 2);
}

void expect_sender_fails(const std::string& text, int hops, const char* group = kGroupV4)
{
    const std::size_t before = kf::test::socket_count();
    captured_output error(captured_output::stream::error);
    addrinfo unused = {};
    addrinfo* destination = &unused;
    EXPECT_EQ(send_socket(group, "9", hops, &destination), INVALID_SOCKET);
    EXPECT_EQ(error.text(), text);
    EXPECT_EQ(destination, nullptr);
    EXPECT_EQ(kf::test::socket_count(), before);
    EXPECT_EQ(freed_lists, 1);
    made_sockets.clear(); // closed by the library
}

/// Whether this machine can join a group at all, asked without the library, whose own failure must not pass for it.
template <class Membership>
bool can_join(int family, int level, int option, const Membership& membership)
{
    const unique_socket probe(::socket(family, SOCK_DGRAM, 0));
    return probe && ::setsockopt(probe.get(), level, option, reinterpret_cast<const char*>(&membership),
                                 sizeof membership) == 0;
}

bool can_join_v4()
{
    ip_mreq membership = {};
    membership.imr_multiaddr.s_addr = ::inet_addr(kGroupV4);
    return can_join(AF_INET, IPPROTO_IP, IP_ADD_MEMBERSHIP, membership);
}

bool can_join_v6()
{
    ipv6_mreq membership = {};
    ::inet_pton(AF_INET6, kGroupV6, &membership.ipv6mr_multiaddr);
    return can_join(AF_INET6, IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP, membership);
}

void expect_a_packet_passes(const char* group)
{
    captured_output error(captured_output::stream::error);
    const unique_socket receiver(receive_socket(group, "0"));
    ASSERT_TRUE(receiver) << error.text();
    addrinfo* list = nullptr;
    const std::string port = std::to_string(kf::test::port_of(receiver.get()));
    const unique_socket sender(send_socket(group, port.c_str(), 0, &list));
    ASSERT_TRUE(sender) << error.text();
    ASSERT_NE(list, nullptr);
    const std::string packet = "stays on this machine";
    EXPECT_EQ(::sendto(sender.get(), packet.data(), static_cast<int>(packet.size()), 0, list->ai_addr,
                       static_cast<int>(list->ai_addrlen)),
              static_cast<int>(packet.size()))
        << ::WSAGetLastError();
    ::freeaddrinfo(list);
    EXPECT_TRUE(kf::test::readable(receiver.get(), kWaitMs));
    char buffer[100] = {};
    SetBlockStatus(receiver.get(), false);
    const int got = ::recv(receiver.get(), buffer, sizeof buffer, 0);
    EXPECT_EQ(std::string(buffer, got > 0 ? static_cast<std::size_t>(got) : 0), packet);
    EXPECT_FALSE(kf::test::inheritable(receiver.get()));
    EXPECT_FALSE(kf::test::inheritable(sender.get()));
    EXPECT_EQ(error.bytes(), "");
}

} // namespace

TEST(MulticastSockets, PassAPacketOverIpv4WithoutLeavingTheMachine)
{
    if (!can_join_v4())
        GTEST_SKIP() << "no IPv4 multicast on this machine";
    expect_a_packet_passes(kGroupV4);
}

TEST(MulticastSockets, PassAPacketOverIpv6WithoutLeavingTheMachine)
{
    if (!can_join_v6())
        GTEST_SKIP() << "no IPv6 multicast on this machine";
    expect_a_packet_passes(kGroupV6);
}

TEST(CreateMulticastRcvSocket, SetsOptionsInOrderAndFreesBothLists)
{
    const watched_creation watch;
    const SOCKET receiver = receive_socket(kGroupV4, "0");
    ASSERT_EQ(made_sockets, std::vector<SOCKET>{receiver});
    EXPECT_EQ(option_calls, (std::vector<option_call>{
                                option(SOL_SOCKET, SO_REUSEADDR, {1, 0, 0, 0}),
                                option(SOL_SOCKET, SO_RCVBUF, {0x40, 0xE2, 0x01, 0}),
                                option(IPPROTO_IP, IP_ADD_MEMBERSHIP, {239, 255, 43, 21, 0, 0, 0, 0})}));
    EXPECT_EQ(freed_lists, 2);
    int granted = 0;
    EXPECT_EQ(kf::test::option_of(receiver, SOL_SOCKET, SO_RCVBUF, granted), 0);
    EXPECT_EQ(granted, kBufferBytes);
}

TEST(CreateMulticastRcvSocket, BindsTheFirstLocalAddressToThePort)
{
    const watched_creation watch;
    const import_hook hook("bind", &note_bind);
    EXPECT_NE(receive_socket(kGroupV4, "4321"), INVALID_SOCKET);
    EXPECT_EQ(asked_sockets, (std::vector<std::array<int, 3>>{{AF_INET, SOCK_DGRAM, 0}}));
    ASSERT_EQ(bound_addresses.size(), 1u);
    EXPECT_EQ(bound_addresses[0].sin_family, AF_INET);
    EXPECT_EQ(bound_addresses[0].sin_addr.s_addr, ::htonl(INADDR_ANY));
    EXPECT_EQ(bound_addresses[0].sin_port, ::htons(4321));
}

TEST(CreateMulticastRcvSocket, JoinsAnIpv6GroupOnInterfaceZero)
{
    const watched_creation watch;
    const import_hook binds("bind", &pretended_bind);
    const import_hook reads("getsockopt", &pretended_getsockopt);
    captured_output error(captured_output::stream::error);
    pretend_options = true;
    const SOCKET receiver = receive_socket("ff15::4321", "0");
    EXPECT_EQ(made_sockets, std::vector<SOCKET>{receiver});
    EXPECT_EQ(asked_sockets, (std::vector<std::array<int, 3>>{{AF_INET6, SOCK_DGRAM, 0}}));
    EXPECT_EQ(error.text(), "");
    ASSERT_EQ(option_calls.size(), 3u);
    EXPECT_EQ(option_calls[2],
              option(IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP,
                     {0xFF, 0x15, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0x43, 0x21, 0, 0, 0, 0}));
}

TEST(CreateMulticastRcvSocket, LooksUpTheGroupAloneAndThenThePort)
{
    const watched_creation watch;
    const import_hook hook("getaddrinfo", &note_lookup);
    seen_hints.clear();
    seen_texts.clear();
    EXPECT_NE(receive_socket(kGroupV4, "0"), INVALID_SOCKET);
    EXPECT_EQ(seen_texts, (std::vector<std::string>{"239.255.43.21 -", "- 0"}));
    ASSERT_EQ(seen_hints.size(), 2u);
    EXPECT_EQ(seen_hints[0].ai_flags, AI_NUMERICHOST);
    EXPECT_EQ(seen_hints[0].ai_family, 0);
    EXPECT_EQ(seen_hints[0].ai_socktype, 0);
    EXPECT_EQ(seen_hints[1].ai_flags, AI_PASSIVE);
    EXPECT_EQ(seen_hints[1].ai_family, AF_INET);
    EXPECT_EQ(seen_hints[1].ai_socktype, SOCK_DGRAM);
}

TEST(CreateMulticastRcvSocket, PrintsWhyTheGroupIsNoAddress)
{
    const watched_creation watch;
    captured_output error(captured_output::stream::error);
    EXPECT_EQ(receive_socket("no-address", "0"), INVALID_SOCKET);
    EXPECT_EQ(error.text(), lookup_message(code_of_text_as_address()));
    EXPECT_TRUE(made_sockets.empty());
    EXPECT_EQ(freed_lists, 0);
}

// KEPT[multicast-first-code]
TEST(CreateMulticastRcvSocket, PrintsTheFirstLookupsCodeWhenTheSecondFails)
{
    const watched_creation watch;
    const import_hook hook("getaddrinfo", &second_lookup_fails);
    captured_output error(captured_output::stream::error);
    EXPECT_EQ(receive_socket(kGroupV4, "0"), INVALID_SOCKET);
    ASSERT_NE(lookup_message(0), lookup_message(WSAHOST_NOT_FOUND));
    EXPECT_EQ(error.text(), lookup_message(0));
    EXPECT_TRUE(made_sockets.empty());
    EXPECT_EQ(freed_lists, 1);
}

// KEPT[multicast-handle-test]
TEST(CreateMulticastRcvSocket, ReportsASocketThatCannotBeMadeAsItsFirstOption)
{
    const import_hook hook("socket", &no_socket);
    captured_output error(captured_output::stream::error);
    EXPECT_EQ(receive_socket(kGroupV4, "0"), INVALID_SOCKET);
    EXPECT_EQ(error.text(), "setsockopt");
}

// KEPT[multicast-receiver-leak] KEPT[multicast-no-line-end]
TEST(CreateMulticastRcvSocket, LeavesItsSocketOpenAndEndsNoLineWhenAStepFails)
{
    {
        const watched_creation watch;
        failing_option = 1;
        expect_receiver_fails("setsockopt");
        EXPECT_EQ(option_calls.size(), 1u);
    }
    {
        const watched_creation watch;
        const import_hook hook("bind", &failing_bind);
        expect_receiver_fails("bind() failed");
        EXPECT_EQ(option_calls.size(), 1u);
    }
    {
        const watched_creation watch;
        failing_option = 2;
        expect_receiver_fails("setsockopt");
        EXPECT_EQ(option_calls.size(), 2u);
    }
    {
        const watched_creation watch;
        const import_hook hook("getsockopt", &failing_getsockopt);
        expect_receiver_fails("getsockopt");
        EXPECT_EQ(option_calls.size(), 2u);
    }
    {
        const watched_creation watch;
        expect_receiver_fails("setsockopt() failed", "10.0.0.1"); // no group
        EXPECT_EQ(option_calls.size(), 3u);
    }
    {
        const watched_creation watch;
        const import_hook hook("getaddrinfo", &lookup_of_odd_length);
        expect_receiver_fails("Neither IPv4 or IPv6");
        EXPECT_EQ(option_calls.size(), 2u);
    }
}

// KEPT[multicast-destination]
TEST(CreateMulticastSendSocket, LeavesTheDestinationToTheCaller)
{
    const watched_creation watch;
    addrinfo* destination = nullptr;
    const SOCKET sender = send_socket(kGroupV4, "4321", 0, &destination);
    ASSERT_EQ(made_sockets, std::vector<SOCKET>{sender});
    EXPECT_EQ(asked_sockets, (std::vector<std::array<int, 3>>{{AF_INET, SOCK_DGRAM, 0}}));
    EXPECT_EQ(freed_lists, 0);
    ASSERT_NE(destination, nullptr);
    const auto& address = *reinterpret_cast<const sockaddr_in*>(destination->ai_addr);
    EXPECT_EQ(address.sin_family, AF_INET);
    EXPECT_EQ(address.sin_addr.s_addr, ::inet_addr(kGroupV4));
    EXPECT_EQ(::ntohs(address.sin_port), 4321);
    ::freeaddrinfo(destination);
    EXPECT_EQ(option_calls, (std::vector<option_call>{option(IPPROTO_IP, IP_MULTICAST_TTL, {0, 0, 0, 0}),
                                                      option(IPPROTO_IP, IP_MULTICAST_IF, {0, 0, 0, 0})}));
}

TEST(CreateMulticastSendSocket, SetsTheIpv6OptionsForAnIpv6Group)
{
    const watched_creation watch;
    pretend_options = true;
    addrinfo* destination = nullptr;
    const SOCKET sender = send_socket("ff15::4321", "4321", 7, &destination);
    EXPECT_EQ(made_sockets, std::vector<SOCKET>{sender});
    EXPECT_EQ(asked_sockets, (std::vector<std::array<int, 3>>{{AF_INET6, SOCK_DGRAM, 0}}));
    EXPECT_EQ(option_calls,
              (std::vector<option_call>{option(IPPROTO_IPV6, IPV6_MULTICAST_HOPS, {7, 0, 0, 0}),
                                        option(IPPROTO_IPV6, IPV6_MULTICAST_IF, {0, 0, 0, 0})}));
    ASSERT_NE(destination, nullptr);
    EXPECT_EQ(destination->ai_family, AF_INET6);
    ::freeaddrinfo(destination);
}

TEST(CreateMulticastSendSocket, LooksUpGroupAndPortTogether)
{
    const watched_creation watch;
    const import_hook hook("getaddrinfo", &note_lookup);
    seen_hints.clear();
    seen_texts.clear();
    addrinfo* destination = nullptr;
    EXPECT_NE(send_socket(kGroupV4, "4321", 0, &destination), INVALID_SOCKET);
    ::freeaddrinfo(destination);
    EXPECT_EQ(seen_texts, std::vector<std::string>{"239.255.43.21 4321"});
    ASSERT_EQ(seen_hints.size(), 1u);
    EXPECT_EQ(seen_hints[0].ai_flags, AI_NUMERICHOST);
    EXPECT_EQ(seen_hints[0].ai_family, AF_UNSPEC);
    EXPECT_EQ(seen_hints[0].ai_socktype, SOCK_DGRAM);
}

TEST(CreateMulticastSendSocket, PrintsWhyTheGroupIsNoAddress)
{
    const watched_creation watch;
    captured_output error(captured_output::stream::error);
    addrinfo* destination = nullptr;
    EXPECT_EQ(send_socket("no-address", "9", 0, &destination), INVALID_SOCKET);
    EXPECT_EQ(error.text(), lookup_message(code_of_text_as_address()));
    EXPECT_EQ(destination, nullptr);
    EXPECT_TRUE(made_sockets.empty());
    EXPECT_EQ(freed_lists, 0);
}

TEST(CreateMulticastSendSocket, ClosesItsSocketAndFreesTheListWhenAStepFails)
{
    {
        const watched_creation watch;
        expect_sender_fails("setsockopt() failed", 300); // more hops than a packet can count
        EXPECT_EQ(option_calls.size(), 1u);
    }
    {
        const watched_creation watch;
        failing_option = 2;
        expect_sender_fails("interface setsockopt() sending interface error\n", 0);
        EXPECT_EQ(option_calls.size(), 2u);
    }
    {
        const watched_creation watch;
        const import_hook hook("socket", &no_socket);
        expect_sender_fails("setsockopt() failed", 0);
    }
}
