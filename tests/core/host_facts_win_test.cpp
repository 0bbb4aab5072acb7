#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/library_copy_win.h"
#include "tests/support/winsock_session_win.h"

using namespace KFramework;
using kf::test::import_hook;

// --- host name ---------------------------------------------------------------

namespace
{

int WSAAPI refuse_host_name(char*, int)
{
    return SOCKET_ERROR;
}

int WSAAPI note_room(char* name, int room)
{
    EXPECT_EQ(room, 255);
    std::memset(name, 'h', static_cast<std::size_t>(room)); // no terminator
    return 0;
}

} // namespace

TEST(GetHostName, GivesWhatWindowsSocketsGives)
{
    const kf::test::winsock_session session;
    char expected[255] = {};
    ASSERT_EQ(::gethostname(expected, sizeof expected), 0);
    std::string name = "before";
    EXPECT_TRUE(GetHostName(name));
    EXPECT_EQ(name, expected);
}

TEST(GetHostName, LeavesTheNameUntouchedOnFailure)
{
    const import_hook hook("gethostname", &refuse_host_name);
    std::string name = "before";
    EXPECT_FALSE(GetHostName(name));
    EXPECT_EQ(name, "before");
}

TEST(GetHostName, EndsInsideItsBuffer)
{
    const import_hook hook("gethostname", &note_room);
    std::string name;
    EXPECT_TRUE(GetHostName(name));
    EXPECT_EQ(name, std::string(254, 'h'));
}

// --- platform ----------------------------------------------------------------

namespace
{

OSVERSIONINFOEXW running;
LONG version_result;
unsigned version_questions;

LONG WINAPI give_version(OSVERSIONINFOEXW* information)
{
    ++version_questions;
    EXPECT_EQ(information->dwOSVersionInfoSize, sizeof(OSVERSIONINFOEXW));
    if (version_result == 0)
        *information = running;
    return version_result;
}

/// The platform text of a library that has not been asked before, asked twice.
std::string platform_of(DWORD major, DWORD minor, WORD service_pack, BYTE product, LONG result = 0)
{
    running = {};
    running.dwMajorVersion = major;
    running.dwMinorVersion = minor;
    running.wServicePackMajor = service_pack;
    running.wProductType = product;
    version_result = result;
    version_questions = 0;
    const kf::test::library_copy copy;
    const import_hook hook(copy.name(), "RtlGetVersion", &give_version);
    auto* const get = copy.function<std::string()>("_ZN10KFramework24GetRunningPlatformStringB5cxx11Ev");
    const std::string first = get();
    EXPECT_EQ(get(), first);
    EXPECT_EQ(version_questions, 1u);
    return first;
}

} // namespace

// KEPT[platform-names]
TEST(GetRunningPlatformString, IsDecidedByTheTrueVersionAndProduct)
{
    EXPECT_EQ(platform_of(10, 0, 0, VER_NT_SERVER), "Windows Server 2016+ ");
    EXPECT_EQ(platform_of(10, 0, 0, VER_NT_DOMAIN_CONTROLLER), "Windows Server 2016+ ");
    EXPECT_EQ(platform_of(10, 0, 0, VER_NT_WORKSTATION), "Windows 10+ ");
    EXPECT_EQ(platform_of(6, 1, 1, VER_NT_SERVER), "Windows Server 2008 R3 ");
    EXPECT_EQ(platform_of(6, 1, 0, VER_NT_WORKSTATION), "Windows 7 ");
}

TEST(GetRunningPlatformString, IsUndefinedForOldAndUnknownReleases)
{
    EXPECT_EQ(platform_of(5, 0, 4, VER_NT_WORKSTATION), "Undefined");
    EXPECT_EQ(platform_of(10, 0, 0, VER_NT_WORKSTATION, static_cast<LONG>(0xC0000001)), "Undefined");
}

TEST(GetRunningPlatformString, IsKnownHere)
{
    const std::string name = GetRunningPlatformString();
    EXPECT_EQ(name.rfind("Windows ", 0), 0u) << name;
    EXPECT_EQ(name.back(), ' ');
    EXPECT_EQ(GetRunningPlatformString(), name);
}

TEST(GetRunningPlatformOS, IsOne)
{
    EXPECT_EQ(GetRunningPlatformOS(), 1);
}

// --- identifiers ---------------------------------------------------------------

namespace
{

__time64_t give_long_time(__time64_t*)
{
    return 0x365A0B1C2;
}

} // namespace

// KEPT[guid-order]
TEST(GenerateUniqueGUID, PrintsFourDrawsBackwardsAndTheLowHalfOfTheTime)
{
    const import_hook hook("_time64", &give_long_time);
    std::srand(7);
    int drawn[4];
    for (int& number : drawn)
        number = std::rand();
    char expected[50];
    std::snprintf(expected, sizeof expected, "%04X%04X%04X%04X65A0B1C2", static_cast<unsigned>(drawn[3]),
                  static_cast<unsigned>(drawn[2]), static_cast<unsigned>(drawn[1]),
                  static_cast<unsigned>(drawn[0]));
    std::srand(7);
    EXPECT_EQ(GenerateUniqueGUID(), expected);
    EXPECT_NE(GenerateUniqueGUID(), expected);
    std::srand(7);
    EXPECT_EQ(GenerateUniqueGUID(), expected) << "the same state in the same second gives the same text";
}
