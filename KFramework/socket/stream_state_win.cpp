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

bool receive_outstanding(const CKSocketStream& stream) noexcept
{
    return stream.readEvent.isMarked() || is_pending(stream.readEvent);
}

void move_to_block_front(CKSocketStream& stream) noexcept
{
    if (stream.receiveBuffer != stream.receiveBlock)
        std::memmove(stream.receiveBlock, stream.receiveBuffer, stream.receiveFill);
    stream.receiveBuffer = stream.receiveBlock;
    stream.receiveBuffer[stream.receiveFill] = '\0';
}

void remove_received(CKSocketStream& stream, std::uint64_t count) noexcept
{
    stream.receiveBuffer += count;
    shared(stream.receiveFill).store(stream.receiveFill - count);
}

bool make_receive_room(CKSocketStream& stream, const growth& wanted, bool outstanding)
{
    if (wanted.what == verdict::overflow)
        return false;
    block_store& blocks = stream.hidden->receive_blocks;
    const bool at_front = stream.receiveBuffer == stream.receiveBlock;
    if (wanted.what == verdict::fits && (at_front || !outstanding))
    {
        if (!at_front)
            move_to_block_front(stream);
    }
    else
    {
        char* const block = blocks.make(wanted.capacity);
        std::memcpy(block, stream.receiveBuffer, stream.receiveFill);
        blocks.release(stream.receiveBlock, outstanding || stream.hidden.use_count() > 1);
        stream.receiveBlock = stream.receiveBuffer = block;
        stream.receiveCapacity = wanted.capacity;
    }
    if (!outstanding && stream.hidden.use_count() == 1)
        blocks.free_retired();
    return true;
}

void replace_send_block(CKSocketStream& stream, std::uint64_t capacity, std::uint64_t keep)
{
    block_store& blocks = stream.hidden->send_blocks;
    char* const block = blocks.make(capacity);
    std::memcpy(block, stream.sendBuffer, keep);
    blocks.release(stream.sendBuffer, is_pending(stream.writeEvent) || stream.hidden.use_count() > 1);
    stream.sendBuffer = block;
    stream.sendCapacity = capacity;
}

void free_ended_sends(CKSocketStream& stream) noexcept
{
    if (!is_pending(stream.writeEvent) && stream.hidden.use_count() == 1)
        stream.hidden->send_blocks.free_retired();
}

} // namespace kf::socket
