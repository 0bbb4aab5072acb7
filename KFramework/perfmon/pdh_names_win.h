#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace kf::perfmon
{
/// The name that this machine has for an index of counters; nothing where it has none.
std::optional<std::u16string> local_counter_name(std::uint32_t index);
} // namespace kf::perfmon
