#include "KFramework/config/file_text.h"

#include <array>
#include <cstdio>

namespace kf::config
{
void remove_header_and_footer(std::string& text)
{
    if (const std::size_t footer = text.find(kFooter); footer != std::string::npos)
        text.erase(footer, kFooter.size());

    // KEPT[config-header-text]: wherever it stands first, in a comment of the user too.
    const std::size_t header = text.find(kHeaderStart);
    if (header == std::string::npos)
        return;
    std::size_t end = text.find('\n', header);
    if (end == std::string::npos)
    {
        text.erase(header);
        return;
    }
    ++end;
    // The empty line is the header's own only behind a line that is all header.
    const bool own_line = header == 0 || text[header - 1] == '\n';
    if (own_line && end < text.size() && text[end] == '\n')
        ++end;
    text.erase(header, end - header);
}

void add_header_and_footer(std::string& text, const std::tm& now)
{
    // KEPT[config-day-first]: day, month, year, unlike the log.
    std::array<char, 128> header{};
    const int length = std::snprintf(header.data(), header.size(), "%.*s %02d/%02d/%02d %02d:%02d ##\n\n",
                                     static_cast<int>(kHeaderStart.size()), kHeaderStart.data(), now.tm_mday,
                                     now.tm_mon + 1, now.tm_year + 1900, now.tm_hour, now.tm_min);
    text.insert(0, header.data(), static_cast<std::size_t>(length));
    text.append(kFooter);
}
} // namespace kf::config
