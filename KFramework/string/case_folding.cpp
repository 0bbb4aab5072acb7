#include "KFramework/string.h"

namespace
{
// Letters of the "C" locale only: bytes of UTF-8 sequences and of code pages pass unchanged.
char upper(char c)
{
    return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c;
}

char lower(char c)
{
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}
} // namespace

namespace KFramework::KStringHelper
{
std::string ToUpper(const std::string& text)
{
    std::string result = text;
    for (char& c : result)
        c = upper(c);
    return result;
}

std::string ToLower(const std::string& text)
{
    std::string result = text;
    for (char& c : result)
        c = lower(c);
    return result;
}
} // namespace KFramework::KStringHelper
