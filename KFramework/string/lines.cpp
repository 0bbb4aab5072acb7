#include <cstring>

#include "KFramework/string.h"

namespace KFramework::KStringHelper
{
std::string GetLine(const char* text, int lineNumber)
{
    if (text == nullptr || lineNumber < 1)
        return {};
    for (int line = 1; line < lineNumber; ++line)
    {
        text = std::strchr(text, '\n');
        if (text == nullptr)
            return {};
        ++text;
    }
    return {text, std::strcspn(text, "\n")};
}

std::string GetLine(const std::string& text, int lineNumber)
{
    return GetLine(text.c_str(), lineNumber);
}
} // namespace KFramework::KStringHelper
