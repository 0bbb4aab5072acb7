#pragma once

#include <array>
#include <cstddef>
#include <string>
#include <string_view>

namespace kf::string
{
/// What to write for each byte: the byte itself, or a short text in its place.
class byte_texts
{
public:
    constexpr byte_texts()
    {
        for (std::size_t i = 0; i < entries_.size(); ++i)
            entries_[i] = {{static_cast<char>(i)}, 1};
    }

    /// @param text  at most 7 bytes.
    constexpr void set(unsigned char byte, std::string_view text)
    {
        entry& changed = entries_[byte];
        changed = {};
        for (const char c : text)
            changed.text[changed.length++] = c;
    }

    /// Appends what stands for the bytes of a text.
    void append_to(std::string& result, std::string_view text) const;

private:
    struct entry
    {
        char text[7];
        unsigned char length;
    };

    std::array<entry, 256> entries_{};
};
} // namespace kf::string
