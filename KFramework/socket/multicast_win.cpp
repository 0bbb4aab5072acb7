#include "KFramework/platform/sockets_win.h"
#include "KFramework/socket.h"
#include "KFramework/socket/messages.h"
#include "KFramework/string.h"

#include <cstdio>

namespace KFramework::KSocket
{
namespace
{

using kf::platform::address_list;
using kf::platform::set_option;
using kf::platform::unique_socket;

/// What went wrong, for standard error; null when nothing did.
using failure_text = const char*;

void print_lookup_failure(int code)
{
    const std::string text = KStringHelper::WideStringToUtf8String(::gai_strerrorW(code));
    std::fprintf(stderr, kf::socket::kLookupFailed, text.c_str());
}

failure_text join_group(SOCKET socket, const addrinfo& group)
{
    if (group.ai_family == AF_INET && group.ai_addrlen == sizeof(sockaddr_in))
    {
        ip_mreq request = {};
        request.imr_multiaddr = reinterpret_cast<const sockaddr_in*>(group.ai_addr)->sin_addr;
        request.imr_interface.s_addr = ::htonl(INADDR_ANY);
        static_assert(sizeof request == 8);
        return set_option(socket, IPPROTO_IP, IP_ADD_MEMBERSHIP, request) ? nullptr
                                                                          : kf::socket::kGroupOptionFailed;
    }
    if (group.ai_family == AF_INET6 && group.ai_addrlen == sizeof(sockaddr_in6))
    {
        ipv6_mreq request = {};
        request.ipv6mr_multiaddr = reinterpret_cast<const sockaddr_in6*>(group.ai_addr)->sin6_addr;
        request.ipv6mr_interface = 0;
        static_assert(sizeof request == 20);
        return set_option(socket, IPPROTO_IPV6, IPV6_ADD_MEMBERSHIP, request)
                   ? nullptr
                   : kf::socket::kGroupOptionFailed;
    }
    return kf::socket::kUnknownFamily;
}

failure_text set_up_receiver(SOCKET socket, const addrinfo& local, const addrinfo& group,
                             int receive_buffer_bytes)
{
    if (!set_option(socket, SOL_SOCKET, SO_REUSEADDR, 1))
        return kf::socket::kSetOptionFailed;
    if (::bind(socket, local.ai_addr, static_cast<int>(local.ai_addrlen)) != 0)
        return kf::socket::kBindFailed;
    if (!set_option(socket, SOL_SOCKET, SO_RCVBUF, receive_buffer_bytes))
        return kf::socket::kSetOptionFailed;
    int granted_bytes = 0;
    int size = sizeof granted_bytes;
    if (::getsockopt(socket, SOL_SOCKET, SO_RCVBUF, reinterpret_cast<char*>(&granted_bytes), &size) != 0)
        return kf::socket::kGetOptionFailed;
    return join_group(socket, group);
}

failure_text set_up_sender(SOCKET socket, int family, int hops)
{
    const bool v6 = family == AF_INET6;
    const int level = v6 ? IPPROTO_IPV6 : IPPROTO_IP;
    if (!set_option(socket, level, v6 ? IPV6_MULTICAST_HOPS : IP_MULTICAST_TTL, hops))
        return kf::socket::kGroupOptionFailed;
    const DWORD default_interface = 0;
    if (!set_option(socket, level, v6 ? IPV6_MULTICAST_IF : IP_MULTICAST_IF, default_interface))
        return kf::socket::kSendingInterfaceFailed;
    return nullptr;
}

/// KEPT[multicast-handle-test]: a socket that could not be made is not reported as such; the first option set on
/// it fails and names itself.
SOCKET make_socket(const addrinfo& address)
{
    const SOCKET made = ::socket(address.ai_family, address.ai_socktype, 0);
    kf::platform::keep_from_children(made);
    return made;
}

} // namespace

SOCKET CreateMulticastRcvSocket(char* group, char* port, int receiveBufferSize)
{
    addrinfo hints = {};
    hints.ai_flags = AI_NUMERICHOST;
    address_list group_address;
    const int group_code = ::getaddrinfo(group, nullptr, &hints, group_address.put());
    if (group_code != 0)
    {
        print_lookup_failure(group_code);
        return INVALID_SOCKET;
    }

    hints = {};
    hints.ai_family = group_address.get()->ai_family;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_flags = AI_PASSIVE;
    address_list local;
    if (::getaddrinfo(nullptr, port, &hints, local.put()) != 0)
    {
        // KEPT[multicast-first-code]: the code printed is the first look-up's, which succeeded.
        print_lookup_failure(group_code);
        return INVALID_SOCKET;
    }

    // KEPT[multicast-receiver-leak]: no owner holds the socket; a failed set-up leaves it open.
    const SOCKET receiver = make_socket(*local.get());
    if (const failure_text failure =
            set_up_receiver(receiver, *local.get(), *group_address.get(), receiveBufferSize))
    {
        std::fputs(failure, stderr); // KEPT[multicast-no-line-end]: the texts end without one.
        return INVALID_SOCKET;
    }
    return receiver;
}

SOCKET CreateMulticastSendSocket(char* group, char* port, int hops, addrinfo** destination)
{
    *destination = nullptr;
    addrinfo hints = {};
    hints.ai_family = AF_UNSPEC;
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_flags = AI_NUMERICHOST;
    address_list group_address;
    if (const int code = ::getaddrinfo(group, port, &hints, group_address.put()); code != 0)
    {
        print_lookup_failure(code);
        return INVALID_SOCKET;
    }

    unique_socket sender(make_socket(*group_address.get()));
    if (const failure_text failure = set_up_sender(sender.get(), group_address.get()->ai_family, hops))
    {
        std::fputs(failure, stderr);
        return INVALID_SOCKET;
    }
    // KEPT[multicast-destination]: the caller sends to the list's first address and frees the list.
    *destination = group_address.release();
    return sender.release();
}

} // namespace KFramework::KSocket
