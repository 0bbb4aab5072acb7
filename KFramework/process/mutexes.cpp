#include "KFramework/process.h"

#include <boost/thread/condition_variable.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/shared_mutex.hpp>

#include <chrono>

namespace KFramework::KProcesses
{
boost::mutex* CreateMutexW()
{
    return new boost::mutex;
}

bool DestroyMutex(boost::mutex* mutex)
{
    delete mutex;
    return true;
}

void LockMutex(boost::mutex* mutex)
{
    if (mutex != nullptr)
        mutex->lock();
}

bool TryLockMutex(boost::mutex* mutex)
{
    return mutex->try_lock();
}

void UnlockMutex(boost::mutex* mutex)
{
    if (mutex != nullptr)
        mutex->unlock();
}

boost::shared_mutex* CreateSharedMutex()
{
    return new boost::shared_mutex;
}

bool DestroySharedMutex(boost::shared_mutex* mutex)
{
    delete mutex;
    return true;
}

void LockMutex(boost::shared_mutex* mutex)
{
    mutex->lock();
}

bool TryLockMutex(boost::shared_mutex* mutex)
{
    return mutex->try_lock();
}

void UnlockMutex(boost::shared_mutex* mutex)
{
    mutex->unlock();
}

void LockSharedMutex(boost::shared_mutex* mutex)
{
    mutex->lock_shared();
}

bool TryLockSharedMutex(boost::shared_mutex* mutex)
{
    return mutex->try_lock_shared();
}

void UnlockSharedMutex(boost::shared_mutex* mutex)
{
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
    boost::unique_lock<boost::mutex> lock(*conditional->mutex, boost::adopt_lock);
    conditional->condition.wait(lock);
    lock.release();
    return true;
}

bool WaitTimedConditional(KConditional* conditional, int timeoutMs)
{
    boost::unique_lock<boost::mutex> lock(*conditional->mutex, boost::adopt_lock);
    const bool signalled = conditional->condition.wait_for(lock, boost::chrono::milliseconds(timeoutMs)) ==
                           boost::cv_status::no_timeout;
    lock.release();
    return signalled;
}

bool SignalConditional(KConditional* conditional)
{
    conditional->condition.notify_one();
    return true;
}

bool BroadcastSignalConditional(KConditional* conditional)
{
    conditional->condition.notify_all();
    return true;
}
} // namespace KFramework::KProcesses
