#include "KFramework/logger/start_time.h"

#include <cstdio>
#include <string>

namespace kf::logger
{
std::optional<std::tm> parse_start_time(std::string_view first_bytes)
{
    // KEPT[start-needs-20-bytes]: a shorter file has no start time, however good its stamp.
    if (first_bytes.size() != kStartTextSize)
        return std::nullopt;

    const std::string terminated(first_bytes);
    std::tm start{};
    // NOLINTNEXTLINE: the widths bound every number, so none can overflow.
    const int fields =
        std::sscanf(terminated.c_str(), "%2d/%2d/%4d %2d:%2d:%2d", &start.tm_mon, &start.tm_mday,
                    &start.tm_year, &start.tm_hour, &start.tm_min, &start.tm_sec);
    if (fields != 6)
        return std::nullopt;

    start.tm_year -= 1900;
    start.tm_mon -= 1;
    // KEPT[start-weekday]: the day of the week stays 0; it is not computed from the date.
    return start;
}
} // namespace kf::logger
