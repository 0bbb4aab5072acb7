#pragma once
/// Shared objects: reference counts, one reader/writer lock per object, and the
/// collector that deletes what nobody holds any more.
///
/// Threads: Retain, Release and the four lock functions may be called by any
/// thread at any time; what differs says so.
/// Errors: none are reported.
/// Ownership: whoever retains releases. An object dies through its last Release
/// (CKObject: later, through the collector), never by delete while it is shared.

#include "KFramework/export.h"

#include <cstdint>
#include <deque>
#include <map>

namespace boost
{
class mutex;
class shared_mutex;
} // namespace boost

namespace KFramework
{
class CKObjectGarbageCollector;

/// A reader/writer lock that an object owns, or borrows from the pool.
struct KFRAMEWORK_API CKMutex
{
    CKMutex();
    ~CKMutex();
    CKMutex(const CKMutex&) = delete;
    CKMutex& operator=(const CKMutex&) = delete;

    boost::shared_mutex* mutex; ///< the lock itself, made and destroyed with the record.
    std::uint32_t useCount;     ///< current borrowers when pooled, else 0; guarded by the pool's guard.
};

/// An object with a reference count and a reader/writer lock.
///
/// The lock is not recursive. A thread that holds it and calls methods that lock
/// again switches locking off for itself first:
///
///     object->Lock();
///     object->DisableLocking();
///     object->method_that_locks();
///     object->EnableLocking();
///     object->Unlock();
///
/// A derived class may override the destructor and Release, nothing else.
///
/// @kept object-counts: a CKObject starts at 0 and its owner retains it once; a
///       CKRefCountedObject starts at 1.
class KFRAMEWORK_API CKObject
{
public:
    /// @param pooled  true: the object owns no mutex and borrows one from the
    ///                pool while it is locked. For objects that are many and
    ///                seldom locked.
    explicit CKObject(bool pooled);

    /// Copies the fields as they stand, the reference count included, for the
    /// containers that hold objects by value. An object that owns a mutex gives
    /// its copy one of its own.
    CKObject(const CKObject& other);
    CKObject& operator=(const CKObject& other);

    /// Deletes the own mutex, and takes the object back from the collector when
    /// it waits there.
    virtual ~CKObject();

    /// Adds one reference.
    void Retain();

    /// Takes one reference. With the last one the object goes to the collector,
    /// which deletes it later; without a collector only the count changes.
    ///
    /// @kept over-release: releasing more than was retained wraps the count and
    ///       does nothing else; the object is neither queued nor deleted.
    virtual void Release();

    /// Locks exclusively; waits for every holder. Returns at once when locking
    /// is switched off for the calling thread.
    void Lock();
    /// Gives up what Lock took; same thread. Nothing happens on a pooled object
    /// that was never locked.
    void Unlock();
    /// Locks shared with other readers; waits for an exclusive holder.
    ///
    /// @kept shared-lock-test: Lock is skipped when the disabled thread is not 0
    ///       and is the caller; LockShared only asks whether it is the caller.
    void LockShared();
    /// Gives up what LockShared took; same thread.
    void UnlockShared();

    /// Switches locking off for the calling thread, until EnableLocking was
    /// called as often.
    ///
    /// @threads only the exclusive holder, or before the object is shared.
    /// @kept disable-count: the depth is the object's, not the thread's. Locking
    ///       stays off for the thread that called last until every call of any
    ///       thread is undone.
    void DisableLocking();
    /// Undoes one DisableLocking; more calls than that do nothing.
    ///
    /// @threads as DisableLocking.
    void EnableLocking();

    bool pooled;    ///< see the constructor.
    CKMutex* mutex; ///< own mutex, or the one last borrowed (null before the first lock).
    unsigned long long lockingDisabledThread; ///< KProcesses::GetCurrentThread, 0 for none.
    std::uint32_t disableCount;               ///< nesting depth of DisableLocking.
    std::uint32_t referenceCount;             ///< near 0x80000000 while the collector deletes the object.

private:
    friend class CKObjectGarbageCollector;

    bool inCollector; // guarded by the collector's mutex; read without it by the destructor
};

/// An object that deletes itself with its last reference.
class KFRAMEWORK_API CKRefCountedObject : public CKObject
{
public:
    /// Owns its mutex; the creator holds the first reference.
    CKRefCountedObject();
    ~CKRefCountedObject() override;

