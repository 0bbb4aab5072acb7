#include "KFramework/process/priority_map.h"

namespace kf::process
{
// KEPT[priority-levels]: what has no place in the table is normal, both ways; do not refuse it or round it.
std::uint32_t priority_class(int level) noexcept
{
    switch (level)
    {
    case 1:
        return kIdleClass;
    case 3:
        return kHighClass;
    case 4:
        return kRealTimeClass;
    default:
        return kNormalClass;
    }
}

int priority_level(std::uint32_t priority_class) noexcept
{
    switch (priority_class)
    {
    case kIdleClass:
        return 1;
    case kHighClass:
        return 3;
    case kRealTimeClass:
        return 4;
    default:
        return kNormalLevel;
    }
}
} // namespace kf::process
