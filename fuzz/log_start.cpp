/// parse_start_time: a stamp of the logger's own comes back, and any other text gives fields that two and four digits
/// can hold. Input: the first bytes of a log file.

#include "fuzz/target.h"

#include <cstdio>
#include <ctime>
#include <optional>
#include <string>

#include "KFramework/logger/rotation_rules.h"
#include "KFramework/logger/start_time.h"

namespace
{

bool within(int value, int least, int most)
{
    return least <= value && value <= most;
}

/// A sign counts as one of the characters that a field may have.
void check_ranges(const std::tm& start)
{
    kf::fuzz::require(within(start.tm_year, -999 - 1900, 9999 - 1900), "a year has four characters");
    kf::fuzz::require(within(start.tm_mon, -10, 98), "a month has two, and is counted from 0");
    for (const int field : {start.tm_mday, start.tm_hour, start.tm_min, start.tm_sec})
        kf::fuzz::require(within(field, -9, 99), "every other field has two");
    kf::fuzz::require(start.tm_wday == 0 && start.tm_yday == 0 && start.tm_isdst == 0, "nothing else is set");
}

void check_own_stamp(const std::tm& start)
{
    char stamp[64];
    const int length =
        std::snprintf(stamp, sizeof stamp, "%02d/%02d/%04d %02d:%02d:%02d ", start.tm_mon + 1, start.tm_mday,
                      start.tm_year + 1900, start.tm_hour, start.tm_min, start.tm_sec);
    const auto again = kf::logger::parse_start_time({stamp, static_cast<std::size_t>(length)});
    if (static_cast<std::size_t>(length) != kf::logger::kStartTextSize)
        return;
    kf::fuzz::require(again && again->tm_year == start.tm_year && again->tm_mon == start.tm_mon &&
                          again->tm_mday == start.tm_mday && again->tm_hour == start.tm_hour &&
                          again->tm_min == start.tm_min && again->tm_sec == start.tm_sec,
                      "a written stamp is read back");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string_view text(reinterpret_cast<const char*>(data), size);
    const std::optional<std::tm> start = kf::logger::parse_start_time(text);
    if (!start)
        return 0;
    kf::fuzz::require(size == kf::logger::kStartTextSize, "only twenty bytes have a start time");
    check_ranges(*start);
    check_own_stamp(*start);
    for (int mode = -1; mode <= 4; ++mode)
    {
        kf::fuzz::require(!kf::logger::rotation_due(mode, *start, *start), "a log belongs to its own period");
        const bool rotates = within(mode, kf::logger::kHourly, kf::logger::kMonthly);
        kf::fuzz::require(kf::logger::rotation_suffix(mode, *start).empty() != rotates,
                          "a mode that rotates, and only that, has a suffix");
    }
    return 0;
}
