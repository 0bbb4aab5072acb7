/// Connecting by name: over IPv4, or over a dual-stack IPv6 socket.

#include "KFramework/core.h"
#include "KFramework/platform/sockets_win.h"
#include "KFramework/socket/stream_messages.h"
#include "KFramework/socket/stream_state_win.h"
#include "KFramework/string.h"

#include <cstdio>

using kf::socket::shared;

namespace KFramework::KSocket
{

namespace
{

constexpr int kUpdateConnectContext = 0x7010; // SO_UPDATE_CONNECT_CONTEXT of <mswsock.h>
constexpr std::size_t kAddressTextBytes = 23;
constexpr std::size_t kAddressBytes = 128;
constexpr std::size_t kHostBytes = 1025;
constexpr std::size_t kServiceBytes = 32;

/// The dotted form; the call's own buffer is shared, so it is read under the global mutex.
std::string dotted(in_addr address)
{
    LockGlobalMutex();
    char text[kAddressTextBytes] = {};
    std::snprintf(text, sizeof text, "%s", ::inet_ntoa(address));
    UnlockGlobalMutex();
    return text;
}

/// The first address of a name, when it is an IPv4 one; else false.
bool first_is_ipv4(const char* name, in_addr& address)
{
    kf::platform::address_list found;
    if (::getaddrinfo(name, nullptr, nullptr, found.put()) != 0 || !found ||
        found.get()->ai_family != AF_INET)
        return false;
    address = reinterpret_cast<const sockaddr_in*>(found.get()->ai_addr)->sin_addr;
    return true;
}

/// Makes the stream's socket, which child processes do not inherit.
bool make_socket(CKSocketStream& stream, int family)
{
    const SOCKET made = ::socket(family, SOCK_STREAM, IPPROTO_TCP);
    if (made == INVALID_SOCKET)
    {
        const int error = ::WSAGetLastError();
        std::fprintf(stderr, kf::socket::kSocketCallFailed, error);
        stream.SetDisconnected(true);
        return false;
    }
    ::SetHandleInformation(reinterpret_cast<HANDLE>(made), HANDLE_FLAG_INHERIT, 0);
    shared(stream.socket).store(made);
    return true;
}

void drop_socket(CKSocketStream& stream)
{
    const SOCKET own = shared(stream.socket).exchange(INVALID_SOCKET);
    if (own != INVALID_SOCKET && ::closesocket(own) == SOCKET_ERROR)
    {
        const int error = ::WSAGetLastError();
        std::fprintf(stderr, kf::socket::kCloseCallFailed, error);
    }
    stream.SetDisconnected(true);
}

struct peer_address
{
    alignas(sockaddr_storage) char bytes[kAddressBytes] = {};
    DWORD size = kAddressBytes;

    sockaddr* get() { return reinterpret_cast<sockaddr*>(bytes); }
};

bool connect_by_name(SOCKET socket, const char* name, int port, peer_address& peer)
{
    std::wstring host = KStringHelper::Utf8StringToWideString(name);
    std::wstring service = std::to_wstring(port);
    peer_address own;
    return ::WSAConnectByNameW(socket, host.data(), service.data(), &own.size, own.get(), &peer.size,
                               peer.get(), nullptr, nullptr);
}

void name_peer(CKSocketStream& stream, peer_address& peer, int port)
{
    char text[kHostBytes] = {};
    char service[kServiceBytes] = {};
    const bool named = ::getnameinfo(peer.get(), static_cast<socklen_t>(peer.size), text, sizeof text,
                                     service, sizeof service, NI_NUMERICHOST | NI_NUMERICSERV) == 0;
    stream.SetSocketHostAndPort(named ? text : "Unknown", named ? port : 0);
}

/// KEPT[dual-stack-success]: once there is a socket the result is true and the stream counts as connected, whatever
/// fails; INVALID_SOCKET is how callers tell.
bool connect_dual_stack(CKSocketStream& stream, const char* name, int port)
{
    if (!make_socket(stream, AF_INET6))
        return false;

    const DWORD both = 0;
    if (::setsockopt(stream.GetSocket(), IPPROTO_IPV6, IPV6_V6ONLY, reinterpret_cast<const char*>(&both),
                     sizeof both) == SOCKET_ERROR)
    {
        std::fputs(kf::socket::kDualStackFailed, stderr);
        drop_socket(stream);
    }

    peer_address peer;
    if (!connect_by_name(stream.GetSocket(), name, port, peer))
    {
        const int error = ::WSAGetLastError();
        std::fprintf(stderr, kf::socket::kConnectByNameFailed, error);
        drop_socket(stream);
    }

    if (::setsockopt(stream.GetSocket(), SOL_SOCKET, kUpdateConnectContext, nullptr, 0) == SOCKET_ERROR)
    {
        const int error = ::WSAGetLastError();
        std::fprintf(stderr, kf::socket::kConnectContextFailed, error);
        drop_socket(stream);
    }

    stream.SetDisconnected(false);
    name_peer(stream, peer, port);
    return true;
}

bool connect_ipv4(CKSocketStream& stream, const char* name, int port)
{
    shared(stream.port).store(port);
    std::string address;
    if (const hostent* const found = ::gethostbyname(name);
        found != nullptr && found->h_addr_list[0] != nullptr)
        address = dotted(*reinterpret_cast<const in_addr*>(found->h_addr_list[0]));

    if (!make_socket(stream, AF_INET))
        return false;
    sockaddr_in peer{};
    peer.sin_family = AF_INET;
    peer.sin_addr.s_addr = ::inet_addr(address.c_str());
    peer.sin_port = ::htons(static_cast<u_short>(port));
    if (::connect(stream.GetSocket(), reinterpret_cast<const sockaddr*>(&peer), sizeof peer) == SOCKET_ERROR)
    {
        drop_socket(stream);
        return false;
    }
    stream.SetDisconnected(false);
    return true;
}

} // namespace

bool CKSocketStream::Connect(const char* name, int number)
{
    if (name == nullptr)
        name = "";
    if (GetSocket() != INVALID_SOCKET)
        Close();
    in_addr first{};
    bool connected = false;
    if (first_is_ipv4(name, first))
    {
        host = dotted(first);
        connected = connect_ipv4(*this, name, number);
    }
    else
    {
        connected = connect_dual_stack(*this, name, number);
    }
    if (!connected)
        return false;
    shared(lastHeartbeat).store(GetServerTime());
    return true;
}

} // namespace KFramework::KSocket
