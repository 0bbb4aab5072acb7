#include <cmath>
#include <cpuid.h>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

#include <powrprof.h>

using namespace KFramework;
using kf::test::import_hook;

namespace
{

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
LONG power_result;

LONG WINAPI give_power(POWER_INFORMATION_LEVEL level, PVOID input, ULONG input_bytes, PVOID output,
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
    import_hook<LONG WINAPI(POWER_INFORMATION_LEVEL, PVOID, ULONG, PVOID, ULONG)> power_;
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
    power_result = static_cast<LONG>(0xC0000001);
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
