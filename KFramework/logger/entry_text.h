#pragma once
/// The text of one entry: "MM/DD/YYYY HH:MM:SS - [TAG] [module] message".

#include <cstdarg>
#include <cstddef>
#include <ctime>
#include <string>
#include <string_view>

namespace kf::logger
{
/// Room for the expanded message, terminator included; longer expansions are cut.
inline constexpr std::size_t kMessageRoom = 4096;

/// The tag written for a level.
[[nodiscard]] std::string_view level_tag(int level) noexcept;

/// Expands a format into a buffer by printf's rules and terminates it.
///
/// @param buffer  room for kMessageRoom bytes.
/// @return  length without the terminator, at most kMessageRoom - 1; 0 when the format cannot be expanded.
std::size_t expand_message(char* buffer, const char* format, std::va_list arguments) noexcept;

/// A line without its ending, with two writable bytes after it to put the ending into.
struct open_line
{
    char* text;
    std::size_t size;
};

/// Composes a line on the stack; only a very long module text makes it use the heap.
class entry_text
{
public:
    /// @param when    local calendar time of the entry.
    /// @param module  written as it is; any length.
    entry_text(const std::tm& when, int level, std::string_view module);
    entry_text(const entry_text&) = delete;
    entry_text& operator=(const entry_text&) = delete;

    /// Appends the message; called once.
    void expand(const char* format, std::va_list arguments) noexcept;

    [[nodiscard]] std::string_view view() const noexcept { return {text_, size_}; }
    [[nodiscard]] open_line open() noexcept { return {text_, size_}; }

    /// A copy with room for a line ending, so that appending one later costs no allocation.
    [[nodiscard]] std::string copy() const;

private:
    void append(std::string_view part) noexcept;
    void append_number(int value, std::size_t digits) noexcept;

    char stack_[4352];
    std::string heap_;
    char* text_;
    std::size_t size_ = 0;
};
} // namespace kf::logger
