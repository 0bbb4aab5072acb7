#include "KFramework/socket.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "tests/socket/loopback_sockets_win.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KSocket;
using kf::test::import_hook;

namespace
{

constexpr std::size_t kRoom = 1025;

struct filled
{
    bool ok = false;
    std::string host;
    int port = -1;
    std::string scope;
};

/// @param address  rewritten when it is a mapped one.
template <class Address>
filled fill(Address& address, int& length)
{
    std::string host(kRoom, 'x');
    std::string scope(kRoom, 'x');
    filled result;
    result.ok = FillSocketHostAndPort(&address, &length, host.data(), &result.port, scope.data());
    result.host = host.c_str();
    result.scope = scope.c_str();
    return result;
}

sockaddr_in6 ipv6_address(std::initializer_list<int> bytes, std::uint16_t port, unsigned long zone)
{
    sockaddr_in6 address = {};
    address.sin6_family = AF_INET6;
    address.sin6_port = ::htons(port);
    address.sin6_scope_id = zone;
    std::size_t i = 0;
    for (const int byte : bytes)
        address.sin6_addr.s6_addr[i++] = static_cast<unsigned char>(byte);
    return address;
}

sockaddr_in6 mapped_address()
{
    return ipv6_address({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0xFF, 0xFF, 10, 0, 0, 7}, 4711, 0);
}

INT WSAAPI failing_getnameinfo(const sockaddr*, socklen_t, PCHAR, DWORD, PCHAR, DWORD, INT)
{
    return WSAHOST_NOT_FOUND;
}

INT WSAAPI longest_getnameinfo(const sockaddr*, socklen_t, PCHAR host, DWORD host_room, PCHAR service,
                               DWORD service_room, INT flags)
{
    EXPECT_EQ(host_room, 1025u);
    EXPECT_EQ(service_room, 32u);
    EXPECT_EQ(flags, NI_NUMERICHOST | NI_NUMERICSERV);
    std::memset(host, 'h', host_room - 1);
    host[host_room - 1] = '\0';
    std::strcpy(service, "65535");
    return 0;
}

INT WSAAPI longest_scope(const sockaddr*, socklen_t, PCHAR host, DWORD room, PCHAR service, DWORD, INT)
{
    std::memset(host, 's', room - 1);
    host[room - 1] = '\0';
    host[0] = '%';
    std::strcpy(service, "1");
    return 0;
}

} // namespace

TEST(FillSocketHostAndPort, GivesDottedTextAndPort)
{
    sockaddr_in address = kf::test::loopback_address(65535);
    int length = sizeof address;
    const filled out = fill(address, length);
    EXPECT_TRUE(out.ok);
    EXPECT_EQ(out.host, "127.0.0.1");
    EXPECT_EQ(out.port, 65535);
    EXPECT_EQ(out.scope, "");
    EXPECT_EQ(length, 16);
}

TEST(FillSocketHostAndPort, RewritesAMappedAddressAsIpv4)
{
    sockaddr_in6 address = mapped_address();
    int length = sizeof address;
    const filled out = fill(address, length);
    EXPECT_TRUE(out.ok);
    EXPECT_EQ(out.host, "10.0.0.7");
    EXPECT_EQ(out.port, 4711);
    EXPECT_EQ(out.scope, "");
    EXPECT_EQ(length, 16);
    const auto& rewritten = reinterpret_cast<const sockaddr_in&>(address);
    EXPECT_EQ(rewritten.sin_family, AF_INET);
    EXPECT_EQ(rewritten.sin_port, ::htons(4711));
    EXPECT_EQ(rewritten.sin_addr.s_addr, ::inet_addr("10.0.0.7"));
}

