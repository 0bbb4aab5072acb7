#pragma once
/// Base64 the slow way, one rule after the other: what every faster way is compared with.

#include <cstddef>
#include <string>
#include <string_view>

namespace kf::test
{
inline constexpr std::string_view kBase64Letters =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

inline std::string reference_base64(std::string_view bytes)
{
    std::string text;
    for (std::size_t i = 0; i < bytes.size(); i += 3)
    {
        unsigned bits = 0;
        for (std::size_t j = i; j < i + 3; ++j)
            bits = bits * 256 + (j < bytes.size() ? static_cast<unsigned char>(bytes[j]) : 0u);
        for (std::size_t j = 0; j < 4; ++j)
            text += i + j > bytes.size() ? '=' : kBase64Letters[bits >> (18 - 6 * j) & 63];
    }
    return text;
}

struct reference_decoding
{
    std::string bytes; ///< all of them, whatever room there is
    bool whole;
};

inline reference_decoding reference_unbase64(std::string_view text)
{
    const auto in_alphabet = [](char c) { return kBase64Letters.find(c) != std::string_view::npos; };
    const auto number = [](char c) { return static_cast<unsigned>(kBase64Letters.find(c)); };
    std::string bytes;
    while (text.size() >= 2 && in_alphabet(text[0]) && in_alphabet(text[1]))
    {
        bytes += static_cast<char>(number(text[0]) * 4 + number(text[1]) / 16);
        if (text.size() == 2)
            break;
        if (text[2] == '=')
        {
            if (text.size() != 4 || text[3] != '=')
                break;
        }
        else
        {
            if (!in_alphabet(text[2]))
                break;
            bytes += static_cast<char>(number(text[1]) * 16 + number(text[2]) / 4);
            if (text.size() == 3)
                break;
            if (text[3] == '=')
            {
                if (text.size() != 4)
                    break;
            }
            else
            {
                if (!in_alphabet(text[3]))
                    break;
                bytes += static_cast<char>(number(text[2]) * 64 + number(text[3]));
            }
        }
        text.remove_prefix(4);
    }
    return {bytes, text.empty()};
}
} // namespace kf::test
