#include "KFramework/core.h"
#include "KFramework/core/state.h"
#include "KFramework/process.h"

#include <atomic>
#include <cstdint>

namespace KFramework
{
namespace
{
/// The value before the addition, which wraps.
std::uint32_t exchange_add_32(void* counter, std::uint32_t n)
{
    return std::atomic_ref(*static_cast<std::uint32_t*>(counter)).fetch_add(n);
}

/// The value after the addition. The lock is the contract (callers see it); the
/// atomic addition lets the socket streams add to the same counters without it.
std::uint64_t add_exchange_64(void* counter, std::uint64_t n)
{
    const kf::core::global_lock lock;
    return std::atomic_ref(*static_cast<std::uint64_t*>(counter)).fetch_add(n) + n;
}
} // namespace

unsigned int AtomicIncrement32(void* counter)
{
    return exchange_add_32(counter, 1) + 1;
}

unsigned int AtomicDecrement32(void* counter)
{
    return exchange_add_32(counter, 0U - 1U) - 1;
}

unsigned int AtomicAdd32(void* counter, long n)
{
    return exchange_add_32(counter, static_cast<std::uint32_t>(n)); // KEPT[add-32-old-value]
}

unsigned int AtomicSubtract32(void* counter, long n)
{
    // KEPT[add-32-old-value]. Unsigned: the smallest long has no negative.
    return exchange_add_32(counter, 0U - static_cast<std::uint32_t>(n));
}

unsigned long long AtomicIncrement64(void* counter)
{
    return add_exchange_64(counter, 1);
}

unsigned long long AtomicDecrement64(void* counter)
{
    return add_exchange_64(counter, 0ULL - 1ULL);
}

unsigned long long AtomicAdd64(void* counter, long long n)
{
    return add_exchange_64(counter, static_cast<std::uint64_t>(n)); // KEPT[add-64-locked]
}

unsigned long long AtomicSubtract64(void* counter, long long n)
{
    return add_exchange_64(counter, 0ULL - static_cast<std::uint64_t>(n)); // KEPT[add-64-locked]
}

int GetProgressiveSeed()
{
    kf::core::process_state& state = kf::core::state();
    KProcesses::LockMutex(state.seed_mutex);
    const std::uint32_t seed = state.seed_counter++;
    KProcesses::UnlockMutex(state.seed_mutex);
    return static_cast<int>(seed);
}
} // namespace KFramework
