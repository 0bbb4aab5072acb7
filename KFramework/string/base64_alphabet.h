#pragma once

#include <array>
#include <cstddef>
#include <string_view>

namespace kf::string
{
inline constexpr std::string_view kBase64Alphabet =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline constexpr unsigned char kNoBase64Value = 0xFF;

/// For each byte its number in the alphabet, or kNoBase64Value.
inline constexpr std::array<unsigned char, 256> kBase64Values = []
{
    std::array<unsigned char, 256> values{};
    values.fill(kNoBase64Value);
    for (std::size_t i = 0; i < kBase64Alphabet.size(); ++i)
        values[static_cast<unsigned char>(kBase64Alphabet[i])] = static_cast<unsigned char>(i);
    return values;
}();
} // namespace kf::string
