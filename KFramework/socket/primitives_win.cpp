#include "KFramework/platform/windows_win.h"
#include "KFramework/socket.h"
#include "KFramework/socket/messages.h"

#include <cstdio>

namespace KFramework::KSocket
{

int ShutdownSocket(SOCKET socket)
{
    if (socket == INVALID_SOCKET)
        return 0;
    return ::shutdown(socket, SD_BOTH);
}

int CloseSocket(SOCKET socket)
{
    if (socket == INVALID_SOCKET)
        return -1;
    if (::closesocket(socket) != SOCKET_ERROR)
        return 0;
    const int error = ::WSAGetLastError();
    std::fprintf(stderr, kf::socket::kCloseFailed, error);
    return -1;
}

bool SetBlockStatus(SOCKET socket, bool blocking)
{
    u_long mode = blocking ? 0 : 1;
    ::ioctlsocket(socket, FIONBIO, &mode);
    return true; // KEPT[block-status-true]: even for a socket that refused.
}

} // namespace KFramework::KSocket
