#pragma once

namespace kf::test
{

/// From now on an exception that nobody handles, on whatever thread, ends the process at once with code 3 and a line
/// on standard error. Wine's own crash report may leave the other threads running, up to a good end.
void end_on_crash();

} // namespace kf::test
