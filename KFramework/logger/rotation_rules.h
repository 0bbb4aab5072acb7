#pragma once
/// When a log is rotated, and what the rotated file is called.

#include <cstdint>
#include <ctime>
#include <string>

namespace kf::logger
{
/// The modes that rotate; every other number never does.
enum rotation_mode : int
{
    kNoRotation = 0,
    kHourly = 1,
    kDaily = 2,
    kMonthly = 3
};

/// Whether a log that was started at one local time belongs to another period than the other.
[[nodiscard]] bool rotation_due(int mode, const std::tm& start, const std::tm& now) noexcept;

/// The period that ends, in the fields of its start; empty for a mode that never rotates.
[[nodiscard]] std::string rotation_suffix(int mode, const std::tm& start);

/// "folder\seconds.suffix.file".
///
/// @param seconds  server time, since 1970-01-01 UTC.
[[nodiscard]] std::string rotated_name(const std::string& folder, std::int64_t seconds,
                                       const std::string& suffix, const std::string& file);
} // namespace kf::logger
