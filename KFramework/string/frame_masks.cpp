#include <map>
#include <string>
#include <utility>
#include <vector>

#include "KFramework/string.h"

namespace KFramework::KStringHelper
{
std::string EncodeFramesMasks(std::map<std::string, std::string> masks)
{
    std::size_t length = 0;
    for (const auto& [key, value] : masks)
        length += key.size() + value.size() + 2;

    std::string lines;
    lines.reserve(length);
    for (const auto& [key, value] : masks)
    {
        lines += key;
        lines += '\n';
        lines += value;
        lines += '\n';
    }
    return ToBase64(lines);
}

std::map<std::string, std::string> DecodeFramesMask(std::string bundle)
{
    std::map<std::string, std::string> masks;
    std::vector<std::string> lines = TokenizeString(FromBase64(bundle), "\n");
    // KEPT[first-mask-wins]: nothing is replaced. The hint makes the usual, ascending bundle linear.
    for (std::size_t i = 0; i + 1 < lines.size(); i += 2)
        masks.try_emplace(masks.end(), std::move(lines[i]), std::move(lines[i + 1]));
    return masks;
}
} // namespace KFramework::KStringHelper
