#pragma once
/// Figures as texts. Portable.

#include <cstdint>
#include <string>

namespace host_report
{
/// What stands for a figure that the library does not know.
inline constexpr const char* kNoFigure = "-";

/// Up to 1023 in bytes, from there on with one digit behind the point.
///
///   1023        =>  1023 B
///   1536        =>  1.5 KiB
///   1048575     =>  1.0 MiB
std::string bytes(std::uint64_t count);

/// With one digit behind the point; kNoFigure for what is no number.
///
///   12.345  =>  12.3%
std::string percent(double part);

/// A part of a whole in percent; 0 of nothing.
double share(std::uint64_t part, std::uint64_t whole);
} // namespace host_report
