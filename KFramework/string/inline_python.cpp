#include "KFramework/string.h"

namespace KFramework::KStringHelper
{
std::vector<std::string> TokenizeInlinePython(const std::string& text)
{
    std::vector<std::string> pieces;
    const auto append = [&](std::size_t start, std::size_t end)
    {
        if (start < end)
            pieces.emplace_back(text, start, end - start);
    };

    std::size_t position = 0;
    for (;;)
    {
        const std::size_t open = text.find("<%", position);
        if (open == std::string::npos)
        {
            append(position, text.size());
            return pieces;
        }
        append(position, open);
        // KEPT[inline-shared-percent]: one percent sign opens and closes, so "<%>" is a block.
        const std::size_t close = text.find("%>", open + 1);
        if (close == std::string::npos)
        {
            // KEPT[inline-unclosed-twice]: the text before comes once more, the open block not at all.
            append(position, open);
            return pieces;
        }
        append(open, close + 2);
        position = close + 2;
    }
}
} // namespace KFramework::KStringHelper
