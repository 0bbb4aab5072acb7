#include "bars.h"

#include <algorithm>
#include <cmath>

namespace host_report
{
std::string bar(double percent, int cells)
{
    const double load = std::isnan(percent) ? 0.0 : std::clamp(percent, 0.0, 100.0);
    const auto all = static_cast<std::size_t>(std::max(cells, 0));
    const auto filled = static_cast<std::size_t>(std::lround(load / 100 * static_cast<double>(all)));
    return "[" + std::string(filled, '#') + std::string(all - filled, '.') + "]";
}
} // namespace host_report
