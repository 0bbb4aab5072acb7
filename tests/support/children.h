#pragma once
/// Where the child programs of tests/children lie.

#include <string>

namespace kf::test
{

/// The full path of a child program, as UTF-8 text with backslashes; it lies beside the test program.
///
/// @param name  without ".exe". A name that does not exist fails the test.
[[nodiscard]] std::string child_program(const std::string& name);

} // namespace kf::test
