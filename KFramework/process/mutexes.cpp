#include <algorithm>
#include <chrono>
#include <cstdint>
#include <new>
#include <thread>

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/exceptions.hpp>
#include <boost/thread/lock_types.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/shared_mutex.hpp>

#include "KFramework/process.h"

namespace
{
constexpr std::chrono::milliseconds kRetryPause{1};

/// Boost gives up when the system has no event to wait on, and a shared mutex when its counters are full (127
/// writers waiting). A lock function cannot report either, so it asks on until the mutex is free.
template <class Lock, class TryLock>
void insist(Lock lock, TryLock try_lock)
{
    try
    {
        lock();
        return;
    }
    catch (const boost::thread_exception&)
    {
    }
    while (!try_lock())
        std::this_thread::sleep_for(kRetryPause);
}

void lock_exclusive(auto& mutex)
{
    insist([&] { mutex.lock(); }, [&] { return mutex.try_lock(); });
}

/// Boost's lock object over a mutex that the caller has locked and gets back locked, however the scope ends.
class adopted_lock
{
public:
    explicit adopted_lock(boost::mutex& mutex) : lock_(mutex, boost::adopt_lock) {}
    adopted_lock(const adopted_lock&) = delete;
    adopted_lock& operator=(const adopted_lock&) = delete;
    ~adopted_lock() { lock_.release(); }

    boost::unique_lock<boost::mutex>& get() { return lock_; }

private:
    boost::unique_lock<boost::mutex> lock_;
};

/// Runs one wait. Without a semaphore to wait on it becomes a spurious wake-up after a pause, which every
/// caller is prepared for.
template <class Wait>
bool wait_on(KFramework::KProcesses::KConditional& conditional, Wait wait)
{
    adopted_lock lock(*conditional.mutex);
    try
    {
        return wait(lock.get());
    }
    catch (const boost::thread_resource_error&)
    {
        // Before the wait the mutex is still ours; after it another thread's, and Boost could not wait for it.
        if (lock.get().owns_lock())
            conditional.mutex->unlock();
        std::this_thread::sleep_for(kRetryPause);
        lock_exclusive(*conditional.mutex);
        return true;
    }
}

/// Unlocks. Boost lets the mutex go first and may then find no event to wake a waiter with; without one the
/// waiters look again by themselves.
void unlock_exclusive(boost::mutex& mutex)
{
    try
    {
        mutex.unlock();
    }
    catch (const boost::thread_resource_error&)
    {
    }
}

bool can_wait(const KFramework::KProcesses::KConditional* conditional)
{
    return conditional != nullptr && conditional->mutex != nullptr;
}
} // namespace

namespace KFramework::KProcesses
{
// KEPT[create-mutex-w]: the name with its W is what the library exports.
boost::mutex* CreateMutexW()
{
    return new boost::mutex;
}

bool DestroyMutex(boost::mutex* mutex)
{
    // KEPT[destroy-always-true]
    delete mutex;
    return true;
}

void LockMutex(boost::mutex* mutex)
{
    if (mutex != nullptr)
        lock_exclusive(*mutex);
}

bool TryLockMutex(boost::mutex* mutex)
{
    return mutex != nullptr && mutex->try_lock();
}

void UnlockMutex(boost::mutex* mutex)
{
    if (mutex != nullptr)
        unlock_exclusive(*mutex);
}

boost::shared_mutex* CreateSharedMutex()
{
    try
    {
        return new boost::shared_mutex;
    }
    catch (const boost::thread_resource_error&)
    {
        throw std::bad_alloc(); // the one failure that callers are told of
    }
}

bool DestroySharedMutex(boost::shared_mutex* mutex)
{
    delete mutex;
    return true;
}

void LockMutex(boost::shared_mutex* mutex)
{
    if (mutex != nullptr)
        lock_exclusive(*mutex);
}

bool TryLockMutex(boost::shared_mutex* mutex)
{
    return mutex != nullptr && mutex->try_lock();
}

void UnlockMutex(boost::shared_mutex* mutex)
{
    if (mutex != nullptr)
        mutex->unlock();
}

void LockSharedMutex(boost::shared_mutex* mutex)
{
    if (mutex != nullptr)
        insist([&] { mutex->lock_shared(); }, [&] { return mutex->try_lock_shared(); });
}

bool TryLockSharedMutex(boost::shared_mutex* mutex)
{
    return mutex != nullptr && mutex->try_lock_shared();
}

void UnlockSharedMutex(boost::shared_mutex* mutex)
{
    if (mutex != nullptr)
        mutex->unlock_shared();
}

KConditional* CreateConditional(boost::mutex* mutex)
{
    auto* const conditional = new KConditional;
    conditional->mutex = mutex;
    return conditional;
}

bool DestroyConditional(KConditional* conditional)
{
    delete conditional;
    return true;
}

bool WaitConditional(KConditional* conditional)
{
    if (can_wait(conditional))
        wait_on(*conditional,
                [&](auto& lock)
                {
                    conditional->condition.wait(lock);
                    return true;
                });
    // KEPT[wait-spurious]: the caller tests what it waits for; nothing is filtered here.
    return true;
}

bool WaitTimedConditional(KConditional* conditional, int timeoutMs)
{
    if (!can_wait(conditional))
        return false;
    // In 64 bits, and on the steady clock: setting the system's time neither stretches nor cuts the wait.
    const boost::chrono::duration<std::int64_t, boost::micro> timeout =
        boost::chrono::duration<std::int64_t, boost::milli>(std::max(timeoutMs, 0));
    return wait_on(*conditional,
                   [&](auto& lock) {
                       return conditional->condition.wait_for(lock, timeout) == boost::cv_status::no_timeout;
                   });
}

bool SignalConditional(KConditional* conditional)
{
    if (conditional != nullptr)
        conditional->condition.notify_one();
    return true;
}

bool BroadcastSignalConditional(KConditional* conditional)
{
    if (conditional != nullptr)
        conditional->condition.notify_all();
    return true;
}
} // namespace KFramework::KProcesses
