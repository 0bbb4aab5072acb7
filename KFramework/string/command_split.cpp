#include <utility>

#include "KFramework/string.h"

namespace KFramework::KStringHelper
{
bool SplitCommandLines(const std::string& commandLine, std::string& executable, std::string& arguments)
{
    bool quoted = false;
    std::size_t end = 0;
    for (; end < commandLine.size(); ++end)
    {
        const char c = commandLine[end];
        if ((c == '"' && quoted) || (c == ' ' && !quoted))
            break;
        if (c == '"')
            quoted = true;
    }
    if (end == 0)
        return false;

    // KEPT[split-first-byte]: with a quote anywhere in the word its first byte goes, quote or not.
    const std::size_t first = quoted ? 1 : 0;
    // The closing quote and the separator after it, or the separator alone.
    const std::size_t rest = end + first + 1;

    std::string word(commandLine, first, end - first);
    if (rest < commandLine.size())
        arguments = std::string(commandLine, rest);
    executable = std::move(word);
    return true;
}
} // namespace KFramework::KStringHelper
