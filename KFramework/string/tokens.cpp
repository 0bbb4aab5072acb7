#include <algorithm>
#include <array>

#include "KFramework/string.h"

namespace
{
constexpr std::size_t kReservedTokens = 100;

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

/// Calls piece(start, end) for every text that a delimiter ends, and gives the start of the last one.
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
} // namespace

namespace KFramework::KStringHelper
{
std::vector<std::string> TokenizeString(const std::string& text, const std::string& delimiters)
{
    std::size_t count = 1;
    cut_at_delimiters(text, delimiters, [&](std::size_t, std::size_t) { ++count; });

    std::vector<std::string> tokens;
    tokens.reserve(std::max(kReservedTokens, count));
    const std::size_t last = cut_at_delimiters(text, delimiters,
                                               [&](std::size_t start, std::size_t end)
                                               { tokens.emplace_back(text, start, end - start); });
    if (last < text.size())
        tokens.emplace_back(text, last);
    return tokens;
}

std::vector<std::string> TokenizeStringNoStripe(const std::string& text, const std::string& delimiters)
{
    std::vector<std::string> tokens;
    const std::size_t last = cut_at_delimiters(text, delimiters,
                                               [&](std::size_t start, std::size_t end)
                                               { tokens.emplace_back(text, start, end - start); });
    tokens.emplace_back(text, last);
    return tokens;
}

std::vector<std::string> TokenizeStringWithEscape(const std::string& text, char separator)
{
    std::vector<std::string> tokens;
    bool escaped = false;
    std::size_t start = 0;
    for (std::size_t at = 0; at < text.size(); ++at)
    {
        if (text[at] == separator && !escaped)
        {
            tokens.emplace_back(text, start, at - start);
            start = at + 1;
        }
        escaped = text[at] == '\\' && !escaped;
    }
    // KEPT[escaped-last-piece]: a text that ends in the separator, escaped or not, has no piece after its
    // last cut.
    if (!text.empty() && text.back() != separator)
        tokens.emplace_back(text, start);
    if (tokens.empty())
        tokens.push_back(text);
    return tokens;
}
} // namespace KFramework::KStringHelper
