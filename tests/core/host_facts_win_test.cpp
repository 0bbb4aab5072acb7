#include <cmath>
#include <cpuid.h>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/library_copy_win.h"
#include "tests/support/winsock_session_win.h"

#include <iphlpapi.h>
#include <powrprof.h>

using namespace KFramework;
using kf::test::import_hook;

namespace
{

// --- a host of the test's own ------------------------------------------------

using processor_records = std::vector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION>;

processor_records records;
bool records_are_there;
bool records_are_given;
unsigned listings;

processor_records host(unsigned packages, unsigned cores_each, unsigned threads_each)
{
    processor_records list;
    SYSTEM_LOGICAL_PROCESSOR_INFORMATION record = {};
    for (unsigned core = 0; core < packages * cores_each; ++core)
    {
        record.Relationship = RelationProcessorCore;
        record.ProcessorMask = ((std::uint64_t{1} << threads_each) - 1) << (core * threads_each);
        list.push_back(record);
    }
    record.ProcessorMask = ~std::uint64_t{0};
    for (const auto relation : {RelationNumaNode, RelationCache, RelationGroup})
    {
        record.Relationship = relation;
        list.push_back(record);
    }
    record.Relationship = RelationProcessorPackage;
    list.insert(list.end(), packages, record);
    return list;
}

BOOL WINAPI list_records(SYSTEM_LOGICAL_PROCESSOR_INFORMATION* buffer, DWORD* bytes)
{
    ++listings;
    const auto needed = static_cast<DWORD>(records.size() * sizeof records[0]);
    if (buffer == nullptr || *bytes < needed)
    {
        *bytes = needed;
        ::SetLastError(ERROR_INSUFFICIENT_BUFFER);
        return FALSE;
    }
    if (!records_are_given)
        return FALSE;
    std::memcpy(buffer, records.data(), needed);
    *bytes = needed;
    return TRUE;
}

FARPROC WINAPI look_up(HMODULE module, LPCSTR name)
{
    if (std::strcmp(name, "GetLogicalProcessorInformation") != 0)
        return ::GetProcAddress(module, name);
    EXPECT_EQ(module, ::GetModuleHandleW(L"kernel32"));
    return records_are_there ? reinterpret_cast<FARPROC>(reinterpret_cast<void*>(&list_records)) : nullptr;
}

constexpr ULONG kPowerRecordBytes = 24;
ULONG first_megahertz;
NTSTATUS power_result;

NTSTATUS WINAPI give_power(POWER_INFORMATION_LEVEL level, PVOID input, ULONG input_bytes, PVOID output,
                           ULONG bytes)
{
    EXPECT_EQ(static_cast<int>(level), 11);
    EXPECT_EQ(input, nullptr);
    EXPECT_EQ(input_bytes, 0u);
    SYSTEM_INFO system = {};
    ::GetSystemInfo(&system);
    EXPECT_EQ(bytes, system.dwNumberOfProcessors * kPowerRecordBytes);
    auto* words = static_cast<ULONG*>(output);
    for (ULONG i = 0; i < bytes / kPowerRecordBytes; ++i, words += kPowerRecordBytes / sizeof(ULONG))
    {
        words[0] = i;
        words[1] = i == 0 ? first_megahertz : 9999; // the maximum
        words[2] = 1111;                            // the current one
    }
    return power_result;
}

/// This machine's brand text, read here.
std::string brand()
{
    char text[64] = {};
    for (unsigned leaf = 0; leaf < 3; ++leaf)
    {
        unsigned words[4];
        __cpuid(0x80000002 + leaf, words[0], words[1], words[2], words[3]);
        std::memcpy(text + leaf * 16, words, 16);
    }
    return text;
}

class processors : public testing::Test
{
protected:
    processors() : look_up_("GetProcAddress", &look_up), power_("CallNtPowerInformation", &give_power)
    {
        records = host(1, 4, 2);
        records_are_there = records_are_given = true;
        listings = 0;
        first_megahertz = 3400;
        power_result = 0;
    }

private:
    import_hook<FARPROC WINAPI(HMODULE, LPCSTR)> look_up_;
    import_hook<NTSTATUS WINAPI(POWER_INFORMATION_LEVEL, PVOID, ULONG, PVOID, ULONG)> power_;
};

// --- network adapters of the test's own --------------------------------------

ULONG adapters_result;
unsigned adapter_questions;
unsigned growing_answers;

/// Two adapters, the second with a longer address.
ULONG WINAPI give_two_adapters(PIP_ADAPTER_INFO info, PULONG bytes)
{
    ++adapter_questions;
    if (adapter_questions == 1)
    {
        EXPECT_EQ(*bytes, 704u);
    }
    if (adapters_result != ERROR_SUCCESS)
        return adapters_result;
    const ULONG needed =
        704 * (2 + (adapter_questions <= growing_answers ? adapter_questions : growing_answers));
    if (*bytes < needed || adapter_questions <= growing_answers)
    {
        *bytes = needed;
        return ERROR_BUFFER_OVERFLOW;
    }
    info[0] = {};
    info[1] = {};
    info[0].Next = &info[1];
    info[0].AddressLength = 6;
    info[1].AddressLength = 8;
    const unsigned char first[] = {0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E};
    const unsigned char second[] = {0xFF, 0xEE, 0xDD, 0x0C, 0x0B, 0x0A, 0x09, 0x08};
    std::memcpy(info[0].Address, first, sizeof first);
    std::memcpy(info[1].Address, second, sizeof second);
    return ERROR_SUCCESS;
}

class adapters : public testing::Test
{
protected:
    adapters() : hook_("GetAdaptersInfo", &give_two_adapters)
    {
        adapters_result = ERROR_SUCCESS;
        adapter_questions = 0;
        growing_answers = 0;
    }

private:
    import_hook<ULONG WINAPI(PIP_ADAPTER_INFO, PULONG)> hook_;
};

} // namespace

