#include "KFramework/string/text_blocks.h"

#include <algorithm>

namespace kf::string
{
std::string_view up_to_nul(std::string_view text)
{
    return text.substr(0, text.find('\0'));
}

void append_blocks(std::string& content, std::string_view bytes)
{
    while (!bytes.empty())
    {
        // KEPT[load-drops-after-nul]: what follows a NUL byte is lost up to the end of its block.
        content += up_to_nul(bytes.substr(0, kBlockBytes));
        bytes.remove_prefix(std::min(bytes.size(), kBlockBytes));
    }
}
} // namespace kf::string
