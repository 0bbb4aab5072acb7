#include "KFramework/config/edit.h"

#include "KFramework/config.h"
#include "KFramework/config/names.h"

#include <algorithm>

namespace
{
/// Puts a line in the place of every line of a key.
///
/// @return  false when there is none; the text is then unchanged.
bool replace_lines(std::string& text, kf::config::section_bounds bounds, std::string_view key,
                   std::string_view line)
{
    std::string edited;
    std::size_t copied = 0;
    for (std::size_t start = bounds.begin, next = 0; start < bounds.end; start = next)
    {
        // A last line needs no ending here.
        const std::size_t stop = std::min(text.find('\n', start), text.size());
        next = stop + 1;
        // KEPT[config-bare-name]: a line without "=" is all name.
        if (!kf::config::same_name(kf::config::name_of(std::string_view(text).substr(start, stop - start)),
                                   key))
            continue;
        // KEPT[config-all-lines]: it may not be the only one.
        edited.append(text, copied, start - copied).append(line);
        copied = stop;
    }
    if (copied == 0)
        return false;
    text = edited.append(text, copied);
    return true;
}
} // namespace

namespace kf::config
{
std::optional<section_bounds> find_section(std::string_view text, std::string_view section,
                                           std::size_t largest_text)
{
    if (text.size() > largest_text)
        return std::nullopt;
    std::optional<section_bounds> found;
    // What follows the last line feed is not examined.
    for (std::size_t start = 0, feed = 0; (feed = text.find('\n', start)) != std::string_view::npos;
         start = feed + 1)
    {
        const std::string_view line = without_leading_blanks(text.substr(start, feed - start));
        if (is_header_of(line, section))
        {
            found =
                section_bounds{feed + 1, text.size()}; // KEPT[config-last-header]: the same again moves it.
        }
        else if (found && line.starts_with('['))
        {
            found->end = start - 1;
            break;
        }
    }
    return found;
}

void replace_key(std::string& text, std::string_view section, std::string_view key, std::string_view value,
                 std::size_t largest_text)
{
    std::string line;
    const std::optional<section_bounds> bounds = find_section(text, section, largest_text);
    if (!bounds)
    {
        line.append("\n[").append(section).append("]\n\n");
        append_setting(line, key, value);
        text.append(line) += '\n';
        return;
    }
    append_setting(line, key, value);
    if (!replace_lines(text, *bounds, key, line))
        text.insert(bounds->end,
                    line += '\n'); // KEPT[config-glued]: behind whatever stands before that line feed.
}

void append_setting(std::string& to, std::string_view key, std::string_view value)
{
    to.append(key).append(" = ").append(value);
}
} // namespace kf::config

namespace KFramework
{
void GetConfigValuesectbound(const std::string& text, const std::string& section, long& begin, long& end)
{
    const auto bounds = kf::config::find_section(text, section);
    begin = bounds ? static_cast<long>(bounds->begin) : -1;
    end = bounds ? static_cast<long>(bounds->end) : -1;
}

void ConfigReplaceKey(std::string& text, const std::string& section, const std::string& key,
                      const std::string& value)
{
    kf::config::replace_key(text, section, key, value);
}
} // namespace KFramework
