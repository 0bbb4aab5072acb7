#pragma once
/// The states of an object's reference count, and every change between them.

#include <atomic>
#include <cstdint>

namespace kf::object
{
/// A count at or near this value belongs to an object that the collector deletes.
/// Far from 0 on both sides: whatever is still retained or released meanwhile,
/// the count never passes 1 and the object is never recorded again.
inline constexpr std::uint32_t kDying = 0x80000000U;
inline constexpr std::uint32_t kDyingRange = 0x40000000U;

inline void retain(std::uint32_t& count)
{
    std::atomic_ref(count).fetch_add(1, std::memory_order_relaxed);
}

/// Takes one reference. True when it was the last.
[[nodiscard]] inline bool release(std::uint32_t& count)
{
    return std::atomic_ref(count).fetch_sub(1, std::memory_order_acq_rel) == 1;
}

/// Takes one reference unless it is the last. False when it is: nothing is taken.
[[nodiscard]] inline bool release_unless_last(std::uint32_t& count)
{
    const std::atomic_ref shared(count);
    std::uint32_t seen = shared.load(std::memory_order_relaxed);
    while (seen != 1)
    {
        if (shared.compare_exchange_weak(seen, seen - 1, std::memory_order_acq_rel,
                                         std::memory_order_relaxed))
            return true;
    }
    return false;
}

/// Turns an unreferenced object into a dying one. False when it is referenced.
[[nodiscard]] inline bool mark_dying_if_unreferenced(std::uint32_t& count)
{
    std::uint32_t unreferenced = 0;
    return std::atomic_ref(count).compare_exchange_strong(unreferenced, kDying, std::memory_order_acq_rel);
}

/// Turns any object into a dying one.
inline void mark_dying(std::uint32_t& count)
{
    std::atomic_ref(count).store(kDying, std::memory_order_release);
}

[[nodiscard]] inline bool is_dying(std::uint32_t& count)
{
    return std::atomic_ref(count).load(std::memory_order_acquire) - (kDying - kDyingRange) < 2 * kDyingRange;
}
} // namespace kf::object