    /// Takes one reference; with the last one deletes the object at once.
    void Release() override;
};

/// The mutexes that pooled objects borrow. The pool grows to the largest number
/// of objects locked at once, hands mutexes out first in first out, and destroys
/// none while the library is loaded.
///
/// @threads any.
/// @kept pool-order: the mutex given back first is lent first; the pool never
///       shrinks.
class KFRAMEWORK_API CKMutexPoolManager
{
public:
    CKMutexPoolManager();
    /// Frees the mutexes on the free list; lent ones are not tracked. The
    /// process-wide pool is never destroyed.
    ~CKMutexPoolManager();
    CKMutexPoolManager(const CKMutexPoolManager&) = delete;
    CKMutexPoolManager& operator=(const CKMutexPoolManager&) = delete;

    /// The process-wide pool, built when the library is loaded. Stays the library's.
    static CKMutexPoolManager* GetUniqueClass();

    /// Lends a mutex to an object, the same one to every borrower of that object.
    /// Borrow before waiting for the mutex, give back after unlocking it.
    ///
    /// @return  the pool's mutex; one mutexPoolReleaseForObject gives it back.
    CKMutex* mutexPoolAcquireForObject(CKObject* object);

    /// Gives one borrowing back.
    ///
    /// @param mutex   what the acquire gave; null does nothing.
    /// @param object  the object it was lent to.
    void mutexPoolReleaseForObject(CKMutex* mutex, CKObject* object);

    std::deque<CKMutex*> freeList;         ///< guarded by guard.
    std::map<CKObject*, CKMutex*> lentMap; ///< guarded by guard.
    boost::shared_mutex* guard;            ///< always taken exclusively; a leaf lock.
};

/// Deletes objects some time after their last reference is gone, when no thread
/// can still be inside one of their methods.
///
/// The host makes it once before threads use objects, calls FlushGC(false) now
/// and then, and at its end FlushGC(true) and DestroyUniqueClass. Nothing is
/// collected on a timer. Ages are measured in server time: a host that never
/// calls UpdateServerTime never collects without force.
class KFRAMEWORK_API CKObjectGarbageCollector
{
public:
    CKObjectGarbageCollector(const CKObjectGarbageCollector&) = delete;
    CKObjectGarbageCollector& operator=(const CKObjectGarbageCollector&) = delete;

    /// The collector, created by the first call with a time to live of 90 seconds.
    ///
    /// @return  gSTGarbageCollector; released by DestroyUniqueClass.
    /// @threads the first call before any thread uses objects.
    static CKObjectGarbageCollector* GetUniqueClass();

    /// Deletes every waiting object, whatever its count and age, those that its
    /// destructors release included; then the collector. Nothing happens without one.
    /// May follow ShutdownLibrary when no destructor releases other objects.
    ///
    /// @threads one, after every other use of objects.
    static void DestroyUniqueClass();

    /// @param seconds  age up to which objects are kept; not checked, negative
    ///                 values collect at once.
    void SetObjectsTTL(int seconds);

    /// Records an object with the current server time; an object already
    /// recorded gets the new time. Objects that are being deleted are not
    /// recorded again.
    ///
    /// @param object  null may be recorded; it is dropped when its time comes.
    /// @threads any.
    void AddObjectToGC(CKObject* object);

    /// Deletes the recorded objects whose age is above the time to live and that
    /// nobody has retained since, in address order, through their virtual
    /// destructors and outside the lock.
    ///
    /// @param force  true: deletes every recorded object whatever its age and count.
    /// @threads any.
    /// @kept gc-age-equal: an object exactly as old as the time to live stays.
    /// @kept gc-retained-forgotten: an expired object that was retained again
    ///       leaves the table without being deleted; its next last Release
    ///       records it anew.
    /// @kept gc-force: force does not look at the count.
    void FlushGC(bool force);

    boost::mutex* mutex; ///< guards table; a leaf lock.
    std::map<CKObject*, long long>
        table;               ///< object to the time it was handed over, seconds; guarded by mutex.
    std::int32_t objectsTTL; ///< seconds; 90 at first.

private:
    friend class CKObject;

    CKObjectGarbageCollector();
    ~CKObjectGarbageCollector();

    void releaseLast(CKObject* object);
    void forget(CKObject* object);
    void sweep(long long now, bool force);
};

/// The collector; null until GetUniqueClass and after DestroyUniqueClass.
extern KFRAMEWORK_API CKObjectGarbageCollector* gSTGarbageCollector;
} // namespace KFramework
