#pragma once
/// What stands behind a stream's stated fields, and the scopes in which its functions work.

#include "KFramework/platform/windows_win.h"
#include "KFramework/socket.h"
#include "KFramework/socket/shared_field.h"
#include "KFramework/socket/stream_buffer.h"

#include <atomic>
#include <boost/thread/mutex.hpp>
#include <cstdint>
#include <cstdio>

namespace kf::socket
{

/// Shared by a stream and its copies; the last of them frees the blocks, the write mutex and the trace file.
struct stream_state
{
    stream_state();
    ~stream_state();
    stream_state(const stream_state&) = delete;
    stream_state& operator=(const stream_state&) = delete;

    boost::mutex* write_mutex;
    block_store receive_blocks;             // guarded by the read lock
    block_store send_blocks;                // guarded by the write lock
    std::uint64_t posted_bytes = 0;         // of the outstanding send; guarded by the write lock
    std::uint64_t cleared_bytes = 0;        // the same, once they were cleared; guarded by the write lock
    std::atomic<std::uint32_t> posting = 0; // threads inside a short platform call on the socket
    std::atomic<std::uint32_t> looking = 0; // threads that look at the receive buffer without the read lock
    boost::mutex trace_mutex;               // a leaf: taken last
    std::FILE* open_trace = nullptr;        // null once closed; guarded by trace_mutex
};

/// Holds a stream's read lock over a scope.
class read_lock
{
public:
    explicit read_lock(KFramework::KSocket::CKSocketStream& stream, bool take = true);
    ~read_lock();
    read_lock(const read_lock&) = delete;
    read_lock& operator=(const read_lock&) = delete;

private:
    KFramework::KSocket::CKSocketStream* stream_;
};

/// Holds a stream's write lock over a scope.
class write_lock
{
public:
    explicit write_lock(KFramework::KSocket::CKSocketStream& stream);
    ~write_lock();
    write_lock(const write_lock&) = delete;
    write_lock& operator=(const write_lock&) = delete;

private:
    KFramework::KSocket::CKSocketStream& stream_;
};

/// Keeps the socket's handle from being closed during a call that does not block. Entered only after the stream's
/// lock is held, so that Close never waits for someone who waits for a lock.
class posting_section
{
public:
    explicit posting_section(KFramework::KSocket::CKSocketStream& stream) noexcept;
    ~posting_section();
    posting_section(const posting_section&) = delete;
    posting_section& operator=(const posting_section&) = delete;

    /// The handle to use inside the section.
    [[nodiscard]] SOCKET socket() const noexcept { return socket_; }

private:
    stream_state& state_;
    SOCKET socket_;
};

/// Whether the system still works on a record: its status word tells, not the mark.
[[nodiscard]] bool is_pending(const KFramework::KSocket::CKSocketOverlappedStruct& record) noexcept;

/// A socket as "%d" prints it.
[[nodiscard]] inline int printed(SOCKET socket) noexcept
{
    return static_cast<int>(socket);
}

/// How far the buffers may grow; the host may change it at any time.
[[nodiscard]] size_limit receive_limit(const KFramework::KSocket::CKSocketStream& stream) noexcept;
[[nodiscard]] size_limit send_limit(const KFramework::KSocket::CKSocketStream& stream) noexcept;

// The receive buffer; all under the read lock. Its front moves forward inside its block as frames are taken, so
// that taking many is linear, and moves back before the next receive.

/// Whether bytes may arrive behind the fill at any moment, so that nothing may be moved or written there.
[[nodiscard]] bool receive_outstanding(const KFramework::KSocket::CKSocketStream& stream) noexcept;

/// Moves the filled bytes to the front of the block and terminates them.
void move_to_block_front(KFramework::KSocket::CKSocketStream& stream) noexcept;

/// Takes bytes off the front of the receive buffer.
void remove_received(KFramework::KSocket::CKSocketStream& stream, std::uint64_t count) noexcept;

/// Gives the next receive its room, with the filled bytes at the front of the block.
///
/// @param outstanding  an older receive still uses the block: it is kept for that one and replaced.
/// @return  false when the buffer would overflow; nothing is changed then.
[[nodiscard]] bool make_receive_room(KFramework::KSocket::CKSocketStream& stream, const growth& wanted,
                                     bool outstanding);

// The send buffer; all under the write lock.

/// Puts a new block in the place of the send block and keeps the first bytes of it.
void replace_send_block(KFramework::KSocket::CKSocketStream& stream, char* block, std::uint64_t keep);

void grow_send_buffer(KFramework::KSocket::CKSocketStream& stream, std::uint64_t capacity);

/// Takes sent bytes off the front of the queue and counts them.
///
/// @param count  at most what is queued.
void remove_sent(KFramework::KSocket::CKSocketStream& stream, std::uint64_t count) noexcept;

/// Frees the blocks that an ended send has left.
void free_ended_sends(KFramework::KSocket::CKSocketStream& stream) noexcept;

/// Appends received bytes to the trace file, if one is open.
void trace_received(KFramework::KSocket::CKSocketStream& stream, const char* bytes, std::size_t count);

/// Takes the completion port out of the stream and, if there was one, posts a close record to it.
void post_close_record(KFramework::KSocket::CKSocketStream& stream);

} // namespace kf::socket
