#include "KFramework/string/time_text.h"

#include <cstdint>
#include <cstdio>

#include "KFramework/string.h"

namespace
{
/// Six fields of 11 characters each and what stands between them: room for any field, not only for years of
/// four digits.
constexpr std::size_t kTimeRoom = 6 * 11 + 5 + 1;
constexpr std::size_t kTimespanRoom = 128;

constexpr int kModeTimeOfDay = 0;
constexpr int kModeDate = 1;
constexpr int kModePacked = 3;

constexpr long long kMinute = 60;
constexpr long long kHour = 60 * kMinute;
constexpr long long kDay = 24 * kHour;
} // namespace

namespace kf::string
{
std::string time_text(const std::tm& local, int mode)
{
    char text[kTimeRoom];
    const int month = local.tm_mon + 1;
    const int year = local.tm_year + 1900;
    // KEPT[time-month-first]: in every mode.
    switch (mode)
    {
    case kModeTimeOfDay:
        std::snprintf(text, sizeof text, "%02d:%02d:%02d", local.tm_hour, local.tm_min, local.tm_sec);
        break;
    case kModeDate:
        std::snprintf(text, sizeof text, "%02d/%02d/%04d", month, local.tm_mday, year);
        break;
    case kModePacked:
        std::snprintf(text, sizeof text, "%02d%02d%04d%02d%02d%02d", month, local.tm_mday, year,
                      local.tm_hour, local.tm_min, local.tm_sec);
        break;
    default: // KEPT[time-mode-default]: 2 and whatever else.
        std::snprintf(text, sizeof text, "%02d/%02d/%04d %02d:%02d:%02d", month, local.tm_mday, year,
                      local.tm_hour, local.tm_min, local.tm_sec);
        break;
    }
    return text;
}
} // namespace kf::string

namespace KFramework::KStringHelper
{
std::string FormatTimespan(long long seconds)
{
    if (seconds < 0)
        return {};
    // KEPT[timespan-days-low-bits]
    const auto days = static_cast<std::uint32_t>(seconds / kDay);
    const auto hours = static_cast<std::uint32_t>(seconds % kDay / kHour);
    const auto minutes = static_cast<std::uint32_t>(seconds % kHour / kMinute);
    const auto rest = static_cast<std::uint32_t>(seconds % kMinute);
    char text[kTimespanRoom];
    // KEPT[timespan-one-form]
    std::snprintf(text, sizeof text, "%u days, %u hours, %u mins, %u secs", days, hours, minutes, rest);
    return text;
}
} // namespace KFramework::KStringHelper
