#pragma once
/// The owner of a query of performance counters; its counters go with it.

#include "KFramework/platform/last_error_win.h"
#include "KFramework/platform/unique_resource.h"
#include "KFramework/platform/windows_win.h"

#include <pdh.h>
#include <pdhmsg.h>

namespace kf::platform
{
/// Null means none.
struct query_traits
{
    using value_type = PDH_HQUERY;
    static PDH_HQUERY none() noexcept { return nullptr; }
    static bool valid(PDH_HQUERY query) noexcept { return query != nullptr; }
    static void close(PDH_HQUERY query) noexcept
    {
        const last_error_guard keep;
        ::PdhCloseQuery(query);
    }
};
using unique_query = unique_resource<query_traits>;
} // namespace kf::platform
