#include "KFramework/object.h"
#include "KFramework/object/reference_count.h"
#include "KFramework/object/surroundings.h"
#include "KFramework/process.h"

#include <atomic>

namespace KFramework
{
namespace
{
constexpr std::int32_t kDefaultTTL = 90;

class table_lock
{
public:
    explicit table_lock(boost::mutex* mutex) : mutex_(mutex) { KProcesses::LockMutex(mutex_); }
    ~table_lock() { KProcesses::UnlockMutex(mutex_); }
    table_lock(const table_lock&) = delete;
    table_lock& operator=(const table_lock&) = delete;

private:
    boost::mutex* mutex_;
};
} // namespace

CKObjectGarbageCollector* gSTGarbageCollector = nullptr;

CKObjectGarbageCollector::CKObjectGarbageCollector()
    : mutex(KProcesses::CreateMutexW()), objectsTTL(kDefaultTTL)
{
}

CKObjectGarbageCollector::~CKObjectGarbageCollector()
{
    // Destructors may release further objects into the table; the singleton
    // pointer still stands for them. No time is asked for: the global mutex may be
    // gone by now.
    while (!table.empty())
        sweep(0, true);
    KProcesses::DestroyMutex(mutex);
}

CKObjectGarbageCollector* CKObjectGarbageCollector::GetUniqueClass()
{
    if (gSTGarbageCollector == nullptr)
        gSTGarbageCollector = new CKObjectGarbageCollector;
    return gSTGarbageCollector;
}

void CKObjectGarbageCollector::DestroyUniqueClass()
{
    delete gSTGarbageCollector;
    gSTGarbageCollector = nullptr;
}

void CKObjectGarbageCollector::SetObjectsTTL(int seconds)
{
    std::atomic_ref(objectsTTL).store(seconds, std::memory_order_relaxed);
}

void CKObjectGarbageCollector::AddObjectToGC(CKObject* object)
{
    const long long now = kf::object::server_time(); // takes the global mutex: before ours, not inside
    const table_lock lock(mutex);
    if (object != nullptr && kf::object::is_dying(object->referenceCount))
        return;
    table[object] = now;
    if (object != nullptr)
        std::atomic_ref(object->inCollector).store(true, std::memory_order_release);
}

/// The last reference and the record in one step, seen from FlushGC.
void CKObjectGarbageCollector::releaseLast(CKObject* object)
{
    const long long now = kf::object::server_time();
    const table_lock lock(mutex);
    if (!kf::object::release(object->referenceCount))
        return; // retained meanwhile
    table[object] = now;
    std::atomic_ref(object->inCollector).store(true, std::memory_order_release);
}

void CKObjectGarbageCollector::forget(CKObject* object)
{
    const table_lock lock(mutex);
    table.erase(object);
}

void CKObjectGarbageCollector::FlushGC(bool force)
{
    sweep(kf::object::server_time(), force);
}

void CKObjectGarbageCollector::sweep(long long now, bool force)
{
    const long long ttl = std::atomic_ref(objectsTTL).load(std::memory_order_relaxed);
    std::map<CKObject*, long long> dying; // takes the table's own nodes: nothing is allocated under the lock
    {
        const table_lock lock(mutex);
        for (auto entry = table.begin(); entry != table.end();)
        {
            CKObject* const object = entry->first;
            const bool expired = now - entry->second > ttl; // KEPT[gc-age-equal]
            if (!expired && !force)
            {
                ++entry;
                continue;
            }
            auto node = table.extract(entry++);
            if (object == nullptr)
                continue;
            std::atomic_ref(object->inCollector).store(false, std::memory_order_release);
            if (force)
                kf::object::mark_dying(object->referenceCount); // KEPT[gc-force]
            else if (!kf::object::mark_dying_if_unreferenced(object->referenceCount))
                continue; // KEPT[gc-retained-forgotten]
            dying.insert(dying.end(), std::move(node));
        }
    }
    for (const auto& [object, time] : dying)
        delete object;
}
} // namespace KFramework
