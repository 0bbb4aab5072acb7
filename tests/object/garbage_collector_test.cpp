#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <set>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/object.h"
#include "tests/support/object_surroundings.h"

using kf::test::set_server_time;
using KFramework::CKObject;
using KFramework::CKObjectGarbageCollector;
using KFramework::gSTGarbageCollector;

namespace
{

/// Notes its end in a list of the test's.
struct noting : CKObject
{
    explicit noting(std::vector<noting*>& ended) : CKObject(true), ended_(ended) {}
    ~noting() override { ended_.push_back(this); }
    std::vector<noting*>& ended_;
};

/// Releases others when it ends.
struct releasing : CKObject
{
    releasing(std::vector<CKObject*> others, unsigned& ended)
        : CKObject(true), others_(std::move(others)), ended_(ended)
    {
        for (CKObject* const other : others_)
            other->Retain();
    }
    ~releasing() override
    {
        ++ended_;
        for (CKObject* const other : others_)
            other->Release();
    }
    std::vector<CKObject*> others_;
    unsigned& ended_;
};

class collector : public testing::Test
{
protected:
    collector()
    {
        set_server_time(1000);
        CKObjectGarbageCollector::GetUniqueClass();
    }
    ~collector() override { CKObjectGarbageCollector::DestroyUniqueClass(); }

    noting* make_released()
    {
        auto* const object = new noting(ended);
        object->Retain();
        object->Release();
        return object;
    }

    static void flush_at(std::int64_t time, bool force = false)
    {
        set_server_time(time);
        gSTGarbageCollector->FlushGC(force);
    }

    std::vector<noting*> ended;
};

constexpr unsigned kOthers = 1000;

/// An object that releases a thousand others, itself released.
void make_releasing(unsigned& ended, unsigned others = kOthers)
{
    std::vector<CKObject*> list;
    for (unsigned i = 0; i < others; ++i)
        list.push_back(new releasing({}, ended));
    auto* const parent = new releasing(std::move(list), ended);
    parent->Retain();
    parent->Release();
}

} // namespace

TEST(GarbageCollector, IsMadeByTheFirstCallAndGoneAfterDestroy)
{
    EXPECT_EQ(gSTGarbageCollector, nullptr);
    CKObjectGarbageCollector* const made = CKObjectGarbageCollector::GetUniqueClass();
    EXPECT_NE(made, nullptr);
    EXPECT_EQ(gSTGarbageCollector, made);
    EXPECT_EQ(CKObjectGarbageCollector::GetUniqueClass(), made);
    EXPECT_EQ(made->objectsTTL, 90);
    EXPECT_TRUE(made->table.empty());
    EXPECT_NE(made->mutex, nullptr);
    CKObjectGarbageCollector::DestroyUniqueClass();
    EXPECT_EQ(gSTGarbageCollector, nullptr);
    CKObjectGarbageCollector::DestroyUniqueClass();
    EXPECT_EQ(gSTGarbageCollector, nullptr);
}

TEST_F(collector, ReleaseQueuesTheLastReferenceInsteadOfDeleting)
{
    noting* const object = make_released();
    EXPECT_TRUE(ended.empty());
    ASSERT_EQ(gSTGarbageCollector->table.count(object), 1u);
    EXPECT_EQ(gSTGarbageCollector->table.at(object), 1000);
    EXPECT_EQ(object->referenceCount, 0u);
}

TEST_F(collector, ReleaseOfOneOfTwoReferencesQueuesNothing)
{
    auto* const object = new noting(ended);
    object->Retain();
    object->Retain();
    object->Release();
    EXPECT_TRUE(gSTGarbageCollector->table.empty());
    delete object;
}

// KEPT[over-release]
TEST_F(collector, ReleaseBelowZeroWrapsAndQueuesNothing)
{
    auto* const object = new noting(ended);
    object->Release();
    EXPECT_EQ(object->referenceCount, 0xFFFFFFFFu);
    EXPECT_TRUE(gSTGarbageCollector->table.empty());
    EXPECT_TRUE(ended.empty());
    delete object;
}

