#pragma once
/// When a log file was started, as its first line tells.

#include <cstddef>
#include <ctime>
#include <optional>
#include <string_view>

namespace kf::logger
{
/// How much of the file is looked at: the time stamp and the blank after it.
inline constexpr std::size_t kStartTextSize = 20;

/// Reads "MM/DD/YYYY HH:MM:SS" from the first bytes of a log file.
///
/// @param first_bytes  what the file begins with, in text mode.
/// @return  the six fields, everything else zero (the day of the week among it); nothing unless exactly
///          kStartTextSize bytes were given and all six fields were read.
[[nodiscard]] std::optional<std::tm> parse_start_time(std::string_view first_bytes);
} // namespace kf::logger
