#include "KFramework/core/probes_win.h"
#include "KFramework/platform/windows_win.h"

#include <algorithm>
#include <array>
#include <cpuid.h>
#include <cstring>
#include <powrprof.h>
#include <vector>

namespace kf::core
{
namespace
{
constexpr unsigned kFirstBrandLeaf = 0x80000002;
constexpr unsigned kLastBrandLeaf = 0x80000004;
constexpr std::size_t kBrandRoom = 64;

using list_processors = BOOL(WINAPI*)(SYSTEM_LOGICAL_PROCESSOR_INFORMATION*, DWORD*);

/// What the system gives for the processor-information level; no SDK header declares it.
struct processor_power_information
{
    ULONG number;
    ULONG max_mhz;
    ULONG current_mhz;
    ULONG mhz_limit;
    ULONG max_idle_state;
    ULONG current_idle_state;
};

processor_record to_record(const SYSTEM_LOGICAL_PROCESSOR_INFORMATION& system)
{
    processor_record record;
    record.mask = system.ProcessorMask;
    switch (system.Relationship)
    {
    case RelationProcessorCore:
        record.relation = processor_relation::core;
        break;
    case RelationNumaNode:
        record.relation = processor_relation::numa_node;
        break;
    case RelationCache:
        record.relation = processor_relation::cache;
        record.cache_level = system.Cache.Level;
        break;
    case RelationProcessorPackage:
        record.relation = processor_relation::package;
        break;
    default:
        break;
    }
    return record;
}

/// No value when the system has no such list or does not give it.
std::optional<std::vector<processor_record>> read_records()
{
    const HMODULE kernel = ::GetModuleHandleW(L"kernel32");
    if (kernel == nullptr)
        return std::nullopt;
    const auto list = reinterpret_cast<list_processors>(
        reinterpret_cast<void*>(::GetProcAddress(kernel, "GetLogicalProcessorInformation")));
    if (list == nullptr)
        return std::nullopt;

    DWORD bytes = 0;
    list(nullptr, &bytes);
    std::vector<SYSTEM_LOGICAL_PROCESSOR_INFORMATION> buffer(
        bytes / sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION) + 1);
    if (!list(buffer.data(), &bytes))
        return std::nullopt;
    buffer.resize(std::min(buffer.size(), bytes / sizeof(SYSTEM_LOGICAL_PROCESSOR_INFORMATION)));

    std::vector<processor_record> records;
    std::ranges::transform(buffer, std::back_inserter(records), to_record);
    return records;
}

std::string read_brand()
{
    std::array<char, kBrandRoom> brand = {};
    if (__get_cpuid_max(0x80000000, nullptr) < kLastBrandLeaf)
        return {};
    for (unsigned leaf = kFirstBrandLeaf; leaf <= kLastBrandLeaf; ++leaf)
    {
        unsigned words[4];
        __cpuid(leaf, words[0], words[1], words[2], words[3]);
        std::memcpy(brand.data() + (leaf - kFirstBrandLeaf) * sizeof words, words, sizeof words);
    }
    return brand.data();
}

/// No value when the system does not tell.
std::optional<std::uint32_t> read_megahertz()
{
    SYSTEM_INFO system = {};
    ::GetSystemInfo(&system);
    std::vector<processor_power_information> records(std::max<DWORD>(system.dwNumberOfProcessors, 1));
    const auto bytes = static_cast<ULONG>(records.size() * sizeof(processor_power_information));
    if (::CallNtPowerInformation(ProcessorInformation, nullptr, 0, records.data(), bytes) != 0)
        return std::nullopt;
    return records.front().max_mhz; // the first processor's, whatever the others say
}
} // namespace

processor_facts probe_processors(float last_speed)
{
    processor_facts facts;
    facts.cores_speed = last_speed;
    const auto records = read_records();
    if (!records)
        return facts;
    count_processors(*records, facts);

    const std::string brand = read_brand();
    const std::optional<std::uint32_t> megahertz = read_megahertz();
    facts.cores_speed = megahertz ? speed_from_megahertz(*megahertz) : speed_from_brand(brand);
    facts.cores_type = model_from_brand(brand);
    return facts;
}
} // namespace kf::core
