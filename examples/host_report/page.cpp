#include "page.h"

#include "table.h"

#include <algorithm>
#include <vector>

namespace host_report
{
namespace
{
std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (std::size_t end = text.find('\n'); end != std::string::npos; end = text.find('\n', begin))
    {
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}
} // namespace

page make_page(const std::string& text, int columns, int rows, int before)
{
    std::vector<std::string> lines = lines_of(text);
    const auto room = static_cast<std::size_t>(std::max(rows, 1));
    if (lines.size() > room)
    {
        const std::size_t missing = lines.size() - room + 1; // its own line goes, too
        lines.resize(room);
        lines.back() = "... " + std::to_string(missing) + " more lines";
    }
    lines.resize(std::max(lines.size(), std::min(room, static_cast<std::size_t>(std::max(before, 1)))));
    page made;
    made.lines = static_cast<int>(lines.size());
    for (const std::string& line : lines)
    {
        const std::string shown = cut(line, columns);
        made.text += made.text.empty() ? "" : "\n";
        made.text += shown + std::string(static_cast<std::size_t>(std::max(columns - width(shown), 0)), ' ');
    }
    return made;
}
} // namespace host_report
