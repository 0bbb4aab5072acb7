#pragma once
/// Texts in columns. Portable.

#include <string>
#include <vector>

namespace host_report
{
/// A text that can stand in one line: broken UTF-8 becomes U+FFFD, control characters become blanks.
std::string one_line(const std::string& text);

/// How many columns of a console a text of one_line takes: two for a wide character, none for an accent that goes
/// over the one before it.
int width(const std::string& line);

/// The first characters of a text of one_line, as many as these columns take.
std::string cut(const std::string& line, int columns);

enum class align
{
    left,
    right
};

struct column
{
    std::string heading;
    align side = align::left;
};

/// Rows under a line of headings, in columns as wide as their widest cell.
class table
{
public:
    explicit table(std::vector<column> columns);

    /// @param cells  one per column; those that are missing are empty, those beyond the last column are left out.
    void add(const std::vector<std::string>& cells);

    /// A line for each row, two blanks between columns and none at a line's end. A table whose headings are all
    /// empty begins with its first row.
    std::string text() const;

private:
    std::vector<column> columns_;
    std::vector<std::vector<std::string>> rows_; ///< headings first, each as long as columns_
};
} // namespace host_report
