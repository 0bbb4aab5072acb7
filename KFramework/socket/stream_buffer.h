#pragma once
/// The two buffers of a stream: when they must grow, by how much, when that ends the connection, and who owns
/// their blocks.

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <vector>

namespace kf::socket
{

/// Bytes in each buffer of a new stream, and both maximums.
inline constexpr std::uint64_t kInitialCapacity = 65535;
/// The send buffer and the completion-port receives grow in steps of this.
inline constexpr std::uint64_t kLargeStep = 65535;
/// The polled receives grow by this, once.
inline constexpr std::uint64_t kPolledStep = 4097;
/// A receive needs at least this many free bytes.
inline constexpr std::uint64_t kLeastRoom = 4097;
/// A polled receive asks for this many.
inline constexpr int kPolledReceiveBytes = 4096;

/// How far a buffer may grow.
struct size_limit
{
    std::uint64_t maximum = kInitialCapacity;
    bool enforced = true;
};

enum class verdict
{
    fits,
    grow,
    overflow
};

struct growth
{
    verdict what = verdict::fits;
    /// The capacity to have: a new one with verdict::grow, else the old one.
    std::uint64_t capacity = 0;
};

/// What queueing takes.
///
/// @param total     bytes queued once the frame is appended.
[[nodiscard]] growth send_growth(std::uint64_t total, std::uint64_t capacity,
                                 const size_limit& limit) noexcept;

/// What a polled receive takes.
[[nodiscard]] growth polled_growth(std::uint64_t fill, std::uint64_t capacity,
                                   const size_limit& limit) noexcept;

/// What a receive on a completion port takes.
[[nodiscard]] growth port_growth(std::uint64_t fill, std::uint64_t capacity,
                                 const size_limit& limit) noexcept;

/// A fill as a percentage of its maximum; an infinity when the maximum is 0 and the fill is not.
[[nodiscard]] double usage_percent(std::uint64_t fill, std::uint64_t extra, std::uint64_t maximum) noexcept;

/// A platform call takes 32 bits of length: as much of a run of bytes as one call may carry.
[[nodiscard]] std::uint32_t one_call(std::uint64_t bytes) noexcept;

/// Bytes behind a block's room: a terminating zero, and a look at a header without the lock.
inline constexpr std::uint64_t kSlackBytes = 16;

/// Owns the blocks of one buffer. A block that an operation may still use is retired instead of freed.
class block_store
{
public:
    /// A zero-filled block with room for this many bytes and kSlackBytes more.
    ///
    /// @throws std::bad_alloc.
    [[nodiscard]] char* make(std::uint64_t room);

    /// A block to take another's place: with at least twice its room, so that growing in small steps copies each
    /// byte only a few times.
    ///
    /// @throws std::bad_alloc.
    [[nodiscard]] char* make_larger(const char* old, std::uint64_t room);

    /// Whether a block has this much room already.
    [[nodiscard]] bool has_room(const char* block, std::uint64_t room) const noexcept;

    /// Gives a block back.
    ///
    /// @param block   from make() or make_larger().
    /// @param in_use  true: kept until free_retired().
    void release(char* block, bool in_use) noexcept;

    /// Frees the retired blocks, unless keep_all() was called.
    ///
    /// @param current  stays: the last of several users may still stand on a block that another one retired.
    void free_retired(const char* current) noexcept;

    /// From now on every block lives as long as the store.
    void keep_all() noexcept { keep_all_ = true; }

    /// Blocks owned, retired ones included.
    [[nodiscard]] std::size_t count() const noexcept { return blocks_.size(); }

private:
    struct heap_free
    {
        void operator()(char* bytes) const noexcept { std::free(bytes); }
    };

    struct owned_block
    {
        std::unique_ptr<char, heap_free> bytes;
        std::uint64_t room = 0;
        bool retired = false;
    };

    [[nodiscard]] std::uint64_t room_of(const char* block) const noexcept;

    std::vector<owned_block> blocks_;
    bool keep_all_ = false;
};

} // namespace kf::socket