// KEPT[cores-per-package]
TEST_F(processors, TwoPackagesOfEightCoresWithTwoThreadsEach)
{
    records = host(2, 8, 2);
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetPhysicalCoresCount(), 8);
    EXPECT_EQ(GetPhysicalProcessorsCount(), 2);
    EXPECT_EQ(GetProcessorsThreadsCount(), 32);
}

TEST_F(processors, SpeedIsTheFirstOnesMaximumRoundedUpToTenths)
{
    first_megahertz = 3401;
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetPhysicalCoresSpeed(), 3.5F);
    first_megahertz = 3400;
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetPhysicalCoresSpeed(), 3.4F);
}

TEST_F(processors, SpeedComesFromTheBrandTextWhenTheSystemDoesNotTell)
{
    power_result = static_cast<NTSTATUS>(0xC0000001);
    InitializeLibrary(nullptr);
    const std::string text = brand();
    const auto mark = text.find('@');
    const double told = mark == std::string::npos ? 0.0 : std::atof(text.c_str() + mark + 1);
    EXPECT_EQ(GetPhysicalCoresSpeed(), static_cast<float>(std::ceil(told * 10.0) / 10.0));
}

TEST_F(processors, TypeIsThisMachinesBrandWithoutSpeedAndOuterBlanks)
{
    InitializeLibrary(nullptr);
    const std::string type = GetPhysicalCoresType();
    EXPECT_EQ(type.find('@'), std::string::npos);
    ASSERT_FALSE(type.empty());
    EXPECT_NE(type.front(), ' ');
    EXPECT_NE(type.back(), ' ');
    const std::string first_word = type.substr(0, type.find(' '));
    EXPECT_NE(brand().find(first_word), std::string::npos) << type;
}

