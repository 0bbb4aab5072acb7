#include "KFramework/config/names.h"

#include <algorithm>

namespace kf::config
{
std::optional<section_and_key> split_name(std::string_view entry_name)
{
    const std::size_t between = entry_name.find(kBetween);
    if (between == std::string_view::npos)
        return std::nullopt;
    return section_and_key{entry_name.substr(0, between), entry_name.substr(between + 1)};
}

bool same_name(std::string_view a, std::string_view b)
{
    return std::equal(a.begin(), a.end(), b.begin(), b.end(),
                      [](char one, char other) { return lower(one) == lower(other); });
}

bool is_header_of(std::string_view line, std::string_view section)
{
    return line.size() >= section.size() + 2 && line.front() == '[' && line[section.size() + 1] == ']' &&
           same_name(line.substr(1, section.size()), section);
}

std::string_view name_of(std::string_view line)
{
    return without_trailing_blanks(without_leading_blanks(line.substr(0, line.find('='))));
}

std::string_view without_leading_blanks(std::string_view text)
{
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text;
}

std::string_view without_trailing_blanks(std::string_view text)
{
    return text.substr(0, text.find_last_not_of(' ') + 1); // npos + 1 is 0: nothing but blanks
}

void append_lower(std::string& to, std::string_view text)
{
    const std::size_t start = to.size();
    to.append(text);
    std::transform(to.begin() + static_cast<std::ptrdiff_t>(start), to.end(),
                   to.begin() + static_cast<std::ptrdiff_t>(start), lower);
}
} // namespace kf::config
