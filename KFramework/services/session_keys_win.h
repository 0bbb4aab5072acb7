#pragma once

namespace kf::services
{
/// Who is logged on, from the users' registry keys: the way of systems before version 5.2.
///
/// @param remote_count  raised by one for each session found.
/// @return  false when the users' keys cannot be opened.
[[nodiscard]] bool count_session_keys(int& remote_count);
} // namespace kf::services
