#include "KFramework/string/byte_texts.h"

#include <cstring>

namespace kf::string
{
void byte_texts::append_to(std::string& result, std::string_view text) const
{
    std::size_t length = 0;
    for (const char c : text)
        length += entries_[static_cast<unsigned char>(c)].length;

    // Every entry is copied whole, in one move and without a decision; the next one goes over what is too much.
    const std::size_t start = result.size();
    result.resize(start + length + sizeof(entry));
    char* out = result.data() + start;
    for (const char c : text)
    {
        const entry& written = entries_[static_cast<unsigned char>(c)];
        std::memcpy(out, &written, sizeof written);
        out += written.length;
    }
    result.resize(start + length);
}
} // namespace kf::string
