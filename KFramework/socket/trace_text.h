#pragma once
/// The text of a packet trace: where the file lies, how it begins, how received bytes look.

#include <cstddef>
#include <optional>
#include <string>

namespace kf::socket
{

/// The trace file's path: folder, host, "#" and port.
///
/// @param folder  ends in a separator.
/// @return  nothing when the host holds a path separator.
[[nodiscard]] std::optional<std::string> trace_path(const std::string& folder, const std::string& host,
                                                    int port);

/// The first line and the empty line after it.
[[nodiscard]] std::string trace_opening(const std::string& host, int port);

/// Each byte as two upper-case hexadecimal digits and a blank.
[[nodiscard]] std::string trace_bytes(const char* bytes, std::size_t count);

} // namespace kf::socket
