#pragma once
/// How much memory a program holds; the platform's own counters do not tell everywhere. For children too, which
/// link no test library.

#include <cstddef>

#include "KFramework/platform/windows_win.h"

namespace kf::test
{

/// Everything private that this process has committed.
inline std::size_t private_bytes()
{
    std::size_t total = 0;
    MEMORY_BASIC_INFORMATION region;
    for (const char* address = nullptr; ::VirtualQuery(address, &region, sizeof region) != 0;
         address = static_cast<const char*>(region.BaseAddress) + region.RegionSize)
    {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE)
            total += region.RegionSize;
    }
    return total;
}

} // namespace kf::test