// KEPT[gc-age-equal]
TEST_F(collector, FlushKeepsAnObjectExactlyAsOldAsTheTimeToLive)
{
    noting* const object = make_released();
    flush_at(1090);
    EXPECT_TRUE(ended.empty());
    EXPECT_EQ(gSTGarbageCollector->table.count(object), 1u);
    flush_at(1091);
    EXPECT_EQ(ended, std::vector<noting*>{object});
    EXPECT_TRUE(gSTGarbageCollector->table.empty());
}

// KEPT[gc-age-equal]
TEST_F(collector, FlushKeepsAnObjectOfThisSecondWithATimeToLiveOfZero)
{
    gSTGarbageCollector->SetObjectsTTL(0);
    make_released();
    flush_at(1000);
    EXPECT_TRUE(ended.empty());
    flush_at(1001);
    EXPECT_EQ(ended.size(), 1u);
}

TEST_F(collector, FlushDeletesAtOnceWithANegativeTimeToLive)
{
    gSTGarbageCollector->SetObjectsTTL(-1);
    make_released();
    flush_at(1000);
    EXPECT_EQ(ended.size(), 1u);
}

TEST_F(collector, FlushMeasuresAgesBeyondThirtyTwoBits)
{
    make_released();
    flush_at(1000 + (std::int64_t{1} << 32));
    EXPECT_EQ(ended.size(), 1u);
}

// KEPT[gc-retained-forgotten]
TEST_F(collector, FlushForgetsAnObjectThatWasRetainedAgain)
{
    noting* const object = make_released();
    object->Retain();
    flush_at(1091);
    EXPECT_TRUE(ended.empty());
    EXPECT_TRUE(gSTGarbageCollector->table.empty());
    EXPECT_EQ(object->referenceCount, 1u);

    set_server_time(2000);
    object->Release();
    EXPECT_EQ(gSTGarbageCollector->table.at(object), 2000);
    flush_at(2091);
    EXPECT_EQ(ended.size(), 1u);
}

TEST_F(collector, FlushLeavesARetainedObjectInTheTableUntilItsTimeComes)
{
    noting* const object = make_released();
    object->Retain();
    flush_at(1090);
    EXPECT_EQ(gSTGarbageCollector->table.count(object), 1u);
    flush_at(1091);
    object->Release();
}

// KEPT[gc-force]
TEST_F(collector, FlushWithForceDeletesEvenYoungAndRetainedObjects)
{
    noting* const retained = make_released();
    retained->Retain();
    noting* const young = make_released();
    flush_at(1000, true);
    EXPECT_EQ(std::set<noting*>(ended.begin(), ended.end()), (std::set<noting*>{retained, young}));
    EXPECT_TRUE(gSTGarbageCollector->table.empty());
}

TEST_F(collector, FlushDeletesInAddressOrder)
{
    for (int i = 0; i < 100; ++i)
        make_released();
    flush_at(1091);
    EXPECT_EQ(ended.size(), 100u);
    EXPECT_TRUE(std::is_sorted(ended.begin(), ended.end()));
}

TEST_F(collector, RecordsAnObjectOnceWithTheLaterTime)
{
    noting* const object = make_released();
    set_server_time(1050);
    object->Retain();
    object->Release();
    EXPECT_EQ(gSTGarbageCollector->table.size(), 1u);
    EXPECT_EQ(gSTGarbageCollector->table.at(object), 1050);
    flush_at(1091);
    EXPECT_TRUE(ended.empty());
    flush_at(1141);
    EXPECT_EQ(ended.size(), 1u);
}

TEST_F(collector, RecordsNullAndDropsItWhenItsTimeComes)
{
    gSTGarbageCollector->AddObjectToGC(nullptr);
    EXPECT_EQ(gSTGarbageCollector->table.count(nullptr), 1u);
    flush_at(1090);
    EXPECT_EQ(gSTGarbageCollector->table.count(nullptr), 1u);
    flush_at(1091);
    EXPECT_TRUE(gSTGarbageCollector->table.empty());
    gSTGarbageCollector->AddObjectToGC(nullptr);
    flush_at(1091, true);
    EXPECT_TRUE(gSTGarbageCollector->table.empty());
}

