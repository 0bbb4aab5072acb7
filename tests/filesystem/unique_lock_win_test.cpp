#include <string>
#include <thread>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "tests/filesystem/lock_holder_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

using kf::filesystem::test::lock_holder;
using kf::platform::unique_handle;
using kf::test::import_hook;
using KFramework::CreateUniqueLock;
using KFramework::DeleteUniqueLock;

namespace
{
/// A name that no other test, run or user has.
std::string own_name(const char* test)
{
    return "kframework-test-" + std::to_string(::GetCurrentProcessId()) + "-" + test;
}

struct mutex_request
{
    bool default_security = false;
    BOOL owned = FALSE;
    std::wstring name;
} asked;

int object;

/// Gives an object and leaves the last error alone, as a platform may.
HANDLE WINAPI note_mutex(SECURITY_ATTRIBUTES* security, BOOL owned, const wchar_t* name)
{
    asked = {security == nullptr, owned, name};
    return &object;
}

HANDLE WINAPI refuse_mutex(SECURITY_ATTRIBUTES* /*security*/, BOOL /*owned*/, const wchar_t* /*name*/)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return nullptr;
}

/// As for a name that exists, with another code.
HANDLE WINAPI note_mutex_with_error(SECURITY_ATTRIBUTES* /*security*/, BOOL /*owned*/,
                                    const wchar_t* /*name*/)
{
    ::SetLastError(ERROR_INVALID_DATA);
    return &object;
}

OSVERSIONINFOEXW version_asked;
DWORD version_kinds = 0;
DWORDLONG version_comparison = 0;

BOOL WINAPI older_version(OSVERSIONINFOEXW* wanted, DWORD kinds, DWORDLONG comparison)
{
    version_asked = *wanted;
    version_kinds = kinds;
    version_comparison = comparison;
    return FALSE;
}

/// Whether a unique lock's mutex exists, anybody's.
bool is_taken(const std::string& name)
{
    const std::string full_name = "Global\\" + name;
    return static_cast<bool>(unique_handle(
        ::OpenMutexW(SYNCHRONIZE, FALSE, std::wstring(full_name.begin(), full_name.end()).c_str())));
}
} // namespace

TEST(CreateUniqueLock, AsksForAnOwnedMutexThatAllSessionsSee)
{
    const import_hook hook("CreateMutexW", &note_mutex);
    EXPECT_EQ(CreateUniqueLock("farm \xC3\xA4"), &object);
    EXPECT_TRUE(asked.default_security);
    EXPECT_EQ(asked.owned, TRUE);
    EXPECT_EQ(asked.name, L"Global\\farm \u00e4");
}

TEST(CreateUniqueLock, LeavesOutTheSessionPrefixBeforeVersionFive)
{
    const import_hook version("VerifyVersionInfoW", &older_version);
    const import_hook mutex("CreateMutexW", &note_mutex);
    EXPECT_EQ(CreateUniqueLock("farm"), &object);
    EXPECT_EQ(asked.name, L"farm");
    EXPECT_EQ(version_asked.dwMajorVersion, 5u);
    EXPECT_EQ(version_asked.dwMinorVersion, 0u);
    EXPECT_EQ(version_asked.wServicePackMajor, 0u);
    EXPECT_EQ(version_kinds, DWORD{VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR});
    DWORDLONG at_least = 0;
    for (const DWORD kind : {VER_MAJORVERSION, VER_MINORVERSION, VER_SERVICEPACKMAJOR})
        at_least = ::VerSetConditionMask(at_least, kind, VER_GREATER_EQUAL);
    EXPECT_EQ(version_comparison, at_least);
}

TEST(CreateUniqueLock, DoesNotTakeAnOlderErrorForItsOwn)
{
    const import_hook hook("CreateMutexW", &note_mutex);
    ::SetLastError(ERROR_ALREADY_EXISTS);
    EXPECT_EQ(CreateUniqueLock("farm"), &object);
}

TEST(CreateUniqueLock, IsNullForAHandleThatComesWithAnyError)
{
    const import_hook hook("CreateMutexW", &note_mutex_with_error);
    EXPECT_EQ(CreateUniqueLock("farm"), nullptr);
}

