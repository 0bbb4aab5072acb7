#pragma once

namespace kf::config
{
/// Who reports.
inline constexpr char kModule[] = "KFramework";
/// The log level of both messages.
inline constexpr int kLevel = 1;
/// With the path.
inline constexpr char kCannotOpen[] = "Cannot open file %s to read configuration";
/// With the line's number and the path.
inline constexpr char kMalformed[] = "Malformed configuration at line %d in file %s";
} // namespace kf::config
