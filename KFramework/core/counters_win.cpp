#include "KFramework/core.h"
#include "KFramework/core/state_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"

#include <cstdint>

namespace KFramework
{
namespace
{
unsigned int exchange_add_32(void* counter, std::uint32_t n)
{
    return static_cast<unsigned int>(
        ::InterlockedExchangeAdd(static_cast<volatile LONG*>(counter), static_cast<LONG>(n)));
}

// The lock is the contract (callers see it), the interlocked addition lets the
// socket streams add to the same counters without it.
unsigned long long exchange_add_64(void* counter, std::uint64_t n)
{
    const kf::core::global_lock lock;
    return static_cast<unsigned long long>(
               ::InterlockedExchangeAdd64(static_cast<volatile LONG64*>(counter), static_cast<LONG64>(n))) +
           n;
}
} // namespace

unsigned int AtomicIncrement32(void* counter)
{
    return exchange_add_32(counter, 1) + 1;
}

unsigned int AtomicDecrement32(void* counter)
{
    return exchange_add_32(counter, static_cast<std::uint32_t>(-1)) - 1;
}

unsigned int AtomicAdd32(void* counter, long n)
{
    return exchange_add_32(counter, static_cast<std::uint32_t>(n));
}

unsigned int AtomicSubtract32(void* counter, long n)
{
    return exchange_add_32(counter, 0U - static_cast<std::uint32_t>(n));
}

unsigned long long AtomicIncrement64(void* counter)
{
    return exchange_add_64(counter, 1);
}

unsigned long long AtomicDecrement64(void* counter)
{
    return exchange_add_64(counter, static_cast<std::uint64_t>(-1));
}

unsigned long long AtomicAdd64(void* counter, long long n)
{
    return exchange_add_64(counter, static_cast<std::uint64_t>(n));
}

unsigned long long AtomicSubtract64(void* counter, long long n)
{
    return exchange_add_64(counter, 0ULL - static_cast<std::uint64_t>(n));
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
