#include "KFramework/socket/stream_buffer.h"

#include <algorithm>
#include <limits>
#include <new>

namespace kf::socket
{

namespace
{

bool refused(std::uint64_t size, const size_limit& limit) noexcept
{
    return limit.enforced && size > limit.maximum;
}

/// At least one step more, and as many as it takes.
std::uint64_t stepped_to(std::uint64_t capacity, std::uint64_t needed) noexcept
{
    const std::uint64_t missing = needed > capacity ? needed - capacity : 0;
    const std::uint64_t steps = std::max<std::uint64_t>(1, (missing + kLargeStep - 1) / kLargeStep);
    return capacity + steps * kLargeStep;
}

} // namespace

growth send_growth(std::uint64_t total, std::uint64_t capacity, const size_limit& limit) noexcept
{
    // KEPT[send-limit-at-growth]: one byte more is compared with the capacity than with the maximum, and the
    // maximum is looked at only when the buffer must grow.
    if (total + 1 <= capacity)
        return {verdict::fits, capacity};
    if (refused(total, limit))
        return {verdict::overflow, capacity};
    return {verdict::grow, stepped_to(capacity, total)};
}

growth polled_growth(std::uint64_t fill, std::uint64_t capacity, const size_limit& limit) noexcept
{
    if (capacity - fill >= kLeastRoom)
        return {verdict::fits, capacity};
    const std::uint64_t grown = capacity + kPolledStep;
    if (refused(grown, limit))
        return {verdict::overflow, capacity};
    return {verdict::grow, grown}; // KEPT[polled-growth-step]: 4,097 bytes, not the large step.
}

growth port_growth(std::uint64_t fill, std::uint64_t capacity, const size_limit& limit) noexcept
{
    if (capacity - fill >= kLeastRoom)
        return {verdict::fits, capacity};
    // KEPT[port-growth-counts-twice]: capacity and fill together, so that a port needs about twice the maximum.
    const std::uint64_t needed = capacity + fill + kLeastRoom;
    if (refused(needed, limit))
        return {verdict::overflow, capacity};
    return {verdict::grow, stepped_to(capacity, needed)};
}

double usage_percent(std::uint64_t fill, std::uint64_t extra, std::uint64_t maximum) noexcept
{
    return static_cast<double>(fill + extra) * 100.0 / static_cast<double>(maximum);
}

std::uint32_t one_call(std::uint64_t bytes) noexcept
{
    return static_cast<std::uint32_t>(
        std::min<std::uint64_t>(bytes, std::numeric_limits<std::uint32_t>::max()));
}

char* block_store::make(std::uint64_t room)
{
    blocks_.reserve(blocks_.size() + 1);
    // Zeroed by the system where it can be, so that room which is never used costs nothing.
    auto* const bytes = static_cast<char*>(std::calloc(1, static_cast<std::size_t>(room + kSlackBytes)));
    if (bytes == nullptr)
        throw std::bad_alloc();
    blocks_.push_back({std::unique_ptr<char, heap_free>(bytes), room, false});
    return bytes;
}

char* block_store::make_larger(const char* old, std::uint64_t room)
{
    return make(std::max(room, 2 * room_of(old)));
}

bool block_store::has_room(const char* block, std::uint64_t room) const noexcept
{
    return room_of(block) >= room;
}

std::uint64_t block_store::room_of(const char* block) const noexcept
{
    const auto found = std::find_if(blocks_.begin(), blocks_.end(),
                                    [block](const owned_block& one) { return one.bytes.get() == block; });
    return found != blocks_.end() ? found->room : 0;
}

void block_store::release(char* block, bool in_use) noexcept
{
    const auto found = std::find_if(blocks_.begin(), blocks_.end(),
                                    [block](const owned_block& one) { return one.bytes.get() == block; });
    if (found == blocks_.end())
        return;
    if (in_use || keep_all_)
    {
        found->retired = true;
        return;
    }
    blocks_.erase(found);
}

void block_store::free_retired(const char* current) noexcept
{
    if (keep_all_)
        return;
    std::erase_if(blocks_,
                  [current](const owned_block& one) { return one.retired && one.bytes.get() != current; });
}

} // namespace kf::socket
