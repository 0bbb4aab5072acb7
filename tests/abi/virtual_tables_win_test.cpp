/// The virtual tables in the library itself, slot for slot: programs that are already built call through them and
/// derive from them.

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/object.h"
#include "KFramework/socket.h"
#include "tests/support/import_hook_win.h"

using KFramework::CKObject;
using KFramework::CKRefCountedObject;
using KFramework::KSocket::CKSocketStream;

namespace
{
using slots = std::vector<void*>;

constexpr char kObject[] = "N10KFramework8CKObject";
constexpr char kRefCountedObject[] = "N10KFramework18CKRefCountedObject";
constexpr char kSocketStream[] = "N10KFramework7KSocket14CKSocketStream";
constexpr char kCompleteDestructor[] = "D1Ev";
constexpr char kDeletingDestructor[] = "D0Ev";
constexpr char kRelease[] = "7ReleaseEv";

/// An exported name of the library; an unknown one fails the test.
void** exported(const std::string& mangled)
{
    auto* const found = reinterpret_cast<void**>(
        ::GetProcAddress(::GetModuleHandleA(kf::test::kLibraryName), mangled.c_str()));
    EXPECT_NE(found, nullptr) << mangled;
    return found;
}

void* member(const std::string& type, const char* name)
{
    return exported("_Z" + type + name);
}

/// A type's table as the library exports it: offset to the whole object, type description, then three functions.
slots table_of(const std::string& type)
{
    void** const table = exported("_ZTV" + type + "E");
    return table == nullptr ? slots() : slots(table, table + 5);
}

slots table(const std::string& type, void* release)
{
    return {nullptr, exported("_ZTI" + type + "E"), member(type, kCompleteDestructor),
            member(type, kDeletingDestructor), release};
}

/// Calls one of an object's virtual functions by its place.
template <class Result = void>
Result call(CKObject& object, int slot)
{
    void** const functions = *reinterpret_cast<void***>(&object);
    return reinterpret_cast<Result (*)(CKObject*)>(functions[slot])(&object);
}

/// Says when it ends, and has a virtual function of its own.
template <class Base>
struct derived : Base
{
    template <class... Arguments>
    explicit derived(int& end_count, Arguments... arguments) : Base(arguments...), ends(end_count)
    {
    }
    ~derived() override { ++ends; }
    virtual int own() { return 4711; }
    int& ends;
};
} // namespace

TEST(VirtualTable, OfCKObjectHoldsTheDestructorTwiceAndThenRelease)
{
    EXPECT_EQ(table_of(kObject), table(kObject, member(kObject, kRelease)));
}

TEST(VirtualTable, OfCKRefCountedObjectHoldsItsOwnDestructorAndRelease)
{
    EXPECT_EQ(table_of(kRefCountedObject), table(kRefCountedObject, member(kRefCountedObject, kRelease)));
    EXPECT_NE(member(kRefCountedObject, kRelease), member(kObject, kRelease));
}

TEST(VirtualTable, OfCKSocketStreamHoldsItsOwnDestructorAndTheReleaseOfCKObject)
{
    EXPECT_EQ(table_of(kSocketStream), table(kSocketStream, member(kObject, kRelease)));
}

TEST(VirtualTable, IsTheOneThatTheLibrarysObjectsHave)
{
    const auto first_slot = [](const CKObject& object) { return *reinterpret_cast<void* const*>(&object); };
    EXPECT_EQ(first_slot(CKObject(false)), exported(std::string("_ZTV") + kObject + "E") + 2);
    EXPECT_EQ(first_slot(CKRefCountedObject()), exported(std::string("_ZTV") + kRefCountedObject + "E") + 2);
    EXPECT_EQ(first_slot(CKSocketStream()), exported(std::string("_ZTV") + kSocketStream + "E") + 2);
}

TEST(VirtualTable, GivesADerivedClasssOwnFunctionsTheFourthPlace)
{
    int ends = 0;
    derived<CKObject> object(ends, true);
    derived<CKRefCountedObject> counted(ends);
    derived<CKSocketStream> stream(ends);
    EXPECT_EQ(call<int>(object, 3), 4711);
    EXPECT_EQ(call<int>(counted, 3), 4711);
    EXPECT_EQ(call<int>(stream, 3), 4711);
}

TEST(VirtualTable, HasReleaseInThePlaceThatEndsACountedObjectThroughItsDestructor)
{
    int ends = 0;
    auto* const object = new derived<CKRefCountedObject>(ends);
    object->Retain();
    call(*object, 2);
    EXPECT_EQ(object->referenceCount, 1u);
    EXPECT_EQ(ends, 0);
    call(*object, 2);
    EXPECT_EQ(ends, 1);
}
