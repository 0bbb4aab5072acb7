#pragma once
/// What kill_in_rotation logs, as the test that starts it knows it.

#include "tests/children/killed_log.h"

namespace kf::test
{
inline constexpr long long kHourSeconds = 3600;
inline constexpr long long kKilledRotationStart = 1709547300; ///< 2024-03-04 10:15:00 UTC, a Monday
inline constexpr int kLinesBeforeRotation = 12;

/// Long enough that the log is compressed in several reads and writes.
inline std::string killed_rotation_message(int line)
{
    return killed_message(line, 3000);
}
} // namespace kf::test