// KEPT[host-unmapped]
TEST(FillSocketHostAndPort, RewritesAMappedAddressEvenWhenThereIsNoText)
{
    const import_hook hook("getnameinfo", &failing_getnameinfo);
    sockaddr_in6 address = mapped_address();
    int length = sizeof address;
    const filled out = fill(address, length);
    EXPECT_FALSE(out.ok);
    EXPECT_EQ(out.host, "Unknown");
    EXPECT_EQ(out.port, 0);
    EXPECT_EQ(out.scope, "");
    EXPECT_EQ(address.sin6_family, AF_INET);
    EXPECT_EQ(length, 16);
}

TEST(FillSocketHostAndPort, SplitsOffTheZoneOfALinkLocalAddress)
{
    sockaddr_in6 address = ipv6_address({0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 80, 12);
    int length = sizeof address;
    const filled out = fill(address, length);
    EXPECT_TRUE(out.ok);
    EXPECT_EQ(out.host, "fe80::1");
    EXPECT_EQ(out.scope, "12");
    EXPECT_EQ(out.port, 80);
    EXPECT_EQ(length, static_cast<int>(sizeof address));
    EXPECT_EQ(address.sin6_family, AF_INET6);
}

TEST(FillSocketHostAndPort, DropsTheZoneWhenNobodyAsks)
{
    sockaddr_in6 address = ipv6_address({0xFE, 0x80, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 80, 12);
    int length = sizeof address;
    std::string host(kRoom, 'x');
    int port = 0;
    EXPECT_TRUE(FillSocketHostAndPort(&address, &length, host.data(), &port, nullptr));
    EXPECT_STREQ(host.c_str(), "fe80::1");
}

TEST(FillSocketHostAndPort, LeavesOtherIpv6AddressesAlone)
{
    sockaddr_in6 address = ipv6_address({0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 1}, 80, 0);
    const sockaddr_in6 before = address;
    int length = sizeof address;
    EXPECT_EQ(fill(address, length).host, "::1");
    EXPECT_EQ(std::memcmp(&address, &before, sizeof before), 0);
}

TEST(FillSocketHostAndPort, SaysUnknownForAnAddressWithoutText)
{
    sockaddr_in address = kf::test::loopback_address(80);
    address.sin_family = 12345;
    int length = sizeof address;
    const filled out = fill(address, length);
    EXPECT_FALSE(out.ok);
    EXPECT_EQ(out.host, "Unknown");
    EXPECT_EQ(out.port, 0);
    EXPECT_EQ(out.scope, "");
}

TEST(FillSocketHostAndPort, FillsTheBuffersToTheirLastByteAndNotBeyond)
{
    sockaddr_in address = kf::test::loopback_address(80);
    int length = sizeof address;
    std::string host(kRoom + 1, 'x');
    std::string scope(kRoom + 1, 'x');
    int port = 0;
    {
        const import_hook hook("getnameinfo", &longest_getnameinfo);
        EXPECT_TRUE(FillSocketHostAndPort(&address, &length, host.data(), &port, scope.data()));
        EXPECT_EQ(port, 65535);
        EXPECT_EQ(std::string(host.c_str()), std::string(kRoom - 1, 'h'));
        EXPECT_EQ(host.back(), 'x');
        EXPECT_EQ(scope[0], '\0');
    }
    const import_hook hook("getnameinfo", &longest_scope);
    EXPECT_TRUE(FillSocketHostAndPort(&address, &length, host.data(), &port, scope.data()));
    EXPECT_EQ(std::string(host.c_str()), "");
    EXPECT_EQ(std::string(scope.c_str()), std::string(kRoom - 2, 's'));
    EXPECT_EQ(scope.back(), 'x');
}

TEST(escapeHostString, DoublesEveryPercentSign)
{
    EXPECT_EQ(escapeHostString("fe80::1%12"), "fe80::1%%12");
    EXPECT_EQ(escapeHostString("%a%"), "%%a%%");
    EXPECT_EQ(escapeHostString("127.0.0.1"), "127.0.0.1");
    EXPECT_EQ(escapeHostString(""), "");
}
