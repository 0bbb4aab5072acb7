#include <algorithm>

#include "KFramework/string.h"

namespace
{
void remove_leading(std::string& s, char c)
{
    s.erase(0, std::min(s.find_first_not_of(c), s.size()));
}

void remove_trailing(std::string& s, char c)
{
    s.erase(s.find_last_not_of(c) + 1); // npos + 1 is 0: nothing but c
}
} // namespace

namespace KFramework::KStringHelper
{
void TrimLeft(std::string& s, bool alsoTabs)
{
    // KEPT[trim-order]: one pass each, spaces first.
    remove_leading(s, ' ');
    if (alsoTabs)
        remove_leading(s, '\t');
}

void TrimRight(std::string& s, bool alsoTabs)
{
    // KEPT[trim-order]
    remove_trailing(s, ' ');
    if (alsoTabs)
        remove_trailing(s, '\t');
}

void TrimCR(std::string& s)
{
    // KEPT[trim-cr-everywhere]: tabs too, and not only at the ends.
    std::erase_if(s, [](char c) { return c == '\n' || c == '\r' || c == '\t'; });
}

std::string TrimStringLength(const std::string& s, unsigned long long maxLength)
{
    if (maxLength >= s.size())
        return s;
    return s.substr(0, static_cast<std::size_t>(maxLength));
}
} // namespace KFramework::KStringHelper
