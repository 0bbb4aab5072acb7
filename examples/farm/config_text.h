#pragma once
/// What a configuration file's text must be like before a program may add to it. Portable.
///
/// The library puts a new key in front of the line feed before the next header, so a header that follows a setting at
/// once would have the new key glued to that setting; and it takes a line without "=" for a setting of that name.
/// A program that leaves the user's lines alone looks first.

#include <KFramework/config.h>

#include <string>

namespace farm
{
/// Empty, or why the library would not read this text to its end.
std::string unreadable_part(const std::string& text);

/// The text with an end behind its last line and an empty line in front of every header but the first line's.
std::string ready_for_additions(const std::string& text);

/// Whether every line of a text that is ready would still be there, in its place, after these settings were added.
bool keeps_all_lines(const std::string& ready, const KFramework::CKConfigManager& additions);
} // namespace farm
