#include "port_loop_win.h"

#include <KFramework/core.h>
#include <KFramework/logger.h>

#include <algorithm>

namespace farm
{
using namespace KFramework;
using KSocket::CKSocketOverlappedStruct;
using KSocket::CKSocketStream;

namespace
{
constexpr ULONG_PTR kStopKey = 0; // no stream lies at address 0
constexpr double kCrowdedPercent = 50;

/// The text of a message, which is freed. A hello holds a password: nothing is left of either.
secret taken(char* content)
{
    if (content == nullptr)
        return {};
    secret text{std::string(content)};
    ::SecureZeroMemory(content, text.text().size());
    CKSocketStream::DestroyMessageContent(content);
    return text;
}
} // namespace

bool connection::crowded()
{
    double incoming = 0;
    double outgoing = 0;
    GetBuffersUsage(0, 0, incoming, outgoing);
    return outgoing > kCrowdedPercent;
}

bool connection::send(command what, const std::string& text, unsigned int parameter)
{
    // Not quiet, not forced: a full buffer ends the connection.
    return AddMessage(static_cast<unsigned int>(what), text.c_str(), parameter, false, false);
}

port_loop::port_loop(int threads, connection_handler& handler)
    : handler_(handler), port_(::CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0))
{
    for (int i = 0; i < threads; ++i)
        threads_.push_back(KProcesses::SpawnThread(&port_loop::thread_routine, this));
}

port_loop::~port_loop()
{
    for (std::size_t i = 0; i < threads_.size(); ++i)
        ::PostQueuedCompletionStatus(port_, 0, kStopKey, nullptr);
    for (KProcesses::KThreadObject* const thread : threads_)
        KProcesses::JoinThread(thread, 0, nullptr);
    // Closed sockets still complete their last operations; what comes late lets its stream go.
    while (serve_one(200))
    {
    }
    ::CloseHandle(port_);
}

bool port_loop::started() const
{
    return port_ != nullptr && std::all_of(threads_.begin(), threads_.end(),
                                           [](const KProcesses::KThreadObject* thread)
                                           { return thread->threadHandle != nullptr; });
}

bool port_loop::serve(connection* stream)
{
    stream->Retain();
    stream->RegisterCompletionPort(port_);
    if (stream->completionPort == nullptr)
    {
        stream->Close();
        stream->Release();
        return false;
    }
    // Nobody else may know the stream earlier: a send that fails takes the port away, as if it had refused.
    handler_.on_opened(*stream);
    stream->SetupReadEvent();
    return true;
}

unsigned int port_loop::thread_routine(void* start)
{
    auto* const loop = static_cast<port_loop*>(KProcesses::GetThreadData(start));
    while (loop->serve_one(INFINITE))
    {
    }
    KProcesses::EndThread(0, start);
    return 0;
}

bool port_loop::serve_one(unsigned long milliseconds)
{
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* overlapped = nullptr;
    const BOOL success = ::GetQueuedCompletionStatus(port_, &bytes, &key, &overlapped, milliseconds);
    if (overlapped == nullptr)
        return false; // asked to stop, or nothing came in time
    // The key is the stream, and the overlapped part is the first member of its record.
    auto& stream = static_cast<connection&>(*reinterpret_cast<CKSocketStream*>(key));
    handle(stream, reinterpret_cast<CKSocketOverlappedStruct*>(overlapped), success != FALSE, bytes);
    return true;
}

void port_loop::handle(connection& stream, CKSocketOverlappedStruct* record, bool success,
                       unsigned long bytes)
{
    if (record->event == KSocket::kSocketIOClose)
    {
        // Exactly one comes for each connection.
        delete record;
        stream.SetDisconnected(true);
        stream.Close();
        handler_.on_closed(stream);
        stream.ended_ = true;
    }
    else if (!success || bytes == 0)
    {
        // Lost. The first to notice posts the close record.
        stream.SetDisconnected(true);
        stream.Close();
    }
    else if (record->event == KSocket::kSocketIORead)
    {
        received(stream, *record, bytes);
    }
    else
    {
        // Count and unmark before asking: a message queued in between is then sent by one of the two.
        stream.DecrementSentBytes(bytes, true);
        record->Unmark();
        if (stream.HasToWrite())
            stream.IOCPSend();
    }
    let_go(stream);
}

// Gives the loop's reference back, once: when the connection has ended and the system works on neither of its
// records. A send that never completes, since its peer neither reads nor closes, keeps its stream for good: better
// lost than freed while the system may still write into it.
void port_loop::let_go(connection& stream)
{
    const bool idle = HasOverlappedIoCompleted(&stream.readEvent.overlapped) &&
                      HasOverlappedIoCompleted(&stream.writeEvent.overlapped);
    if (stream.ended_ && idle && !stream.let_go_.exchange(true))
        stream.Release();
}

void port_loop::received(connection& stream, CKSocketOverlappedStruct& record, unsigned long bytes)
{
    stream.IncrementReadBytes(bytes, true);
    record.Unmark();
    stream.LockRead();
    const unsigned long long waiting = stream.receiveFill;
    stream.UnlockRead();
    if (handler_.on_received(stream, waiting) && deliver_messages(stream))
        stream.SetupReadEvent();
    else
        stream.Shutdown();
}

// False when the handler wants no more of this peer.
bool port_loop::deliver_messages(connection& stream)
{
    // Not "while GetNextMessage": that is false for a damaged message too, and good ones may follow it.
    while (!stream.IsDisconnected() && stream.HasCompleteMessageAvailable())
    {
        unsigned int code = 0;
        unsigned int parameter = 0;
        char* content = nullptr;
        if (!stream.GetNextMessage(code, &content, &parameter, true))
            continue;
        const secret text = taken(content);
        if (!handler_.on_message(stream, static_cast<command>(code), text.text(), parameter))
            return false;
    }
    return true;
}
} // namespace farm
