#include "KFramework/object.h"
#include "KFramework/object/reference_count.h"
#include "KFramework/object/surroundings.h"
#include "KFramework/process.h"

#include <atomic>

namespace KFramework
{
namespace
{
bool locking_disabled(CKObject& object)
{
    const unsigned long long disabled =
        std::atomic_ref(object.lockingDisabledThread).load(std::memory_order_acquire);
    return disabled != 0 && disabled == kf::object::current_thread();
}

bool shared_locking_disabled(CKObject& object)
{
    // KEPT[shared-lock-test]: no test for 0 here.
    return std::atomic_ref(object.lockingDisabledThread).load(std::memory_order_acquire) ==
           kf::object::current_thread();
}

// Borrowing comes before waiting: its use count keeps one mutex per object for
// holders and waiters alike.
boost::shared_mutex* mutex_to_lock(CKObject& object)
{
    if (!object.pooled)
        return object.mutex->mutex;
    CKMutex* const borrowed = CKMutexPoolManager::GetUniqueClass()->mutexPoolAcquireForObject(&object);
    // Every borrower of the object stores the same value.
    std::atomic_ref(object.mutex).store(borrowed, std::memory_order_relaxed);
    return borrowed->mutex;
}

CKMutex* mutex_to_unlock(CKObject& object)
{
    return std::atomic_ref(object.mutex).load(std::memory_order_relaxed);
}

void give_back(CKObject& object, CKMutex* mutex)
{
    if (object.pooled)
        CKMutexPoolManager::GetUniqueClass()->mutexPoolReleaseForObject(mutex, &object);
}
} // namespace

CKObject::CKObject(bool pooled_)
    : pooled(pooled_), mutex(pooled_ ? nullptr : new CKMutex), lockingDisabledThread(0), disableCount(0),
      referenceCount(0), inCollector(false) // KEPT[object-counts]
{
}

CKObject::CKObject(const CKObject& other)
    : pooled(other.pooled), mutex(other.pooled ? other.mutex : new CKMutex),
      lockingDisabledThread(other.lockingDisabledThread), disableCount(other.disableCount),
      referenceCount(other.referenceCount), inCollector(false)
{
}

CKObject& CKObject::operator=(const CKObject& other)
{
    if (pooled && other.pooled)
        mutex = other.mutex;
    lockingDisabledThread = other.lockingDisabledThread;
    disableCount = other.disableCount;
    referenceCount = other.referenceCount;
    return *this;
}

CKObject::~CKObject()
{
    // The address may soon be another object's: no record of it may stay behind.
    if (std::atomic_ref(inCollector).load(std::memory_order_acquire) && gSTGarbageCollector != nullptr)
        gSTGarbageCollector->forget(this);
    if (!pooled)
        delete mutex;
}

void CKObject::Retain()
{
    kf::object::retain(referenceCount);
}

void CKObject::Release()
{
    // The last reference is taken under the collector's mutex, together with the
    // record: a sweep between the two would delete an object that is then recorded.
    if (gSTGarbageCollector == nullptr)
        static_cast<void>(kf::object::release(referenceCount));
    else if (!kf::object::release_unless_last(referenceCount)) // KEPT[over-release]
        gSTGarbageCollector->releaseLast(this);
}

void CKObject::Lock()
{
    if (!locking_disabled(*this))
        KProcesses::LockMutex(mutex_to_lock(*this));
}

void CKObject::Unlock()
{
    if (locking_disabled(*this))
        return;
    CKMutex* const held = mutex_to_unlock(*this);
    if (held == nullptr)
        return;
    KProcesses::UnlockMutex(held->mutex);
    give_back(*this, held);
}

void CKObject::LockShared()
{
    if (!shared_locking_disabled(*this))
        KProcesses::LockSharedMutex(mutex_to_lock(*this));
}

void CKObject::UnlockShared()
{
    if (shared_locking_disabled(*this))
        return;
    CKMutex* const held = mutex_to_unlock(*this);
    if (held == nullptr)
        return;
    KProcesses::UnlockSharedMutex(held->mutex);
    give_back(*this, held);
}

void CKObject::DisableLocking()
{
    // KEPT[disable-count]: one depth for all threads, and the last caller's id.
    std::atomic_ref(lockingDisabledThread).store(kf::object::current_thread(), std::memory_order_release);
    std::atomic_ref(disableCount).fetch_add(1, std::memory_order_relaxed);
}

void CKObject::EnableLocking()
{
    const std::atomic_ref depth(disableCount);
    const std::uint32_t before = depth.load(std::memory_order_relaxed);
    if (before == 0)
        return;
    depth.store(before - 1, std::memory_order_relaxed);
    if (before == 1)
        std::atomic_ref(lockingDisabledThread).store(0, std::memory_order_release);
}

CKRefCountedObject::CKRefCountedObject() : CKObject(false)
{
    referenceCount = 1; // KEPT[object-counts]
}

CKRefCountedObject::~CKRefCountedObject() = default;

void CKRefCountedObject::Release()
{
    if (kf::object::release(referenceCount))
        delete this;
}
} // namespace KFramework
