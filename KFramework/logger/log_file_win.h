#pragma once
/// The log file itself: the calls that touch it.

#include "KFramework/platform/windows_win.h"

#include <cstddef>
#include <ctime>
#include <string>

namespace kf::logger
{
/// The local time of the live clock. Not the server time.
[[nodiscard]] std::tm live_local_time();

/// When the log at this path was started: what its first line says, otherwise now.
[[nodiscard]] std::tm read_start_time(const std::string& path);

/// Opens a log for appending, creating it when it is missing; others may read meanwhile.
///
/// @return  null on failure.
[[nodiscard]] HANDLE open_log_file(const std::string& path);
} // namespace kf::logger
