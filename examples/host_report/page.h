#pragma once
/// A text as a page that replaces the one before it on a console. Portable.

#include <string>

namespace host_report
{
struct page
{
    std::string text; ///< lines of one width, "\n" between two and none at the end
    int lines = 0;
};

/// As much of a text as fits, with blanks behind what is there, so that nothing of an earlier page shows through.
///
/// @param text     lines of one_line, each with "\n" at its end.
/// @param columns  of the console, at least 1. Longer lines are cut.
/// @param rows     of the console, at least 1. Where there are more lines, the last one says how many are missing.
/// @param before   lines of the page that this one replaces.
page make_page(const std::string& text, int columns, int rows, int before);
} // namespace host_report
