#include "KFramework/logger/entry_text.h"

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace kf::logger
{
namespace
{
constexpr std::size_t kPrefixSize = sizeof "MM/DD/YYYY HH:MM:SS - [TAGX] [] " - 1;
constexpr std::size_t kEndingSize = 2;
} // namespace

std::string_view level_tag(int level) noexcept
{
    switch (level)
    {
    case 2:
        return "INFO";
    case 3:
        return "EXTD";
    case 4:
        return "DEBG";
    default:
        return "SEVR"; // KEPT[severe-tag]: 1 and every level that has no tag of its own.
    }
}

std::size_t expand_message(char* buffer, const char* format, std::va_list arguments) noexcept
{
    buffer[0] = '\0';
    const int wanted = std::vsnprintf(buffer, kMessageRoom, format, arguments);
    if (wanted < 0)
        buffer[0] = '\0';
    return std::min(static_cast<std::size_t>(std::max(wanted, 0)), kMessageRoom - 1);
}

entry_text::entry_text(const std::tm& when, int level, std::string_view module) : text_(stack_)
{
    // KEPT[message-limit]: the limit is the message's alone; prefix and module are not counted.
    const std::size_t room = kPrefixSize + module.size() + kMessageRoom + kEndingSize;
    if (room > sizeof stack_)
    {
        heap_.resize(room);
        text_ = heap_.data();
    }
    append_number(when.tm_mon + 1, 2); // KEPT[month-first]
    append("/");
    append_number(when.tm_mday, 2);
    append("/");
    append_number(when.tm_year + 1900, 4);
    append(" ");
    append_number(when.tm_hour, 2);
    append(":");
    append_number(when.tm_min, 2);
    append(":");
    append_number(when.tm_sec, 2);
    append(" - [");
    append(level_tag(level));
    append("] [");
    append(module);
    append("] ");
}

void entry_text::expand(const char* format, std::va_list arguments) noexcept
{
    size_ += expand_message(text_ + size_, format, arguments);
}

std::string entry_text::copy() const
{
    std::string line;
    line.reserve(size_ + kEndingSize);
    line.assign(text_, size_);
    return line;
}

void entry_text::append(std::string_view part) noexcept
{
    std::memcpy(text_ + size_, part.data(), part.size());
    size_ += part.size();
}

void entry_text::append_number(int value, std::size_t digits) noexcept
{
    for (std::size_t at = digits; at-- > 0; value /= 10)
        text_[size_ + at] = static_cast<char>('0' + value % 10);
    size_ += digits;
}
} // namespace kf::logger
