#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <optional>
#include <string>
#include <string_view>

namespace kf::config
{
/// Offsets cross the border as 32-bit numbers: in a longer text no section is found.
inline constexpr std::size_t kLargestText = std::numeric_limits<std::int32_t>::max();

/// The lines of a section. With nothing between its header and the next one, end is begin - 1.
struct section_bounds
{
    std::size_t begin; ///< behind the header's line
    std::size_t end;   ///< the line feed before the next header, or the length of the text
};

std::optional<section_bounds> find_section(std::string_view text, std::string_view section,
                                           std::size_t largest_text = kLargestText);

/// What KFramework::ConfigReplaceKey does.
void replace_key(std::string& text, std::string_view section, std::string_view key, std::string_view value,
                 std::size_t largest_text = kLargestText);

/// "key = value", at the end of a text.
void append_setting(std::string& to, std::string_view key, std::string_view value);
} // namespace kf::config
