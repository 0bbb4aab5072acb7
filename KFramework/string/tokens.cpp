#include <algorithm>

#include "KFramework/string.h"
#include "KFramework/string/delimiters.h"

namespace
{
constexpr std::size_t kReservedTokens = 100;
} // namespace

namespace KFramework::KStringHelper
{
using kf::string::cut_at_delimiters;

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
