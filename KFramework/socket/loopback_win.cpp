#include "KFramework/platform/sockets_win.h"
#include "KFramework/socket.h"

namespace KFramework::KSocket
{
namespace
{

using kf::platform::unique_socket;

/// Connections in front of ours that are turned away before we give up.
constexpr int kMostStrangers = 64;

unique_socket make_stream_socket()
{
    unique_socket made(::socket(AF_INET, SOCK_STREAM, 0));
    kf::platform::keep_from_children(made.get());
    return made;
}

bool read_own_address(SOCKET socket, sockaddr_in& address)
{
    int length = sizeof address;
    return ::getsockname(socket, reinterpret_cast<sockaddr*>(&address), &length) == 0;
}

/// Listens on a port of the system's choice, which the address then names.
unique_socket listen_on_loopback(sockaddr_in& address)
{
    unique_socket listener = make_stream_socket();
    address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    if (!listener ||
        ::bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(listener.get(), 1) != 0 || !read_own_address(listener.get(), address))
        return {};
    return listener;
}

/// Accepts the connection that comes from our own end. Any local process can find the port and be there first.
unique_socket accept_from(SOCKET listener, SOCKET connecting)
{
    sockaddr_in expected = {};
    if (!read_own_address(connecting, expected))
        return {};
    for (int i = 0; i < kMostStrangers; ++i)
    {
        sockaddr_in peer = {};
        int length = sizeof peer;
        unique_socket accepted(AcceptSocket(listener, &peer, &length));
        if (!accepted)
            return {};
        if (peer.sin_port == expected.sin_port && peer.sin_addr.s_addr == expected.sin_addr.s_addr)
            return accepted;
    }
    return {};
}

} // namespace

int CreateLoopbackPipes(SOCKET pair[2])
{
    pair[0] = INVALID_SOCKET;
    pair[1] = INVALID_SOCKET;

    sockaddr_in address = {};
    const unique_socket listener = listen_on_loopback(address);
    if (!listener)
        return -1;
    unique_socket connecting = make_stream_socket();
    if (!connecting ||
        ::connect(connecting.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return -1;
    unique_socket accepted = accept_from(listener.get(), connecting.get());
    if (!accepted)
        return -1;

    SetBlockStatus(accepted.get(), false);
    SetBlockStatus(connecting.get(), false);
    pair[0] = accepted.release();
    pair[1] = connecting.release();
    return 0;
}

} // namespace KFramework::KSocket
