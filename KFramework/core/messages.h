#pragma once
/// The exact texts that this family writes to standard error or gives out.

namespace kf::core
{
inline constexpr char kAdaptersInfoFailed[] = "Failed to call GetAdaptersInfo()\n";

/// What a fact is called while nothing better is known.
inline constexpr char kUnknown[] = "Unknown";
inline constexpr char kUndefined[] = "Undefined";
} // namespace kf::core
