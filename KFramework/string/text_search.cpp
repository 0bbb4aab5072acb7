#include "KFramework/string/text_search.h"

namespace kf::string
{
text_search::text_search(std::string_view what) : what_(what), shorter_(what.size() + 1, 0)
{
    std::size_t matched = 0;
    for (std::size_t i = 1; i < what.size(); ++i)
    {
        while (matched > 0 && what[matched] != what[i])
            matched = shorter_[matched];
        if (what[matched] == what[i])
            ++matched;
        shorter_[i + 1] = matched;
    }
}

std::size_t text_search::find(std::string_view text, std::size_t position) const
{
    std::size_t matched = 0;
    while (position < text.size())
    {
        if (matched == 0)
        {
            position = text.find(what_.front(), position);
            if (position == std::string_view::npos)
                return position;
        }
        else
        {
            while (matched > 0 && what_[matched] != text[position])
                matched = shorter_[matched];
            if (what_[matched] != text[position])
                continue; // nothing matched: look for the first byte from here
        }
        ++position;
        if (++matched == what_.size())
            return position - matched;
    }
    return std::string_view::npos;
}
} // namespace kf::string
