#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace kf::config
{
/// Stands between section and key in an entry's name.
inline constexpr char kBetween = '#';
/// KEPT[config-default-section]: the section of keys that stand before any header, also when they are saved.
inline constexpr std::string_view kNoSection = "_default_";

/// Letters of the "C" locale only, as in KStringHelper::ToLower.
constexpr char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

/// The two parts of an entry's name.
struct section_and_key
{
    std::string_view section;
    std::string_view key;
};

/// Cuts an entry's name at its first kBetween.
///
/// @return  nothing when there is none.
std::optional<section_and_key> split_name(std::string_view entry_name);

/// Whether two texts differ in nothing but the case of letters.
bool same_name(std::string_view a, std::string_view b);

/// Whether a line is the header of a section, or begins with it.
///
/// @param line  without the blanks in front.
bool is_header_of(std::string_view line, std::string_view section);

/// What stands before the first "=", or the whole line when it has none; without blanks around it.
std::string_view name_of(std::string_view line);

std::string_view without_leading_blanks(std::string_view text);
std::string_view without_trailing_blanks(std::string_view text);

/// A text in lower case, at the end of another.
void append_lower(std::string& to, std::string_view text);
} // namespace kf::config