TEST_F(processors, KeepTheirDefaultsWhereTheSystemHasNoList)
{
    records_are_there = false;
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetPhysicalCoresType(), "Unknown");
    EXPECT_EQ(GetPhysicalCoresCount(), 1);
    EXPECT_EQ(GetPhysicalProcessorsCount(), 1);
    EXPECT_EQ(GetProcessorsThreadsCount(), 1);
}

TEST_F(processors, KeepTheirDefaultsWhenTheListIsRefused)
{
    records_are_given = false;
    InitializeLibrary(nullptr);
    EXPECT_EQ(listings, 2u);
    EXPECT_EQ(GetPhysicalCoresType(), "Unknown");
    EXPECT_EQ(GetPhysicalCoresCount(), 1);
    EXPECT_EQ(GetProcessorsThreadsCount(), 1);
    EXPECT_EQ(listings, 2u) << "a known count was probed again";
}

TEST_F(processors, AreProbedAgainWhileACountIsZero)
{
    records = host(2, 8, 2);
    records.erase(records.begin(), records.begin() + 15); // one core for two packages
    InitializeLibrary(nullptr);
    EXPECT_EQ(listings, 2u);
    EXPECT_EQ(GetPhysicalCoresCount(), 0);
    EXPECT_EQ(listings, 4u);
    records = host(1, 4, 1);
    EXPECT_EQ(GetPhysicalProcessorsCount(), 2);
    EXPECT_EQ(listings, 4u);
    EXPECT_EQ(GetPhysicalCoresCount(), 4);
    EXPECT_EQ(GetPhysicalProcessorsCount(), 1);
}

TEST(ProcessorFacts, OfThisMachineArePlausible)
{
    InitializeLibrary(nullptr);
    EXPECT_GE(GetPhysicalCoresCount(), 1);
    EXPECT_GE(GetPhysicalProcessorsCount(), 1);
    SYSTEM_INFO system = {};
    ::GetSystemInfo(&system);
    EXPECT_EQ(GetProcessorsThreadsCount(), static_cast<int>(system.dwNumberOfProcessors));
    EXPECT_FLOAT_EQ(GetPhysicalCoresSpeed() * 10.0F, std::round(GetPhysicalCoresSpeed() * 10.0F));
}

// KEPT[mac-groups]
TEST_F(adapters, AreJoinedByOneBarWithNoneAtTheEnd)
{
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "001a2b3c4d5e|ffeedd0c0b0a");
    EXPECT_EQ(adapter_questions, 2u);
}

// KEPT[mac-argument]
TEST(GetHostMacAddresses, IgnoresItsArgument)
{
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(true), GetHostMacAddresses(false));
}

TEST_F(adapters, ThatAppearBetweenTwoQuestionsAreAskedForAgain)
{
    growing_answers = 3;
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "001a2b3c4d5e|ffeedd0c0b0a");
    EXPECT_EQ(adapter_questions, 4u);
}

TEST_F(adapters, ThatNeverSettleAreGivenUp)
{
    growing_answers = 1000000;
    kf::test::captured_output capture(kf::test::captured_output::stream::error);
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "");
    EXPECT_LT(adapter_questions, 100u);
    EXPECT_EQ(capture.text(), "Failed to call GetAdaptersInfo()\n");
}

TEST_F(adapters, ThatCannotBeReadLeaveNoTextAndALineOnStandardError)
{
    InitializeLibrary(nullptr);
    adapters_result = ERROR_NO_DATA;
    kf::test::captured_output capture(kf::test::captured_output::stream::error);
    InitializeLibrary(nullptr);
    EXPECT_EQ(GetHostMacAddresses(false), "");
    EXPECT_EQ(capture.text(), "Failed to call GetAdaptersInfo()\n");
}

TEST(GetHostMacAddresses, HoldsGroupsOfTwelveDigitsAndNoLineBreaks)
{
    InitializeLibrary(nullptr);
    EXPECT_TRUE(std::regex_match(GetHostMacAddresses(false), std::regex("([0-9a-f]{12}(\\|[0-9a-f]{12})*)?")))
        << GetHostMacAddresses(false);
}

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
