#pragma once
/// How much of its machine a worker leaves to its renderers, as farm.conf says it. Portable.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace farm
{
/// Given to a renderer when it starts.
struct scheduling
{
    int priority = 2;             ///< the library's level
    std::uint64_t processors = 0; ///< bit 0 is the first; 0: all
};

/// The level of `idle`, `normal` or `high`; none for any other text.
std::optional<int> priority_level(std::string_view name);

/// The processors of a list like `0-3,6`, which counts from 0 to 63; 0 for `all`, none for any other text.
std::optional<std::uint64_t> processor_mask(std::string_view list);

/// Empty, or what is wrong with a text.
std::string wrong_priority(const std::string& name);
std::string wrong_processors(const std::string& list);

/// Empty, or that a machine of so many processors has not all of these.
std::string lacking_processors(std::uint64_t processors, int count);
} // namespace farm
