#pragma once
/// Texts made from what the system says about the host.

#include <array>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>

namespace kf::core
{
using mac_address = std::array<std::uint8_t, 6>;

/// Twelve lower-case digits for each adapter, "|" between two.
///
///   {00 1a 2b 3c 4d 5e}, {ff ff ff ff ff ff}  =>  "001a2b3c4d5e|ffffffffffff"
std::string mac_text(std::span<const mac_address> addresses);

struct windows_release
{
    std::uint32_t major = 0;
    std::uint32_t minor = 0;
    std::uint32_t service_pack = 0;
    bool server = false;
};

/// The release's name; "Undefined" before Windows XP.
///
///   10.0, server       =>  "Windows Server 2016+ "
///   6.1 SP 1, server   =>  "Windows Server 2008 R3 "
std::string_view platform_name(const windows_release& release);

/// Four random numbers, the last one first, and the low half of the time, in
/// upper-case digits, at least four each.
///
///   {1, 2, 3, 0x7FFF}, 0x65A0B1C2  =>  "7FFF00030002000165A0B1C2"
std::string guid_text(const std::array<int, 4>& drawn, std::int64_t time);
} // namespace kf::core
