#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/socket.h"
#include "KFramework/socket/messages.h"

namespace KFramework::KSocket
{
namespace
{

/// KEPT[broadcast-option-byte]: the two options are set through one byte, not through an int.
constexpr int kBroadcastOptionBytes = 1;
constexpr int kSevere = 1;

bool set_one_byte(SOCKET socket, int name)
{
    const char on = 1;
    return ::setsockopt(socket, SOL_SOCKET, name, &on, kBroadcastOptionBytes) == 0;
}

sockaddr_in address_of(u_long address, int port)
{
    sockaddr_in made = {};
    made.sin_family = AF_INET;
    made.sin_addr.s_addr = ::htonl(address);
    made.sin_port = ::htons(static_cast<u_short>(port));
    return made;
}

} // namespace

bool SendbroadcastSocket(SOCKET socket, int port, char* data, int length)
{
    const sockaddr_in everyone = address_of(INADDR_BROADCAST, port);
    if (::sendto(socket, data, length, 0, reinterpret_cast<const sockaddr*>(&everyone), sizeof everyone) !=
        SOCKET_ERROR)
        return true;
    KLogger::AddLogEntry(GetDefaultLogger(), kSevere, kf::socket::kLogModule, kf::socket::kBroadcastFailed);
    return false;
}

bool BindBroadcastSocket(SOCKET socket, int port)
{
    if (socket == INVALID_SOCKET)
        return false;
    if (!set_one_byte(socket, SO_REUSEADDR) || !set_one_byte(socket, SO_BROADCAST))
        return false;
    const sockaddr_in any = address_of(INADDR_ANY, port);
    return ::bind(socket, reinterpret_cast<const sockaddr*>(&any), sizeof any) == 0;
}

} // namespace KFramework::KSocket
