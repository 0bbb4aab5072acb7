#pragma once

#include "KFramework/core/messages.h"

#include <cstdint>
#include <span>
#include <string>

namespace kf::core
{
enum class processor_relation
{
    core,
    numa_node,
    cache,
    package,
    other
};

/// One record of the system's processor list.
struct processor_record
{
    processor_relation relation = processor_relation::other;
    std::uint64_t mask = 0; ///< logical processors it covers
    std::uint8_t cache_level = 0;
};

struct processor_facts
{
    std::string cores_type = kUnknown;
    float cores_speed = 0.0F; ///< GHz, rounded up to tenths
    int cores = 1;            ///< per package
    int packages = 1;
    int threads = 1; ///< logical processors
    bool threads_differ = false;

    // Counted, not published.
    int numa_nodes = 0;
    int caches[3] = {}; ///< by level, 1 to 3
};

/// Counts the records into the facts; type and speed stay as they are.
void count_processors(std::span<const processor_record> records, processor_facts& facts);

/// The model name in a brand text: without the speed, single blanks for double.
///
///   "  Model  CPU @ 3.40GHz"  =>  "Model CPU"
std::string model_from_brand(const std::string& brand);

/// The speed in a brand text, rounded up to tenths; 0 without an "@".
///
///   "Model @ 3.41GHz"  =>  3.5
float speed_from_brand(const std::string& brand);

/// Megahertz to gigahertz, rounded up to tenths.
///
///   3401  =>  3.5        3400  =>  3.4
float speed_from_megahertz(std::uint32_t megahertz);
} // namespace kf::core
