#pragma once
/// What a logger keeps beyond its public fields, and the flags that several threads read.

#include "KFramework/logger.h"
#include "KFramework/logger/rotation.h"
#include "KFramework/process.h"

#include <atomic>
#include <cstdint>
#include <string>
#include <vector>

namespace kf::logger
{
using KFramework::KLogger::CKLoggerInstance;

/// The background writer as its callers see it. Everything is guarded by the logger's queue mutex.
struct writer_state
{
    bool running = false;
    bool wake_requested = false;                          ///< ends the idle pause, or leaves it out
    unsigned int waiters = 0;                             ///< callers that wait for a drained queue
    std::uint64_t drained = 0;                            ///< passes that left the queue empty
    KFramework::KProcesses::KConditional* wake = nullptr; ///< what the idle pause waits on
};

/// Made by CreateLogger, deleted by DestroyLogger.
struct instance_state
{
    log_location log;    ///< as CreateLogger found it; later names wait for the next one
    writer_state writer; ///< guarded by queueMutex
    std::atomic<std::uint64_t> callback_thread{0}; ///< the thread inside the rotation callback, 0 for none
    std::vector<std::string> parked_lines;         ///< what that thread logged; guarded by writeMutex
};

/// Plain fields that are written while other threads read them.
template <class T>
[[nodiscard]] T load(T& field) noexcept
{
    return std::atomic_ref<T>(field).load(std::memory_order_acquire);
}

template <class T>
void store(T& field, T value) noexcept
{
    std::atomic_ref<T>(field).store(value, std::memory_order_release);
}

/// What the output flags ask for.
[[nodiscard]] inline bool wants_console(CKLoggerInstance& logger) noexcept
{
    return (load(logger.outputFlags) & 2) != 0;
}

[[nodiscard]] inline bool wants_file(CKLoggerInstance& logger) noexcept
{
    return (load(logger.outputFlags) & 4) != 0;
}

/// Holds one of a logger's mutexes over a scope.
class mutex_lock
{
public:
    explicit mutex_lock(boost::mutex* mutex) : mutex_(mutex) { KFramework::KProcesses::LockMutex(mutex_); }
    ~mutex_lock() { KFramework::KProcesses::UnlockMutex(mutex_); }
    mutex_lock(const mutex_lock&) = delete;
    mutex_lock& operator=(const mutex_lock&) = delete;

private:
    boost::mutex* mutex_;
};
} // namespace kf::logger
