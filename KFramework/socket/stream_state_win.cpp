#include "KFramework/socket/stream_state_win.h"

#include "KFramework/process.h"

#include <cstring>

using KFramework::KSocket::CKSocketOverlappedStruct;
using KFramework::KSocket::CKSocketStream;

namespace kf::socket
{

stream_state::stream_state() : write_mutex(KFramework::KProcesses::CreateMutexW()) {}

stream_state::~stream_state()
{
    if (open_trace != nullptr)
        std::fclose(open_trace);
    KFramework::KProcesses::DestroyMutex(write_mutex);
}

read_lock::read_lock(CKSocketStream& stream, bool take) : stream_(take ? &stream : nullptr)
{
    if (stream_ != nullptr)
        stream_->LockRead();
}

read_lock::~read_lock()
{
    if (stream_ != nullptr)
        stream_->UnlockRead();
}

write_lock::write_lock(CKSocketStream& stream) : stream_(stream)
{
    stream_.LockWrite();
}

write_lock::~write_lock()
{
    stream_.UnlockWrite();
}

posting_section::posting_section(CKSocketStream& stream) noexcept : state_(*stream.hidden)
{
    // Close takes the handle out first and then looks at the count: one of the two sees the other.
    state_.posting.fetch_add(1);
    socket_ = shared(stream.socket).load();
}

posting_section::~posting_section()
{
    state_.posting.fetch_sub(1);
}

bool is_pending(const CKSocketOverlappedStruct& record) noexcept
{
    return shared(record.overlapped.Internal).load() == STATUS_PENDING;
}

size_limit receive_limit(const CKSocketStream& stream) noexcept
{
    return {shared(stream.maximumReceiveSize).load(), shared(stream.bufferCheck).load()};
}

size_limit send_limit(const CKSocketStream& stream) noexcept
{
    return {shared(stream.maximumSendSize).load(), shared(stream.bufferCheck).load()};
}

bool receive_outstanding(const CKSocketStream& stream) noexcept
{
    return stream.readEvent.isMarked() || is_pending(stream.readEvent);
}

void move_to_block_front(CKSocketStream& stream) noexcept
{
    if (stream.receiveBuffer != stream.receiveBlock)
        std::memmove(stream.receiveBlock, stream.receiveBuffer, stream.receiveFill);
    shared(stream.receiveBuffer).store(stream.receiveBlock);
    stream.receiveBuffer[stream.receiveFill] = '\0';
}

void remove_received(CKSocketStream& stream, std::uint64_t count) noexcept
{
    shared(stream.receiveBuffer).store(stream.receiveBuffer + count);
    shared(stream.receiveFill).store(stream.receiveFill - count);
}

bool make_receive_room(CKSocketStream& stream, const growth& wanted, bool outstanding)
{
    if (wanted.what == verdict::overflow)
        return false;
    stream_state& state = *stream.hidden;
    const bool at_front = stream.receiveBuffer == stream.receiveBlock;
    if (!state.receive_blocks.has_room(stream.receiveBlock, wanted.capacity) || (outstanding && !at_front))
    {
        char* const old = stream.receiveBlock;
        char* const block = wanted.what == verdict::grow
                                ? state.receive_blocks.make_larger(old, wanted.capacity)
                                : state.receive_blocks.make(wanted.capacity);
        std::memcpy(block, stream.receiveBuffer, stream.receiveFill);
        stream.receiveBlock = block;
        shared(stream.receiveBuffer).store(block);
        // Whoever looks without the lock has either announced itself or finds the new block.
        state.receive_blocks.release(old, outstanding || state.looking.load() != 0 ||
                                              stream.hidden.use_count() > 1);
    }
    else if (!at_front)
    {
        move_to_block_front(stream);
    }
    stream.receiveCapacity = wanted.capacity;
    if (!outstanding && state.looking.load() == 0 && stream.hidden.use_count() == 1)
        state.receive_blocks.free_retired(stream.receiveBlock);
    return true;
}

void replace_send_block(CKSocketStream& stream, char* block, std::uint64_t keep)
{
    std::memcpy(block, stream.sendBuffer, keep);
    stream.hidden->send_blocks.release(stream.sendBuffer,
                                       is_pending(stream.writeEvent) || stream.hidden.use_count() > 1);
    stream.sendBuffer = block;
}

void grow_send_buffer(CKSocketStream& stream, std::uint64_t capacity)
{
    block_store& blocks = stream.hidden->send_blocks;
    if (!blocks.has_room(stream.sendBuffer, capacity))
        replace_send_block(stream, blocks.make_larger(stream.sendBuffer, capacity), stream.sendFill);
    stream.sendCapacity = capacity;
}

void remove_sent(CKSocketStream& stream, std::uint64_t count) noexcept
{
    shared(stream.sendFill).store(stream.sendFill - count);
    std::memmove(stream.sendBuffer, stream.sendBuffer + count, stream.sendFill);
    if (stream.sentBytesCounter != nullptr)
        shared(*stream.sentBytesCounter).fetch_add(count);
}

void free_ended_sends(CKSocketStream& stream) noexcept
{
    if (!is_pending(stream.writeEvent) && stream.hidden.use_count() == 1)
        stream.hidden->send_blocks.free_retired(stream.sendBuffer);
}

} // namespace kf::socket
