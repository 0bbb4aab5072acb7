#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>

namespace kf::process
{
inline constexpr std::size_t kWakePacketBytes = 102;

/// What wakes a machine: six bytes of FF and its hardware address 16 times.
using wake_packet = std::array<unsigned char, kWakePacketBytes>;

/// @param mac  the address as text.
/// @return  none when not exactly 12 characters remain without ":" and "-".
std::optional<wake_packet> make_wake_packet(std::string mac);
} // namespace kf::process
