#pragma once
/// Cutting a text at a set of delimiter bytes, as the tokenizers and the number lists do it.

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>

namespace kf::string
{
/// A set of bytes that is asked in constant time.
class byte_set
{
public:
    explicit byte_set(const std::string& bytes)
    {
        for (const char c : bytes)
            holds_[static_cast<unsigned char>(c)] = true;
    }

    bool holds(char c) const { return holds_[static_cast<unsigned char>(c)]; }

    /// The first byte of the set at or after a position, or the end of the text.
    std::size_t find_in(const std::string& text, std::size_t position) const
    {
        while (position < text.size() && !holds(text[position]))
            ++position;
        return position;
    }

private:
    std::array<bool, 256> holds_{};
};

/// Calls piece(start, end) for every text that a delimiter ends, and gives the start of the last one, which is
/// the end of the text at most. A piece may change the bytes of the text up to and including `end`.
template <class Piece>
std::size_t cut_at_delimiters(const std::string& text, const std::string& delimiters, Piece piece)
{
    const byte_set set(delimiters);
    std::size_t start = 0;
    for (std::size_t end = set.find_in(text, 0); end < text.size(); end = set.find_in(text, start))
    {
        piece(start, end);
        // KEPT[token-step]: past as many bytes as the set has, which may lie beyond the text.
        start = std::min(end + delimiters.size(), text.size());
    }
    return start;
}
} // namespace kf::string
