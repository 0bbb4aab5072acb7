#include <algorithm>
#include <string_view>

#include "KFramework/string.h"

namespace
{
/// Takes the last piece out of a text in which each piece is followed by "/".
void remove_last_piece(std::string& joined)
{
    if (joined.empty())
        return;
    joined.pop_back();
    joined.erase(joined.rfind('/') + 1); // npos + 1 is 0: it was the only piece
}
} // namespace

namespace KFramework::KStringHelper
{
std::string WebSanityCheck(const std::string& path)
{
    std::string joined;
    joined.reserve(path.size() + 1);
    for (std::size_t start = 0; start < path.size();)
    {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string_view piece(path.data() + start, end - start);
        if (piece == "..")
            remove_last_piece(joined); // KEPT[web-path-loses-root]: the empty piece of a leading slash too
        else if (piece != ".")
            joined.append(piece) += '/';
        start = end + 1;
    }
    if (!joined.empty() && !path.ends_with('/'))
        joined.pop_back();
    return joined;
}
} // namespace KFramework::KStringHelper
