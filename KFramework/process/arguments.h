#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace kf::process
{
/// More words than this are not collected.
inline constexpr std::size_t kMostWords = 32767;

/// Splits a command line into its words, by the rules CreateArgumentsArray states.
std::vector<std::string> split_words(std::string_view command_line);

/// A heap array of heap texts, ended by null; DestroyArray frees it.
char** make_array(const std::vector<std::string>& texts);
} // namespace kf::process
