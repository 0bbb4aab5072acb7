#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/process.h"
#include "KFramework/socket/frame.h"
#include "KFramework/socket/stream_messages.h"
#include "KFramework/socket/stream_state_win.h"

#include <algorithm>
#include <cstring>

using kf::socket::growth;
using kf::socket::kInitialCapacity;
using kf::socket::shared;
using kf::socket::verdict;

namespace KFramework::KSocket
{

CKSocketStream::CKSocketStream()
    : CKObject(true), sendBuffer(nullptr), receiveBuffer(nullptr), receiveFill(0), sendFill(0),
      receiveCapacity(kInitialCapacity), sendCapacity(kInitialCapacity), lastHeartbeat(GetServerTime()),
      maximumReceiveSize(kInitialCapacity), maximumSendSize(kInitialCapacity), bufferCheck(true),
      userData(nullptr), sentBytesCounter(nullptr), receivedBytesCounter(nullptr), completionPort(nullptr),
      writeMutex(nullptr), socket(INVALID_SOCKET), disconnected(false), traceEnabled(false),
      traceFile(nullptr), readEvent(kSocketIORead), writeEvent(kSocketIOWrite), port(0),
      hidden(std::make_shared<kf::socket::stream_state>()), receiveBlock(nullptr)
{
    sendBuffer = hidden->send_blocks.make(sendCapacity);
    receiveBlock = receiveBuffer = hidden->receive_blocks.make(receiveCapacity);
    writeMutex = hidden->write_mutex;
}

// Every field as it stands; what the raw ones point to belongs to the hidden part, which copies share.
CKSocketStream::CKSocketStream(const CKSocketStream& other) = default;
CKSocketStream& CKSocketStream::operator=(const CKSocketStream& other) = default;

CKSocketStream::~CKSocketStream() = default; // KEPT[destructor-keeps-socket]: only Close ends the handle.

// --- queueing and taking messages --------------------------------------------

bool CKSocketStream::AddMessage(const unsigned int& command, const char* text, unsigned int parameter,
                                bool quiet, bool force)
{
    if (IsDisconnected())
        return false;
    // Compression takes time, so it comes before the lock.
    const kf::socket::encoded_frame frame = kf::socket::encode_frame(command, text, parameter);
    const std::unique_ptr<char, decltype(&kf::socket::free_block)> owner(frame.block,
                                                                         &kf::socket::free_block);
    const std::uint64_t bytes = std::uint64_t{frame.payload_bytes} + kf::socket::kFrameHeaderBytes;
    {
        const kf::socket::write_lock lock(*this);
        if (IsDisconnected())
            return false;
        kf::socket::free_ended_sends(*this);
        kf::socket::size_limit limit = kf::socket::send_limit(*this);
        limit.enforced = limit.enforced && !force;
        const growth wanted = kf::socket::send_growth(sendFill + bytes, sendCapacity, limit);
        if (wanted.what == verdict::overflow)
        {
            if (quiet)
                return false; // KEPT[quiet-overflow]: neither a line nor a shutdown.
            KLogger::AddLogEntry(GetDefaultLogger(), 1, kf::socket::kStreamModule, kf::socket::kSendOverflow,
                                 kf::socket::printed(GetSocket()));
            Shutdown();
            return false;
        }
        if (wanted.what == verdict::grow)
            kf::socket::grow_send_buffer(*this, wanted.capacity);
        std::memcpy(sendBuffer + sendFill, frame.block, bytes);
        shared(sendFill).store(sendFill + bytes);
    }
    if (shared(completionPort).load() != nullptr)
        IOCPSend();
    return true;
}

bool CKSocketStream::GetNextMessage(unsigned int& command, char** content, unsigned int* parameter, bool lock)
{
    if (content != nullptr)
        *content = nullptr;
    command = 0;
    if (IsDisconnected())
        return false;
    if (parameter != nullptr)
        *parameter = 0;

    const kf::socket::read_lock scope(*this, lock);
    if (receiveFill < kf::socket::kFrameHeaderBytes)
        return false;
    const kf::socket::frame_header header = kf::socket::read_header(receiveBuffer);
    command = header.command;
    if (parameter != nullptr)
        *parameter = header.parameter;
    if (!kf::socket::can_take_frame(header, receiveFill))
        return false;

    const kf::socket::taken_payload taken =
        kf::socket::take_payload(header, receiveBuffer + kf::socket::kFrameHeaderBytes);
    kf::socket::remove_received(*this, header.frame_bytes());
    const bool more = kf::socket::holds_whole_frame(receiveBuffer, receiveFill);
    if (!more && !kf::socket::receive_outstanding(*this))
        kf::socket::move_to_block_front(*this);
    if (content != nullptr)
        *content = taken.content;
    else
        kf::socket::free_block(taken.content);
    return taken.delivered;
}

void CKSocketStream::DestroyMessageContent(char* content)
{
    kf::socket::free_block(content);
}

bool CKSocketStream::HasCompleteMessageAvailable()
{
    const kf::socket::read_lock lock(*this);
    return kf::socket::holds_whole_frame(receiveBuffer, receiveFill);
}

bool CKSocketStream::ExtractCommand(unsigned int* command)
{
    // No lock: the block may be replaced meanwhile, so it is asked to stay; it ends in enough slack for a header.
    hidden->looking.fetch_add(1);
    const char* const front = shared(receiveBuffer).load();
    const bool there = shared(receiveFill).load() >= kf::socket::kFrameHeaderBytes;
    if (there)
        *command = kf::socket::read_header(front).command;
    hidden->looking.fetch_sub(1);
    return there;
}

// --- counting what went through ----------------------------------------------

void CKSocketStream::IncrementReadBytes(unsigned int count, bool lock)
{
    if (count == 0)
        return;
    const kf::socket::read_lock scope(*this, lock);
    char* const arrived = receiveBuffer + receiveFill;
    const auto front = static_cast<std::uint64_t>(receiveBuffer - receiveBlock);
    // A count beyond the block can only be a caller's mistake.
    const std::uint64_t room = receiveCapacity - receiveFill - std::min(front, receiveCapacity - receiveFill);
    const std::uint64_t bytes = std::min<std::uint64_t>(count, room);
    kf::socket::trace_received(*this, arrived, bytes);
    shared(receiveFill).store(receiveFill + bytes);
    receiveBuffer[receiveFill] = '\0';
    if (receivedBytesCounter != nullptr)
        shared(*receivedBytesCounter).fetch_add(bytes);
}

void CKSocketStream::DecrementSentBytes(unsigned int count, bool lock)
{
    if (count == 0)
        return;
    if (lock)
        LockWrite();
    kf::socket::free_ended_sends(*this);
    hidden->posted_bytes = 0;
    if (count <= hidden->cleared_bytes)
    {
        hidden->cleared_bytes = 0; // the completion of a send whose bytes ClearBuffers has dropped
    }
    else if (count > sendFill)
    {
        // KEPT[oversized-decrement-keeps-lock]: no unlock on this path.
        shared(sendFill).store(0);
        return;
    }
    else
    {
        kf::socket::remove_sent(*this, count);
    }
    if (lock)
        UnlockWrite();
}

void CKSocketStream::ClearBuffers()
{
    {
        const kf::socket::read_lock lock(*this);
        const bool outstanding = kf::socket::receive_outstanding(*this);
        kf::socket::remove_received(*this, receiveFill);
        if (!outstanding)
            kf::socket::move_to_block_front(*this);
    }
    const kf::socket::write_lock lock(*this);
    if (!writeEvent.isMarked())
        hidden->cleared_bytes = 0;
    else if (hidden->posted_bytes != 0) // else cleared before: the completion is still to come
        hidden->cleared_bytes = hidden->posted_bytes;
    hidden->posted_bytes = 0;
    if (kf::socket::is_pending(writeEvent))
        kf::socket::replace_send_block(*this, hidden->send_blocks.make(sendCapacity), 0);
    shared(sendFill).store(0);
}

bool CKSocketStream::HasToWrite()
{
    return !IsDisconnected() && shared(sendFill).load() != 0;
}

void CKSocketStream::GetBuffersUsage(unsigned long long extraIncoming, unsigned long long extraOutgoing,
                                     double& incomingPercent, double& outgoingPercent)
{
    incomingPercent = kf::socket::usage_percent(shared(receiveFill).load(), extraIncoming,
                                                kf::socket::receive_limit(*this).maximum);
    outgoingPercent = kf::socket::usage_percent(shared(sendFill).load(), extraOutgoing,
                                                kf::socket::send_limit(*this).maximum);
}

void CKSocketStream::RegisterCounters(unsigned long long* sent, unsigned long long* received)
{
    sentBytesCounter = sent;
    receivedBytesCounter = received;
}

void CKSocketStream::LockRead()
{
    Lock();
}

void CKSocketStream::UnlockRead()
{
    Unlock();
}

void CKSocketStream::LockWrite()
{
    KProcesses::LockMutex(writeMutex);
}

void CKSocketStream::UnlockWrite()
{
    KProcesses::UnlockMutex(writeMutex);
}

} // namespace KFramework::KSocket
