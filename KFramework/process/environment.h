#pragma once

#include <functional>
#include <map>
#include <string>

namespace kf::process
{
using environment_table = std::map<std::string, std::string>; // KEPT[environment-case]
using utf16_converter = std::function<std::u16string(const std::string&)>;

/// Units of the narrow and of the wide block: bytes of every entry with "=" and
/// terminator, entries without a name included, and the block's own end.
std::size_t block_units(const environment_table& table);

/// The narrow block, from malloc.
char* narrow_block(const environment_table& table);

/// The wide block, from malloc, laid out on the lengths of the UTF-8 text.
///
/// @param to_utf16  never gives more units than its input has bytes; what is more is cut.
char16_t* wide_block(const environment_table& table, const utf16_converter& to_utf16);
} // namespace kf::process
