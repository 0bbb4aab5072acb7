#pragma once
/// The monitor's table and its lock, which live as long as the process: queries may come at any time.

#include <atomic>
#include <map>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include "KFramework/perfmon.h"
#include "KFramework/platform/windows_win.h"

namespace kf::perfmon
{
using KFramework::KPerformanceMonitor::kPerformanceMonitorData;

/// Tells the monitor's thread to end.
class stop_signal
{
public:
    stop_signal() noexcept;
    void set() noexcept;
    [[nodiscard]] bool is_set() const noexcept { return set_; }

    /// Waits until it is set, at most a second.
    void pause() const noexcept;

private:
    std::atomic<bool> set_{false};
    HANDLE event_; ///< never closed; null where the system has no more
};

struct monitor_state
{
    boost::mutex mutex;
    kPerformanceMonitorData table;          // guarded by mutex; the four amounts of memory are atomic as well
    std::map<int, unsigned long> monitored; // guarded by mutex
    stop_signal stop;
};

monitor_state& state();

using table_lock = boost::lock_guard<boost::mutex>;

/// The amounts of memory are written under the lock and read without it.
inline std::uint64_t load(std::uint64_t& amount)
{
    return std::atomic_ref(amount).load(std::memory_order_relaxed);
}

inline void store(std::uint64_t& amount, std::uint64_t value)
{
    std::atomic_ref(amount).store(value, std::memory_order_relaxed);
}
} // namespace kf::perfmon
