#include "door_win.h"

#include <KFramework/core.h>

namespace farm
{
using namespace KFramework;

SOCKET listen_on_loopback(int& port)
{
    const SOCKET listener = KSocket::CreateSocket(AF_INET, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(static_cast<u_short>(port));
    int length = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        KSocket::ListenSocket(listener) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    {
        KSocket::CloseSocket(listener);
        return INVALID_SOCKET;
    }
    port = ::ntohs(address.sin_port);
    return listener;
}

acceptor::acceptor(SOCKET listener, port_loop& loop)
    : listener_(listener), loop_(loop), thread_(KProcesses::SpawnThread(&acceptor::routine, this))
{
}

acceptor::~acceptor()
{
    stop_ = true;
    KProcesses::JoinThread(thread_, 0, nullptr);
    KSocket::CloseSocket(listener_);
}

unsigned int acceptor::routine(void* start)
{
    auto* const self = static_cast<acceptor*>(KProcesses::GetThreadData(start));
    for (int id = 1; !self->stop_;)
        id += self->accept_one(id) ? 1 : 0;
    KProcesses::EndThread(0, start);
    return 0;
}

bool acceptor::accept_one(int id)
{
    fd_set ready;
    FD_ZERO(&ready);
    FD_SET(listener_, &ready);
    timeval moment{0, 100'000};
    const int answer = KSocket::SelectSocket(0, &ready, nullptr, nullptr, &moment);
    if (answer < 0)
        MicroSleep(100); // it answered at once and may go on like that
    if (answer < 1)
        return false;
    sockaddr_storage address = {};
    int length = sizeof address;
    const SOCKET accepted = KSocket::AcceptSocket(listener_, &address, &length);
    if (accepted == INVALID_SOCKET)
    {
        MicroSleep(100); // out of handles, perhaps: the client still waits, and select would not
        return false;
    }

    char host[NI_MAXHOST] = {};
    int port = 0;
    KSocket::FillSocketHostAndPort(&address, &length, host, &port, nullptr);
    KSocket::SetNagleStatus(accepted, true); // orders are small and must not wait
    auto* const stream = new connection(id);
    stream->SetSocketHostAndPort(host, port);
    stream->BindSocket(accepted);
    loop_.serve(stream); // on_opened tells the server
    return true;
}
} // namespace farm
