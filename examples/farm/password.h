#pragma once
/// What counts as a password, and the key text that farm.conf holds of it. Portable.

#include "secret.h"

#include <string>

namespace farm
{
/// Bytes of UTF-8.
inline constexpr std::size_t kLongestPassword = 200;

/// The rounds of a new key: a guess costs this machine as much as checking a worker, a part of a second.
inline constexpr int kRounds = 210'000;

/// The password of a line: without its line end, and without the blanks around it, which shells and files add.
/// Wipes the line.
secret password_from(std::string&& line);

/// Empty, or why a text is no password. The text is not part of it.
std::string wrong_password(const std::string& password);

/// Empty, or that a text is no key text: the library would compare any other text with the password itself. The text is
/// not part of it.
std::string wrong_key(const std::string& key);

/// The key text of a password; empty when it cannot be derived.
///
/// @param salt  not empty, without "$".
std::string make_key(const secret& password, const std::string& salt);
} // namespace farm