TEST(CreateUniqueLock, IsNullWhenThePlatformRefusesOrThereIsNoName)
{
    const import_hook hook("CreateMutexW", &refuse_mutex);
    EXPECT_EQ(CreateUniqueLock("farm"), nullptr);
    EXPECT_EQ(CreateUniqueLock(nullptr), nullptr);
}

TEST(CreateUniqueLock, LetsOneOfTwoProcessesHaveTheName)
{
    const std::string name = own_name("two");
    void* const lock = CreateUniqueLock(name.c_str());
    ASSERT_NE(lock, nullptr);
    {
        lock_holder other(name);
        EXPECT_EQ(other.says(), "refused");
        other.give_back(); // of null
        EXPECT_EQ(other.says(), "nothing to return");
        other.leave();
    }
    EXPECT_TRUE(DeleteUniqueLock(lock, name.c_str()));

    lock_holder next(name);
    EXPECT_EQ(next.says(), "held");
    lock_holder last(name);
    EXPECT_EQ(last.says(), "refused");
    last.leave(); // and with it goes the object it was left sharing
    next.give_back();
    EXPECT_EQ(next.says(), "returned");
    void* const again = CreateUniqueLock(name.c_str()); // while next still runs
    EXPECT_NE(again, nullptr);
    EXPECT_TRUE(DeleteUniqueLock(again, name.c_str()));
}

TEST(CreateUniqueLock, GetsTheNameOfAHolderThatWasKilled)
{
    const std::string name = own_name("killed");
    lock_holder holder(name);
    ASSERT_EQ(holder.says(), "held");
    EXPECT_TRUE(is_taken(name));
    holder.kill();
    // Not by trying to lock: one refusal would keep the name taken for good.
    EXPECT_TRUE(kf::test::wait_until([&] { return !is_taken(name); }));
    void* const lock = CreateUniqueLock(name.c_str());
    EXPECT_NE(lock, nullptr);
    EXPECT_TRUE(DeleteUniqueLock(lock, name.c_str()));
}

// KEPT[second-lock-stays-open]
TEST(CreateUniqueLock, KeepsSharingTheLockThatItWasRefused)
{
    const std::string name = own_name("shared");
    void* const lock = CreateUniqueLock(name.c_str());
    ASSERT_NE(lock, nullptr);
    const std::size_t before = kf::test::handle_count();
    EXPECT_EQ(CreateUniqueLock(name.c_str()), nullptr); // the holder itself is refused too
    EXPECT_EQ(kf::test::handle_count(), before + 1);
    EXPECT_TRUE(DeleteUniqueLock(lock, name.c_str()));

    lock_holder other(name); // our leftover handle keeps the name
    EXPECT_EQ(other.says(), "refused");
}

// KEPT[lock-is-abandoned]
TEST(DeleteUniqueLock, ClosesTheHandleWithoutReleasingTheMutex)
{
    const std::string name = own_name("abandoned");
    void* const lock = CreateUniqueLock(name.c_str());
    ASSERT_NE(lock, nullptr);
    const std::string full_name = "Global\\" + name;
    const unique_handle mutex(
        ::OpenMutexW(SYNCHRONIZE, FALSE, std::wstring(full_name.begin(), full_name.end()).c_str()));
    ASSERT_TRUE(mutex);
    EXPECT_TRUE(DeleteUniqueLock(lock, "another name"));
    DWORD flags = 0;
    EXPECT_FALSE(::GetHandleInformation(lock, &flags));

    DWORD answer = WAIT_FAILED;
    std::thread([&] { answer = ::WaitForSingleObject(mutex.get(), 0); }).join();
    EXPECT_EQ(answer, DWORD{WAIT_TIMEOUT}); // still this thread's
}

TEST(DeleteUniqueLock, IsFalseForNull)
{
    EXPECT_FALSE(DeleteUniqueLock(nullptr, "farm"));
    EXPECT_FALSE(DeleteUniqueLock(nullptr, nullptr));
}
