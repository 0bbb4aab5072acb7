/// Reading and writing without a completion port.

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/socket/stream_messages.h"
#include "KFramework/socket/stream_state_win.h"

#include <algorithm>
#include <limits>

using kf::socket::shared;

namespace KFramework::KSocket
{

namespace
{

bool would_block(int error)
{
    return error == WSAEWOULDBLOCK || error == WSAEINPROGRESS;
}

enum class direction
{
    readable,
    writable
};

/// What select answers for one socket: 1 ready, 0 not in time, SOCKET_ERROR.
int select_one(SOCKET socket, direction what, timeval wait)
{
    fd_set one;
    FD_ZERO(&one);
    FD_SET(socket, &one);
    return ::select(0, what == direction::readable ? &one : nullptr,
                    what == direction::writable ? &one : nullptr, nullptr, &wait);
}

template <class... Values>
void log_for(int level, const char* text, Values... values)
{
    KLogger::AddLogEntry(GetDefaultLogger(), level, kf::socket::kStreamModule, text, values...);
}

} // namespace

int CKSocketStream::Read()
{
    const kf::socket::read_lock lock(*this);
    if (IsDisconnected())
        return 0;
    const SOCKET from = GetSocket();
    const int shown = kf::socket::printed(from);
    const kf::socket::growth wanted =
        kf::socket::polled_growth(receiveFill, receiveCapacity, kf::socket::receive_limit(*this));
    if (!kf::socket::make_receive_room(*this, wanted, kf::socket::receive_outstanding(*this)))
    {
        log_for(1, kf::socket::kReadOverflow, shown);
        Shutdown();
        return 0;
    }

    const int received = ::recv(from, receiveBuffer + receiveFill, kf::socket::kPolledReceiveBytes, 0);
    const int error = received < 0 ? ::WSAGetLastError() : 0;
    if (received > 0)
    {
        IncrementReadBytes(static_cast<unsigned int>(received), false);
        return received;
    }
    if (received == 0)
    {
        log_for(4, kf::socket::kReceivedNothing, shown);
        Shutdown();
        return 0;
    }
    if (would_block(error))
        return -1;
    log_for(4, kf::socket::kReceivedError,
            error); // KEPT[received-error-number]: the error, where the text says socket.
    Shutdown();
    log_for(4, kf::socket::kShutdownCompleted, shown);
    return 0;
}

int CKSocketStream::Write()
{
    const kf::socket::write_lock lock(*this);
    if (IsDisconnected())
        return 0;
    if (sendFill == 0)
        return -1; // KEPT[idle-write]: as if the socket would block; 0 is for a dead stream.
    const auto size = static_cast<int>(std::min<std::uint64_t>(sendFill, std::numeric_limits<int>::max()));
    const int sent = ::send(GetSocket(), sendBuffer, size, 0);
    const int error = sent < 0 ? ::WSAGetLastError() : 0;
    if (sent >= 0)
    {
        // Not DecrementSentBytes: that may take the count for the completion of a cleared send.
        kf::socket::remove_sent(*this, static_cast<unsigned int>(sent));
        return sent;
    }
    if (would_block(error))
        return -1;
    Shutdown();
    return 0;
}

void CKSocketStream::FlushWrite()
{
    const auto queued = [this]
    {
        const kf::socket::write_lock lock(*this);
        return sendFill != 0;
    };
    while (queued())
    {
        // A dead stream stays writable and never gets emptier.
        if (select_one(GetSocket(), direction::writable, {0, 0}) < 1 || Write() < 1)
            return;
    }
}

bool CKSocketStream::WaitForCompleteMessage(int timeoutSeconds)
{
    const bool endless = timeoutSeconds == 0;
    // KEPT[timeout-bounds-each-wait]: every wait starts afresh.
    const timeval wait = endless ? timeval{0, 100'000} : timeval{timeoutSeconds, 0};
    while (!HasCompleteMessageAvailable())
    {
        const int ready = select_one(GetSocket(), direction::readable, wait);
        if (ready < 0 || (ready == 0 && (!endless || IsDisconnected())))
            return false;
        if (ready > 0 && Read() < 1)
            return false;
    }
    return true;
}

bool CKSocketStream::NetworkTasks()
{
    const SOCKET own = GetSocket();
    fd_set readable;
    fd_set writable;
    FD_ZERO(&readable);
    FD_ZERO(&writable);
    FD_SET(own, &readable);
    FD_SET(own, &writable);
    timeval none{0, 0};
    if (::select(0, &readable, &writable, nullptr, &none) < 1)
        return false;
    // KEPT[idle-network-tasks]: a writable stream with nothing to write gives false.
    bool good = true;
    if (FD_ISSET(own, &readable) && Read() < 1)
        good = false;
    if (FD_ISSET(own, &writable) && Write() < 1)
        good = false;
    return good;
}

} // namespace KFramework::KSocket
