#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

namespace kf::config
{
/// A line is read in pieces of at most this many bytes, and each piece counts as a line.
inline constexpr std::size_t kPieceBytes = 2046;
/// As much of a file is asked for at once.
inline constexpr std::size_t kReadBytes = 64 * 1024;

/// Makes entries of a file's bytes, which come as text mode gives them, in portions of any size.
class reader
{
public:
    using entries = std::map<std::string, std::string>;

    /// @param to  receives the entries; one that it already has stays.
    explicit reader(entries& to);

    /// Takes the next bytes. What follows the last line ending waits for the rest of its line.
    ///
    /// @return  false when a malformed line was met: nothing behind it is wanted.
    [[nodiscard]] bool take(std::string_view bytes);

    /// The number of the line that was read last, from 1.
    [[nodiscard]] int line() const { return line_; }

private:
    bool take_piece(std::string_view piece);
    void enter_section(std::string_view name);
    void add(std::string_view name, std::string_view value);

    entries& entries_;
    entries::iterator hint_; ///< where the next entry belongs if the file is sorted
    std::string prefix_;     ///< the section and what follows it in an entry's name
    std::string begun_;      ///< a piece whose end has not come yet
    int line_ = 0;
};
} // namespace kf::config
