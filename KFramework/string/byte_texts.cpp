#include "KFramework/string/byte_texts.h"

#include <algorithm>
#include <cstring>

namespace kf::string
{
namespace
{
constexpr std::size_t kPieceBytes = 512;
}

void byte_texts::append_to(std::string& result, std::string_view text) const
{
    result.reserve(result.size() + text.size());
    char written[kPieceBytes * sizeof(entry)];
    while (!text.empty())
    {
        // Every entry is copied whole, in one move and without a decision; the next one goes over what is too much.
        char* out = written;
        for (const char c : text.substr(0, kPieceBytes))
        {
            const entry& next = entries_[static_cast<unsigned char>(c)];
            std::memcpy(out, &next, sizeof next);
            out += next.length;
        }
        result.append(written, out);
        text.remove_prefix(std::min(text.size(), kPieceBytes));
    }
}
} // namespace kf::string
