#pragma once

#include <cstdint>

namespace kf::process
{
/// The system's priority classes that have a level; affinity_priority_win.cpp compares them with its headers.
inline constexpr std::uint32_t kNormalClass = 0x20;
inline constexpr std::uint32_t kIdleClass = 0x40;
inline constexpr std::uint32_t kHighClass = 0x80;
inline constexpr std::uint32_t kRealTimeClass = 0x100;

/// The level of normal priority, and of every class without one.
inline constexpr int kNormalLevel = 2;

/// The class that a level sets.
std::uint32_t priority_class(int level) noexcept;

/// The level that a class is read back as.
int priority_level(std::uint32_t priority_class) noexcept;
} // namespace kf::process
