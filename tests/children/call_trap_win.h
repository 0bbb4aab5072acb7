#pragma once
/// Counts the calls that modules make to the system and to the C runtime, and ends the program at a chosen one.

#include <string>
#include <vector>

namespace kf::test
{
/// Sets itself between a loaded module and every function it imports, for the rest of the program's life. Functions
/// that only work in memory (memcpy, malloc, GetLastError, locks and the like) are passed on uncounted, as are the
/// functions of the C++ and thread runtimes.
///
/// @param module  file name; several modules share one count.
/// @return  false when the module is not loaded.
[[nodiscard]] bool trap_calls_of(const char* module);

/// Begins to count this thread's calls from 0.
///
/// @param last  the call in whose place the program is terminated, its exit code being kTrapped; below 0 for none.
void arm_trap(int last);

/// Ends counting; terminates too when the chosen call was to come next, so that the moment after the last call can
/// be chosen as well.
///
/// @return  the names of the calls counted since arm_trap.
std::vector<std::string> disarm_trap();

inline constexpr unsigned int kTrapped = 77;
} // namespace kf::test
