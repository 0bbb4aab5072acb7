#pragma once
/// The numeric text of an address: the host, and the zone that a link-local one carries behind a percent sign.

#include <cstddef>
#include <string>
#include <string_view>

namespace kf::socket
{

/// Room for any numeric host text and its terminator, which callers provide.
inline constexpr std::size_t kHostRoom = 1025;

struct host_parts
{
    std::string_view host;
    /// Empty when the text carries no zone.
    std::string_view scope;
};

/// Splits at the first percent sign.
///
///   "fe80::1%12"  =>  "fe80::1", "12"
///   "127.0.0.1"   =>  "127.0.0.1", ""
[[nodiscard]] host_parts split_zone(std::string_view text) noexcept;

/// Copies as much as fits, and a terminator.
///
/// @param room  bytes writable; at least 1.
void copy_bounded(char* to, std::size_t room, std::string_view from) noexcept;

/// Doubles every percent sign, so that the text can stand inside a format.
///
///   "fe80::1%12"  =>  "fe80::1%%12"
[[nodiscard]] std::string escape_percent(const std::string& host);

} // namespace kf::socket
