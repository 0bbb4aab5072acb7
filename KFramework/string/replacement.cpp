#include <algorithm>

#include "KFramework/string.h"
#include "KFramework/string/text_search.h"

namespace KFramework::KStringHelper
{
std::string Replace(const std::string& source, const std::string& what, const std::string& with,
                    bool caseSensitive)
{
    if (source.empty() || what.empty())
        return source;

    // Inserted text is never searched again, so the source alone decides where the occurrences are: it is
    // folded once, and the result is built from the pieces between them.
    const std::string folded_source = caseSensitive ? std::string() : ToLower(source);
    const std::string folded_what = caseSensitive ? std::string() : ToLower(what);
    const std::string& searched = caseSensitive ? source : folded_source;
    const kf::string::text_search search(caseSensitive ? what : folded_what);

    std::string result;
    std::size_t copied = 0;
    for (std::size_t found = search.find(searched, 0); found != std::string::npos;
         found = search.find(searched, copied))
    {
        result.append(source, copied, found - copied).append(with);
        copied = found + what.size();
    }
    return result.append(source, copied);
}

std::string ConformToOS(const std::string& path)
{
    std::string result = path;
    std::replace(result.begin(), result.end(), '/', '\\');
    return result;
}
} // namespace KFramework::KStringHelper
