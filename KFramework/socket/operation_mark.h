#pragma once
/// The mark of a record whose operation is outstanding: 0 or 1, changed atomically in a plain field.

#include <cstdint>

namespace kf::socket
{

/// Sets the mark.
///
/// @return  false when it was set already; it stays set.
bool set_mark(std::uint32_t& mark) noexcept;

void clear_mark(std::uint32_t& mark) noexcept;

[[nodiscard]] bool is_marked(const std::uint32_t& mark) noexcept;

} // namespace kf::socket
