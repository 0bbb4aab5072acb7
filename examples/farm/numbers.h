#pragma once
/// Numbers in texts that somebody else wrote.

#include <charconv>
#include <optional>
#include <string_view>

namespace farm
{
/// The number that the whole text is, or none when it is anything else or out of range.
inline std::optional<int> number_between(std::string_view text, int lowest, int highest)
{
    int value = 0;
    const char* const end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || stopped != end || value < lowest || value > highest)
        return std::nullopt;
    return value;
}
} // namespace farm
