#pragma once

#include "KFramework/export.h"

#include <cstdint>

namespace boost
{
class mutex;
class shared_mutex;
} // namespace boost

namespace KFramework
{
struct KFRAMEWORK_API CKMutex
{
    CKMutex();
    ~CKMutex();
    CKMutex(const CKMutex&) = delete;
    CKMutex& operator=(const CKMutex&) = delete;

    boost::shared_mutex* mutex;
    std::uint32_t useCount;
};

class KFRAMEWORK_API CKObject
{
public:
    explicit CKObject(bool pooled);
    virtual ~CKObject();
    void Retain();
    virtual void Release();

    void Lock();
    void Unlock();
    void LockShared();
    void UnlockShared();
    void DisableLocking();
    void EnableLocking();

    bool pooled;
    CKMutex* mutex;
    unsigned long long lockingDisabledThread;
    std::uint32_t disableCount;
    std::uint32_t referenceCount;
};

class KFRAMEWORK_API CKRefCountedObject : public CKObject
{
public:
    CKRefCountedObject();
    ~CKRefCountedObject() override;
    void Release() override;
};
} // namespace KFramework
