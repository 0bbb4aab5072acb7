#pragma once

#include <cstddef>
#include <string>
#include <string_view>

namespace kf::string
{
/// A text file is taken in blocks of this many bytes.
inline constexpr std::size_t kBlockBytes = 2048;

/// The part of a text before its first NUL byte.
std::string_view up_to_nul(std::string_view text);

/// Appends bytes block by block, each up to its first NUL byte.
void append_blocks(std::string& content, std::string_view bytes);
} // namespace kf::string
