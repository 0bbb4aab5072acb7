#include <utility>

#include "KFramework/platform/sockets_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "KFramework/process/wake_packet.h"
#include "KFramework/socket.h"

namespace
{
using kf::process::wake_packet;

/// Closed as the library's other sockets are, with a word when that fails.
struct wake_socket_traits : kf::platform::socket_traits
{
    static void close(SOCKET socket) noexcept { KFramework::KSocket::CloseSocket(socket); }
};
using wake_socket = kf::platform::unique_resource<wake_socket_traits>;

sockaddr_in address_of(u_long address, u_short port)
{
    sockaddr_in made{};
    made.sin_family = AF_INET;
    made.sin_addr.s_addr = ::htonl(address);
    made.sin_port = ::htons(port);
    return made;
}

bool broadcast(const wake_packet& packet, u_short port)
{
    const wake_socket socket(::socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP));
    if (!socket)
        return false;
    kf::platform::keep_from_children(socket.get());
    constexpr BOOL kOn = TRUE;
    const sockaddr_in any = address_of(INADDR_ANY, 0);
    if (!kf::platform::set_option(socket.get(), SOL_SOCKET, SO_BROADCAST, kOn) ||
        ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&any), sizeof any) != 0)
        return false;
    const sockaddr_in everyone = address_of(INADDR_BROADCAST, port);
    constexpr int kSize = kf::process::kWakePacketBytes;
    return ::sendto(socket.get(), reinterpret_cast<const char*>(packet.data()), kSize, 0,
                    reinterpret_cast<const sockaddr*>(&everyone), sizeof everyone) == kSize;
}
} // namespace

namespace KFramework::KProcesses
{
bool SendWOL(std::string mac, int port)
{
    const auto packet = kf::process::make_wake_packet(std::move(mac));
    return packet && broadcast(*packet, static_cast<u_short>(port));
}
} // namespace KFramework::KProcesses
