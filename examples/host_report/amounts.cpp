#include "amounts.h"

#include <array>
#include <cmath>
#include <cstdio>

namespace host_report
{
namespace
{
constexpr std::array kUnits{"KiB", "MiB", "GiB", "TiB", "PiB", "EiB"};
constexpr double kStep = 1024;
constexpr double kRoundsToStep = 1023.95; // with one digit behind the point

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments)
{
    std::array<char, 400> text = {}; // room for the longest number of all
    std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}
} // namespace

std::string bytes(std::uint64_t count)
{
    double amount = static_cast<double>(count);
    if (amount < kStep)
        return std::to_string(count) + " B";
    amount /= kStep;
    std::size_t unit = 0;
    while (amount >= kRoundsToStep && unit + 1 < kUnits.size())
    {
        amount /= kStep;
        ++unit;
    }
    return formatted("%.1f %s", amount, kUnits[unit]);
}

std::string percent(double part)
{
    return std::isfinite(part) ? formatted("%.1f%%", part) : kNoFigure;
}

double share(std::uint64_t part, std::uint64_t whole)
{
    return whole == 0 ? 0.0 : 100.0 * static_cast<double>(part) / static_cast<double>(whole);
}
} // namespace host_report
