#pragma once

#include <array>
#include <cstddef>
#include <span>
#include <string>

namespace kf::services
{
using derived_key = std::array<unsigned char, 64>;

/// PBKDF2 with HMAC-SHA-512.
///
/// @return  false when it cannot be derived; the key is all zero then.
[[nodiscard]] bool derive_key(const std::string& password, const std::string& salt, int iterations,
                              derived_key& key);

/// Appends two hexadecimal digits in small letters for each byte.
void append_digits(std::string& text, std::span<const unsigned char> bytes);

/// A stored key; the only copy of the digits is the one returned.
[[nodiscard]] std::string key_text(int iterations, const derived_key& key, const std::string& salt);

/// Equality of two texts, in a time that depends on their lengths alone.
[[nodiscard]] bool equal_in_constant_time(const std::string& left, const std::string& right);
} // namespace kf::services
