#pragma once
/// Reading the system's file times.

#include <cstdint>

#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// In units of 100 ns: since 1601, UTC, for a date.
inline std::uint64_t units_of(const FILETIME& time) noexcept
{
    return std::uint64_t{time.dwHighDateTime} << 32 | time.dwLowDateTime;
}
} // namespace kf::platform
