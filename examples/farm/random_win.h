#pragma once
/// Bytes that nobody can guess.

#include <string>

namespace farm
{
/// A salt for a key: 32 bytes of the system's generator as 64 hexadecimal digits; empty when it gives none.
std::string random_salt();
} // namespace farm
