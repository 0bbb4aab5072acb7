#include "KFramework/config/reader.h"

#include "KFramework/config/names.h"

#include <algorithm>
#include <utility>

namespace
{
/// The bytes up to and with the first line feed, or as many as a piece may have.
///
/// @return  empty when neither has come yet.
std::string_view first_piece(std::string_view bytes, std::size_t room)
{
    const std::string_view window = bytes.substr(0, room);
    if (const std::size_t feed = window.find('\n'); feed != std::string_view::npos)
        return window.substr(0, feed + 1);
    return window.size() == room ? window : std::string_view();
}

void drop_first(std::string_view& text, char c)
{
    if (text.starts_with(c))
        text.remove_prefix(1);
}
} // namespace

namespace kf::config
{
reader::reader(entries& to) : entries_(to), hint_(to.end())
{
    enter_section(kNoSection);
}

bool reader::take(std::string_view bytes)
{
    if (!begun_.empty())
    {
        const std::string_view rest = first_piece(bytes, kPieceBytes - begun_.size());
        begun_.append(rest.empty() ? bytes : rest);
        if (rest.empty())
            return true;
        bytes.remove_prefix(rest.size());
        if (!take_piece(std::exchange(begun_, {})))
            return false;
    }
    // KEPT[config-long-line]: a longer line goes on in pieces of its own.
    for (auto piece = first_piece(bytes, kPieceBytes); !piece.empty();
         piece = first_piece(bytes, kPieceBytes))
    {
        if (!take_piece(piece))
            return false;
        bytes.remove_prefix(piece.size());
    }
    // KEPT[config-last-line]: without its ending the last line never gets further than this.
    begun_ = bytes;
    return true;
}

bool reader::take_piece(std::string_view piece)
{
    ++line_;
    std::string_view line = piece.substr(0, piece.find('\0'));
    drop_first(line, '\r');
    drop_first(line, '\n');
    line = without_leading_blanks(line); // KEPT[config-blanks]: a tab is part of the name.
    if (line.empty())
        return true;
    line.remove_suffix(1); // the line ending, or whatever is last in the piece
    if (line.empty() || line.front() == '#')
        return true;
    if (line.front() == '[')
    {
        const std::size_t end = line.find(']');
        if (end == std::string_view::npos)
            return false;
        enter_section(line.substr(1, end - 1));
        return true;
    }
    const std::size_t equals = line.find('=');
    // KEPT[config-trailing-blanks]: the value's own stay.
    if (equals != std::string_view::npos && equals != 0)
        add(without_trailing_blanks(line.substr(0, equals)), without_leading_blanks(line.substr(equals + 1)));
    return true;
}

void reader::enter_section(std::string_view name)
{
    prefix_.clear();
    append_lower(prefix_, name);
    prefix_ += kBetween;
}

void reader::add(std::string_view name, std::string_view value)
{
    std::string key;
    key.reserve(prefix_.size() + name.size());
    key = prefix_;
    append_lower(key, name);
    // KEPT[config-first-wins]: an entry that is there already stays.
    hint_ = std::next(entries_.try_emplace(hint_, std::move(key), value));
}
} // namespace kf::config
