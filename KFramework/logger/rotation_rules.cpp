#include "KFramework/logger/rotation_rules.h"

#include "KFramework/string.h"

#include <array>
#include <cstdio>

namespace kf::logger
{
namespace
{
bool same_month(const std::tm& a, const std::tm& b) noexcept
{
    return a.tm_mon == b.tm_mon && a.tm_year == b.tm_year;
}
} // namespace

bool rotation_due(int mode, const std::tm& start, const std::tm& now) noexcept
{
    switch (mode)
    {
    case kHourly:
        // KEPT[hourly-weekday]: the day of the week, not of the month.
        return start.tm_hour != now.tm_hour || start.tm_wday != now.tm_wday || !same_month(start, now);
    case kDaily:
        return start.tm_mday != now.tm_mday || !same_month(start, now);
    case kMonthly:
        return !same_month(start, now);
    default:
        return false;
    }
}

std::string rotation_suffix(int mode, const std::tm& start)
{
    const int month = start.tm_mon + 1;
    const int year = start.tm_year + 1900;
    std::array<char, 64> text{}; // four numbers of at most 11 characters, and three dots
    switch (mode)
    {
    case kHourly:
        std::snprintf(text.data(), text.size(), "%02d.%02d.%04d.%02d", month, start.tm_mday, year,
                      start.tm_hour);
        break;
    case kDaily:
        std::snprintf(text.data(), text.size(), "%02d.%02d.%04d", month, start.tm_mday, year);
        break;
    case kMonthly:
        std::snprintf(text.data(), text.size(), "%02d.%04d", month, year);
        break;
    default:
        break;
    }
    return text.data();
}

std::string rotated_name(const std::string& folder, std::int64_t seconds, const std::string& suffix,
                         const std::string& file)
{
    return folder + "\\" + KFramework::KStringHelper::FromTime(seconds) + "." + suffix + "." + file;
}
} // namespace kf::logger
