#include "table.h"

#include <KFramework/string.h>

#include <algorithm>

namespace host_report
{
namespace
{
constexpr const char* kGap = "  ";

/// The lead byte of well-formed UTF-8 tells the length.
std::size_t bytes_of_character(const std::string& text, std::size_t at)
{
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = lead < 0x80 ? 1 : lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    return std::min(length, text.size() - at);
}

char32_t character(const std::string& text, std::size_t at)
{
    const std::size_t length = bytes_of_character(text, at);
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
    char32_t code = length == 1 ? byte(0) : byte(0) & (0xFFU >> (length + 1));
    for (std::size_t i = 1; i < length; ++i)
        code = code << 6 | (byte(i) & 0x3FU);
    return code;
}

struct range
{
    char32_t first, last;
};

template <std::size_t count>
bool is_in(char32_t code, const range (&ranges)[count])
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [=](const range& one) { return one.first <= code && code <= one.last; });
}

int columns_of(char32_t code)
{
    static constexpr range kOverTheOneBefore[] = {
        {0x300, 0x36F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};
    static constexpr range kWide[] = {{0x1100, 0x115F}, {0x2E80, 0xA4CF},   {0xAC00, 0xD7A3},
                                      {0xF900, 0xFAFF}, {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},
                                      {0xFFE0, 0xFFE6}, {0x1F300, 0x1FAFF}, {0x20000, 0x3FFFD}};
    return is_in(code, kOverTheOneBefore) ? 0 : is_in(code, kWide) ? 2 : 1;
}

bool is_control(char32_t code)
{
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

std::string padded(const std::string& cell, int columns, align side)
{
    const std::string blanks(static_cast<std::size_t>(columns - width(cell)), ' ');
    return side == align::left ? cell + blanks : blanks + cell;
}
} // namespace

std::string one_line(const std::string& text)
{
    const std::string whole = KFramework::KStringHelper::fixUtf8String(text);
    std::string line;
    for (std::size_t at = 0; at < whole.size(); at += bytes_of_character(whole, at))
    {
        if (is_control(character(whole, at)))
            line += ' ';
        else
            line.append(whole, at, bytes_of_character(whole, at));
    }
    return line;
}

int width(const std::string& line)
{
    int columns = 0;
    for (std::size_t at = 0; at < line.size(); at += bytes_of_character(line, at))
        columns += columns_of(character(line, at));
    return columns;
}

std::string cut(const std::string& line, int columns)
{
    std::size_t at = 0;
    while (at < line.size())
    {
        columns -= columns_of(character(line, at));
        if (columns < 0)
            break;
        at += bytes_of_character(line, at);
    }
    return line.substr(0, at);
}

table::table(std::vector<column> columns) : columns_(std::move(columns))
{
    std::vector<std::string> headings;
    for (const column& one : columns_)
        headings.push_back(one.heading);
    add(headings);
}

void table::add(const std::vector<std::string>& cells)
{
    std::vector<std::string> row;
    for (const std::string& cell : cells)
        row.push_back(one_line(cell));
    row.resize(columns_.size());
    rows_.push_back(std::move(row));
}

std::string table::text() const
{
    std::vector<int> widths(columns_.size(), 0);
    for (const auto& row : rows_)
        for (std::size_t i = 0; i < row.size(); ++i)
            widths[i] = std::max(widths[i], width(row[i]));
    std::string all;
    for (const auto& row : rows_)
    {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i)
            line += (i == 0 ? "" : kGap) + padded(row[i], widths[i], columns_[i].side);
        line.erase(line.find_last_not_of(' ') + 1);
        if (!line.empty() || &row != &rows_.front())
            all += line + "\n";
    }
    return all;
}
} // namespace host_report
