#pragma once
/// Loads as bars. Portable.

#include <string>

namespace host_report
{
/// Cells between brackets, filled as far as the load goes, to the nearest cell.
///
/// @param percent  below 0 and no number count as 0, above 100 as 100: disks report more at times.
///
///   37.5, 20 cells  =>  [########............]
std::string bar(double percent, int cells);
} // namespace host_report