TEST_F(collector, AddObjectToGCDoesNotAskForTheCount)
{
    auto* const object = new noting(ended);
    object->Retain();
    gSTGarbageCollector->AddObjectToGC(object);
    EXPECT_EQ(gSTGarbageCollector->table.at(object), 1000);
    flush_at(1091);
    EXPECT_TRUE(ended.empty());
    object->Release();
}

TEST_F(collector, DestroyDeletesEveryObjectOfAnyAgeAndCount)
{
    make_released();
    make_released()->Retain();
    CKObjectGarbageCollector::DestroyUniqueClass();
    EXPECT_EQ(ended.size(), 2u);
    EXPECT_EQ(gSTGarbageCollector, nullptr);
}

TEST_F(collector, FlushLetsADestructorReleaseAThousandOthersWhichFollowLater)
{
    unsigned count = 0;
    make_releasing(count);
    flush_at(1091);
    EXPECT_EQ(count, 1u);
    EXPECT_EQ(gSTGarbageCollector->table.size(), kOthers);
    flush_at(1181);
    EXPECT_EQ(count, 1u) << "they were released at 1091";
    flush_at(1182);
    EXPECT_EQ(count, 1u + kOthers);
}

TEST_F(collector, FlushWithForceTakesWhatWasRecordedBeforeIt)
{
    unsigned count = 0;
    make_releasing(count);
    flush_at(1000, true);
    EXPECT_EQ(count, 1u);
    flush_at(1000, true);
    EXPECT_EQ(count, 1u + kOthers);
}

TEST_F(collector, DestroyDeletesWhatDestructorsReleaseToo)
{
    unsigned count = 0;
    make_releasing(count);
    CKObjectGarbageCollector::DestroyUniqueClass();
    EXPECT_EQ(count, 1u + kOthers);
}

TEST_F(collector, ADestructorMayFlush)
{
    struct flushing : CKObject
    {
        flushing() : CKObject(true) {}
        ~flushing() override { gSTGarbageCollector->FlushGC(true); }
    };
    auto* const object = new flushing;
    object->Retain();
    object->Release();
    make_released();
    flush_at(1091, true);
    EXPECT_EQ(ended.size(), 1u);
}

TEST_F(collector, ADyingObjectThatRetainsAndReleasesItselfIsNotRecordedAgain)
{
    struct touching : CKObject
    {
        explicit touching(unsigned& ended) : CKObject(true), ended_(ended) {}
        ~touching() override
        {
            ++ended_;
            Retain();
            CKObject::Release();
            gSTGarbageCollector->AddObjectToGC(this);
            EXPECT_EQ(gSTGarbageCollector->table.count(this), 0u);
        }
        unsigned& ended_;
    };
    for (const bool force : {false, true})
    {
        unsigned count = 0;
        auto* const object = new touching(count);
        object->Retain();
        object->Release();
        flush_at(gSTGarbageCollector->table.at(object) + 91, force);
        EXPECT_EQ(count, 1u);
        EXPECT_TRUE(gSTGarbageCollector->table.empty());
    }
}

TEST_F(collector, AnObjectDeletedDirectlyLeavesNoRecordForTheNextOneAtItsAddress)
{
    alignas(noting) std::array<std::byte, sizeof(noting)> room{};
    auto* const first = new (room.data()) noting(ended);
    first->Retain();
    first->Release();
    first->~noting();
    EXPECT_TRUE(gSTGarbageCollector->table.empty());

    auto* const second = new (room.data()) noting(ended);
    flush_at(1091, true);
    EXPECT_EQ(ended.size(), 1u) << "the second object was deleted for the first one's record";
    second->~noting();
}

TEST_F(collector, ACopyOfARecordedObjectIsNotRecorded)
{
    noting* const object = make_released();
    {
        const noting copy(*object);
        EXPECT_EQ(gSTGarbageCollector->table.size(), 1u);
    }
    EXPECT_EQ(gSTGarbageCollector->table.count(object), 1u);
}
