#pragma once

#include <string>
#include <string_view>

namespace kf::process
{
/// Room for the path inside the quotes, in bytes.
inline constexpr std::size_t kExecutableBytes = 260;
/// Room for the arguments, in bytes: with the rest 32,767 and a terminator.
inline constexpr std::size_t kArgumentsBytes = 32504;

/// The line a child is started with: the quoted path, a blank, the arguments.
/// Both parts are cut at their room, if need be inside a character.
std::string child_command_line(std::string_view executable, std::string_view arguments);
} // namespace kf::process
