#include "KFramework/object.h"
#include "KFramework/process.h"

#include <memory>

namespace KFramework
{
namespace
{
class guard_lock
{
public:
    explicit guard_lock(boost::shared_mutex* guard) : guard_(guard) { KProcesses::LockMutex(guard_); }
    ~guard_lock() { KProcesses::UnlockMutex(guard_); }
    guard_lock(const guard_lock&) = delete;
    guard_lock& operator=(const guard_lock&) = delete;

private:
    boost::shared_mutex* guard_;
};

void append_new_mutex(std::deque<CKMutex*>& list)
{
    auto mutex = std::make_unique<CKMutex>();
    list.push_back(mutex.get());
    static_cast<void>(mutex.release()); // the list's from here
}

[[maybe_unused]] const CKMutexPoolManager* const built_at_load = CKMutexPoolManager::GetUniqueClass();
} // namespace

CKMutex::CKMutex() : mutex(KProcesses::CreateSharedMutex()), useCount(0) {}

CKMutex::~CKMutex()
{
    KProcesses::DestroySharedMutex(mutex);
}

CKMutexPoolManager::CKMutexPoolManager() : guard(KProcesses::CreateSharedMutex()) {}

CKMutexPoolManager::~CKMutexPoolManager()
{
    for (CKMutex* const free : freeList)
        delete free;
    KProcesses::DestroySharedMutex(guard);
}

CKMutexPoolManager* CKMutexPoolManager::GetUniqueClass()
{
    // Never destroyed: static objects of the host may lock while the library unloads.
    static CKMutexPoolManager* const instance = new CKMutexPoolManager;
    return instance;
}

CKMutex* CKMutexPoolManager::mutexPoolAcquireForObject(CKObject* object)
{
    const guard_lock lock(guard);
    if (const auto lent = lentMap.find(object); lent != lentMap.end())
    {
        ++lent->second->useCount;
        return lent->second;
    }

    // KEPT[pool-order]: first in, first out.
    if (freeList.empty())
        append_new_mutex(freeList);
    CKMutex* const mutex = freeList.front();
    lentMap.emplace(object, mutex);
    // Nothing below can fail: from here the mutex is lent.
    freeList.pop_front();
    ++mutex->useCount;
    return mutex;
}

void CKMutexPoolManager::mutexPoolReleaseForObject(CKMutex* mutex, CKObject* object)
{
    if (mutex == nullptr)
        return;
    const guard_lock lock(guard);
    if (mutex->useCount == 0)
        return; // given back too often: once more on the free list would lend it twice
    if (--mutex->useCount != 0)
        return;
    freeList.push_back(mutex);
    lentMap.erase(object);
}
} // namespace KFramework
