#pragma once
/// How busy a worker's machine is, as the worker tells the server. Portable.

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace farm
{
/// One look at a machine.
struct load
{
    int processor = 0;             ///< % of all its processors
    std::uint64_t memory_used = 0; ///< bytes
    std::uint64_t memory = 0;      ///< bytes, not 0
};

/// The text of a worker's heartbeat: the library's reports of processors and memory, a line each.
std::string load_text(const std::string& processors, const std::string& memory);

/// What a heartbeat says; none when it is not exactly two such reports. Peers are not trusted.
std::optional<load> parse_load(std::string_view text);

/// For a table: `45%`, and `3.1/7.8 GiB`; `-` when nothing is known.
std::string processor_cell(const std::optional<load>& known);
std::string memory_cell(const std::optional<load>& known);
} // namespace farm
