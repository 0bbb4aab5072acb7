/// The setters and getters of a stream: no lock, no side effect.

#include "KFramework/core.h"
#include "KFramework/socket/stream_state_win.h"

using kf::socket::shared;

namespace KFramework::KSocket
{

void CKSocketStream::SetMaxIncomingBufferSize(unsigned long long size)
{
    shared(maximumReceiveSize).store(size);
}

void CKSocketStream::SetMaxOutgoingBufferSize(unsigned long long size)
{
    shared(maximumSendSize).store(size);
}

void CKSocketStream::SetBufferCheck(bool check)
{
    shared(bufferCheck).store(check);
}

void CKSocketStream::SetData(void* data)
{
    shared(userData).store(data);
}

void* CKSocketStream::GetData()
{
    return shared(userData).load();
}

void CKSocketStream::SetSocketHostAndPort(const char* newHost, int newPort)
{
    host = newHost != nullptr ? newHost : "";
    shared(port).store(newPort);
}

const char* CKSocketStream::GetSocketHost()
{
    return host.c_str();
}

int CKSocketStream::GetSocketPort()
{
    return shared(port).load();
}

SOCKET CKSocketStream::GetSocket()
{
    return shared(socket).load();
}

void CKSocketStream::SetDisconnected(bool value)
{
    shared(disconnected).store(value);
}

bool CKSocketStream::IsDisconnected()
{
    return shared(disconnected).load();
}

bool CKSocketStream::CheckHeartBeat(int limit, long long now)
{
    // Wraps instead of overflowing for times at the ends of the range.
    const auto elapsed =
        static_cast<unsigned long long>(now) - static_cast<unsigned long long>(shared(lastHeartbeat).load());
    return static_cast<long long>(elapsed) <= limit;
}

void CKSocketStream::UpdateHeartBeat(long long now)
{
    shared(lastHeartbeat).store(now);
}

} // namespace KFramework::KSocket
