#include "scheduling.h"

#include "numbers.h"

#include <algorithm>

namespace farm
{
namespace
{
constexpr int kLastProcessor = 63;

std::string_view without_blanks(std::string_view text)
{
    while (text.starts_with(' '))
        text.remove_prefix(1);
    while (text.ends_with(' '))
        text.remove_suffix(1);
    return text;
}

/// The processors of `6` or `0-3`.
std::optional<std::uint64_t> range_mask(std::string_view range)
{
    const auto middle = range.find('-');
    const auto first = number_between(without_blanks(range.substr(0, middle)), 0, kLastProcessor);
    const auto last = middle == std::string_view::npos
                          ? first
                          : number_between(without_blanks(range.substr(middle + 1)), 0, kLastProcessor);
    if (!first || !last || *last < *first)
        return std::nullopt;
    std::uint64_t mask = 0;
    for (int i = *first; i <= *last; ++i)
        mask |= 1ULL << i;
    return mask;
}
} // namespace

std::optional<int> priority_level(std::string_view name)
{
    if (name == "idle")
        return 1;
    if (name == "normal")
        return 2;
    if (name == "high")
        return 3;
    return std::nullopt;
}

std::optional<std::uint64_t> processor_mask(std::string_view list)
{
    if (list == "all")
        return 0;
    std::uint64_t mask = 0;
    for (;;)
    {
        const auto comma = list.find(',');
        const auto part = range_mask(list.substr(0, comma));
        if (!part)
            return std::nullopt;
        mask |= *part;
        if (comma == std::string_view::npos)
            return mask;
        list.remove_prefix(comma + 1);
    }
}

std::string wrong_priority(const std::string& name)
{
    return priority_level(name) ? "" : "the priority must be idle, normal or high, not \"" + name + "\"";
}

std::string wrong_processors(const std::string& list)
{
    return processor_mask(list) ? ""
                                : "the processors must be all or a list like 0-3,6, not \"" + list + "\"";
}

std::string lacking_processors(std::uint64_t processors, int count)
{
    const std::uint64_t there = count > kLastProcessor ? ~0ULL : (1ULL << std::max(count, 1)) - 1;
    if ((processors & ~there) == 0)
        return "";
    return "this machine has no processor but 0" + (count > 1 ? " to " + std::to_string(count - 1) : "");
}
} // namespace farm
