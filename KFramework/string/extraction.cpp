#include <utility>

#include "KFramework/string.h"

namespace
{
/// What a backslash and this byte stand for.
char escaped(char c)
{
    switch (c)
    {
    case 'n':
        return '\n';
    case 't':
        return '\t';
    default:
        return c;
    }
}

/// The first character is the one that counts; an empty or missing text is its terminator.
char first_of(const char* text)
{
    return text == nullptr ? '\0' : *text;
}
} // namespace

namespace KFramework::KStringHelper
{
bool ExtractToken(std::string& source, std::string& token, const char* delimiter)
{
    if (source.empty())
        return false;
    const std::size_t found = delimiter == nullptr ? std::string::npos : source.find(delimiter);
    if (found == std::string::npos)
    {
        token = std::exchange(source, {});
        return true;
    }
    std::string text(source, 0, found);
    // KEPT[extract-skips-one-byte]: of a longer delimiter the rest stays in the source.
    source.erase(0, found + 1);
    token = std::move(text);
    return true;
}

bool ExtractToken(std::string& source, std::string& token, const char* delimiter, const char* quote,
                  bool stripQuotes)
{
    if (source.empty())
        return false;
    const char delimiter_byte = first_of(delimiter);
    const char quote_byte = first_of(quote);

    std::string text;
    bool quoted = false;
    std::size_t at = 0;
    for (; at < source.size(); ++at)
    {
        const char c = source[at];
        if (c == delimiter_byte && !quoted)
            break;
        if (c == '\\' && at + 1 < source.size())
            text += escaped(source[++at]);
        else if (c == quote_byte)
        {
            quoted = !quoted;
            if (!stripQuotes)
                text += c;
        }
        else
            text += c;
    }
    if (quoted)
        return false; // nothing has been changed

    source.erase(0, at + 1); // with the delimiter, when the walk ended on one
    token = std::move(text);
    return true;
}
} // namespace KFramework::KStringHelper
