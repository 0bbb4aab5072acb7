#include "config_text.h"

#include <KFramework/string.h>

#include <string_view>
#include <vector>

namespace farm
{
using namespace KFramework;

namespace
{
/// Bytes at which the library or the C runtime stops reading a text: NUL and Ctrl-Z.
constexpr std::string_view kEndsOfText("\0\x1A", 2);

std::string_view without_blanks(std::string_view line)
{
    const auto start = line.find_first_not_of(' ');
    return start == std::string_view::npos ? std::string_view() : line.substr(start);
}

bool is_header(std::string_view line)
{
    return without_blanks(line).starts_with('[');
}

std::vector<std::string> lines_of(const std::string& text)
{
    return KStringHelper::TokenizeString(text, "\n");
}
} // namespace

std::string unreadable_part(const std::string& text)
{
    if (text.find_first_of(kEndsOfText) != std::string::npos)
        return "is no text file";
    int number = 0;
    for (const std::string& line : lines_of(text))
    {
        ++number;
        if (is_header(line) && line.find(']') == std::string::npos)
            return "line " + std::to_string(number) + " has a [ without a ]";
    }
    return "";
}

std::string ready_for_additions(const std::string& text)
{
    const std::string line_end = text.find("\r\n") != std::string::npos ? "\r\n" : "\n";
    std::string ready;
    bool after_empty_line = true;
    for (const std::string& line : lines_of(text))
    {
        if (is_header(line) && !after_empty_line)
            ready += line_end;
        ready += line + "\n";
        after_empty_line = line.empty() || line == "\r";
    }
    if (!text.empty() && text.back() != '\n') // the loop has added a line feed
        ready.replace(ready.size() - 1, 1, line_end);
    return ready;
}

bool keeps_all_lines(const std::string& ready, const CKConfigManager& additions)
{
    const std::string before = KStringHelper::Replace(ready, "\r\n", "\n", true); // as text mode reads it
    std::string after = before;
    for (const auto& [name, value] : additions.entries)
    {
        const auto middle = name.find('#');
        ConfigReplaceKey(after, name.substr(0, middle), name.substr(middle + 1), value);
    }
    const std::vector<std::string> lines = lines_of(after);
    auto at = lines.begin();
    for (const std::string& line : lines_of(before))
    {
        while (at != lines.end() && *at != line)
            ++at;
        if (at == lines.end())
            return false;
        ++at;
    }
    return true;
}
} // namespace farm
