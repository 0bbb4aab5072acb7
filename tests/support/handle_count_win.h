#pragma once
/// How many handles this process holds, for tests that nothing leaks.

#include <cstddef>

namespace kf::test
{

/// Counts by probing every handle value, sockets included (a socket is a handle); the system's own counter
/// answers 0 under Wine. Takes about 0.1 s under Wine. Threads of the runtime may come and go: do the thing to be
/// measured once before the first count, and compare with wait_until where threads or children end.
[[nodiscard]] std::size_t handle_count();

/// Counts the handles that are sockets.
[[nodiscard]] std::size_t socket_count();

} // namespace kf::test
