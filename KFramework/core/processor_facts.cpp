#include "KFramework/core/processor_facts.h"

#include "KFramework/string.h"

#include <bit>
#include <cmath>
#include <cstdlib>

namespace kf::core
{
namespace
{
constexpr char kSpeedMark = '@';

// In double: 3.4F promoted to double is above 3.4 and would round up to 3.5.
float round_up_to_tenths(double gigahertz)
{
    return static_cast<float>(std::ceil(gigahertz * 10.0) / 10.0);
}
} // namespace

void count_processors(std::span<const processor_record> records, processor_facts& facts)
{
    int cores = 0;
    int packages = 0;
    int threads = 0;
    for (const processor_record& record : records)
    {
        switch (record.relation)
        {
        case processor_relation::core:
            ++cores;
            threads += std::popcount(record.mask);
            break;
        case processor_relation::package:
            ++packages;
            break;
        case processor_relation::numa_node:
            ++facts.numa_nodes;
            break;
        case processor_relation::cache:
            if (record.cache_level >= 1 && record.cache_level <= 3)
                ++facts.caches[record.cache_level - 1];
            break;
        case processor_relation::other:
            break;
        }
    }
    facts.threads = threads == 0 ? 1 : threads;
    facts.packages = packages == 0 ? 1 : packages;
    facts.cores = cores / facts.packages; // KEPT[cores-per-package]
    facts.threads_differ = facts.cores * facts.packages != facts.threads;
}

std::string model_from_brand(const std::string& brand)
{
    using namespace KFramework;
    std::string model = KStringHelper::Replace(brand.substr(0, brand.find(kSpeedMark)), "  ", " ", true);
    KStringHelper::TrimLeft(model, false);
    KStringHelper::TrimRight(model, false);
    return model;
}

float speed_from_brand(const std::string& brand)
{
    const auto mark = brand.find(kSpeedMark);
    return mark == std::string::npos ? 0.0F : round_up_to_tenths(std::atof(brand.c_str() + mark + 1));
}

float speed_from_megahertz(std::uint32_t megahertz)
{
    return round_up_to_tenths(megahertz / 1000.0);
}
} // namespace kf::core
