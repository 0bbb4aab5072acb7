#pragma once

#include <cstdint>

namespace kf::object
{
/// What the object family asks of its surroundings. surroundings_win.cpp answers
/// with the library's own functions, native tests with tests/support.

/// The calling thread's identifier, never 0 in a real program.
std::uint64_t current_thread();

/// Seconds since 1970: the stored server time, or the live clock while there is none.
std::int64_t server_time();
} // namespace kf::object
