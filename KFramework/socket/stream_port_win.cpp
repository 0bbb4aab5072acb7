/// Streams on a completion port, and the end of a connection.

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/socket/stream_messages.h"
#include "KFramework/socket/stream_state_win.h"

#include <memory>
#include <thread>

using kf::socket::kStreamModule;
using kf::socket::posting_section;
using kf::socket::printed;
using kf::socket::shared;

namespace KFramework::KSocket
{

namespace
{

/// Posts an operation; 0 when it is under way.
template <class Post>
[[nodiscard]] int start(CKSocketStream& stream, CKSocketOverlappedStruct& record, Post post)
{
    const posting_section section(stream);
    if (post(section.socket(), &record.overlapped) == 0)
        return 0;
    const int error = ::WSAGetLastError();
    if (error == WSA_IO_PENDING)
        return 0;
    // A call that fails at once may leave the status word as if the system were at work.
    shared(record.overlapped.Internal).store(0);
    return error;
}

bool peer_went_away(int error)
{
    return error == WSAECONNABORTED || error == WSAECONNRESET;
}

WSABUF buffer_of(char* bytes, std::uint64_t count)
{
    return {kf::socket::one_call(count), bytes};
}

} // namespace

void CKSocketStream::BindSocket(SOCKET adopted)
{
    shared(socket).store(adopted);
    shared(lastHeartbeat).store(GetServerTime());
}

void CKSocketStream::UnbindSocket()
{
    shared(socket).store(INVALID_SOCKET);
}

void CKSocketStream::RegisterCompletionPort(void* newPort)
{
    const SOCKET own = GetSocket();
    void* const assigned = ::CreateIoCompletionPort(reinterpret_cast<HANDLE>(own), newPort,
                                                    reinterpret_cast<ULONG_PTR>(this), 0);
    const bool good = assigned != nullptr && assigned == newPort;
    if (assigned != nullptr && !good)
        kf::platform::guarded_close(assigned); // made afresh because no port was given
    shared(completionPort).store(good ? newPort : nullptr);
    if (!good)
        KLogger::AddLogEntry(GetDefaultLogger(), 1, kStreamModule, kf::socket::kPortFailed, printed(own));
}

void CKSocketStream::SetupReadEvent()
{
    const kf::socket::read_lock lock(*this);
    const bool outstanding = kf::socket::receive_outstanding(*this);
    if (kf::socket::is_pending(readEvent))
        hidden->receive_blocks.keep_all(); // one record, two operations: their ends cannot be told apart
    readEvent.Mark();                      // KEPT[double-receive]: a second one is posted all the same.
    readEvent.Reset(kSocketIORead);

    const kf::socket::growth wanted =
        kf::socket::port_growth(receiveFill, receiveCapacity, kf::socket::receive_limit(*this));
    if (!kf::socket::make_receive_room(*this, wanted, outstanding))
    {
        KLogger::AddLogEntry(GetDefaultLogger(), 1, kStreamModule, kf::socket::kReadOverflow,
                             printed(GetSocket()));
        Shutdown();
        return; // KEPT[overflow-stays-marked]
    }

    WSABUF room = buffer_of(receiveBuffer + receiveFill, receiveCapacity - receiveFill - 1);
    const int error = start(*this, readEvent,
                            [&room](SOCKET from, OVERLAPPED* record)
                            {
                                DWORD flags = 0;
                                return ::WSARecv(from, &room, 1, nullptr, &flags, record, nullptr);
                            });
    if (error == 0)
        return;
    if (!peer_went_away(error))
        KLogger::AddLogEntry(GetDefaultLogger(), 4, kStreamModule, kf::socket::kReceiveFailed, error,
                             printed(GetSocket()));
    readEvent.Unmark();
    Shutdown();
}

void CKSocketStream::IOCPSend()
{
    const kf::socket::write_lock lock(*this);
    kf::socket::free_ended_sends(*this);
    if (writeEvent.isMarked() || sendFill == 0)
        return;
    if (kf::socket::is_pending(writeEvent))
        hidden->send_blocks.keep_all(); // unmarked too early: two operations on one record
    writeEvent.Mark();
    writeEvent.Reset(kSocketIOWrite);

    WSABUF queued = buffer_of(sendBuffer, sendFill);
    hidden->posted_bytes = queued.len;
    hidden->cleared_bytes = 0;
    const int error = start(*this, writeEvent,
                            [&queued](SOCKET to, OVERLAPPED* record)
                            { return ::WSASend(to, &queued, 1, nullptr, 0, record, nullptr); });
    if (error == 0)
        return;
    hidden->posted_bytes = 0;
    const int shown = printed(GetSocket());
    // KEPT[send-failure-says-receive]: the receive wording, at level 1.
    if (!peer_went_away(error))
        KLogger::AddLogEntry(GetDefaultLogger(), 1, kStreamModule, kf::socket::kReceiveFailed, error, shown);
    KLogger::AddLogEntry(GetDefaultLogger(), 4, kStreamModule, kf::socket::kSendFailed, error, shown);
    writeEvent.Unmark();
    Shutdown();
    // KEPT[send-shutdown-prints-error]: the error, where the text says socket.
    KLogger::AddLogEntry(GetDefaultLogger(), 4, kStreamModule, kf::socket::kShutdownCompleted, error);
}

// Called with either lock of the stream held, so it takes neither.
void CKSocketStream::Shutdown()
{
    if (GetSocket() == INVALID_SOCKET)
        return;
    {
        const posting_section section(*this);
        ShutdownSocket(section.socket());
    }
    kf::socket::post_close_record(*this); // KEPT[shutdown-not-disconnected]: the host marks the stream.
}

int CKSocketStream::Close()
{
    // Out of everybody's sight first: a handle that is closed may be another connection's a moment later.
    const SOCKET own = shared(socket).exchange(INVALID_SOCKET);
    if (own == INVALID_SOCKET)
        return 0;
    while (hidden->posting.load() != 0)
        std::this_thread::yield();
    CloseSocket(own);
    kf::socket::post_close_record(*this);
    return 0; // KEPT[close-result]
}

} // namespace KFramework::KSocket

namespace kf::socket
{

void post_close_record(KFramework::KSocket::CKSocketStream& stream)
{
    using KFramework::KSocket::CKSocketOverlappedStruct;
    auto record = std::make_unique<CKSocketOverlappedStruct>(KFramework::KSocket::kSocketIOClose);
    // Whoever takes the port out posts: a reader and a writer may come here at once.
    void* const port = shared(stream.completionPort).exchange(nullptr);
    if (port == nullptr)
        return;
    if (::PostQueuedCompletionStatus(port, 0, reinterpret_cast<ULONG_PTR>(&stream), &record->overlapped))
        static_cast<void>(record.release()); // the host frees it with delete
}

} // namespace kf::socket
