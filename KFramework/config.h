#pragma once
/// Settings in small sectioned text files: read, asked for with defaults, changed, and merged back into the file
/// without touching the user's own lines, comments and order. docs/file-formats.md describes the file.
///
/// Threads: no function keeps state, but a manager has no lock: one thread at a time uses it.
/// Errors: results; LoadConfigFile also logs to the default logger, at level 1 as module "KFramework".
/// Ownership: arguments stay the caller's. A manager is never null; any other null text counts as empty.
/// Names of sections and keys ignore the case of the letters A to Z. Blanks are spaces, never tabs.
/// Nothing is escaped. A section with "#", "]" or a line feed, a key that is empty or has "=", a line feed, a "#" or "["
/// in front or blanks around it, a value with a line feed, a byte 1A in any of them, or a line of more than 2,045 bytes
/// is saved, but read back as something else: such a value can bring settings of its own or end the file. Text from
/// outside is checked for them before it is stored.

#include <map>
#include <string>

#include "KFramework/export.h"

namespace KFramework
{
/// The settings of one file. A program may read and change both fields.
struct CKConfigManager
{
    /// "section#key" in lower case, to the value as it stands in the file.
    std::map<std::string, std::string> entries;
    std::string filePath; ///< of the last file that LoadConfigFile opened; UTF-8
};

/// Replaces all entries by those of a file.
///
/// @param path  UTF-8; stored in the manager. May be the manager's own text.
/// @return  false only when the file cannot be opened; "Cannot open file PATH to read configuration" is then logged
///          and the manager unchanged. An error while reading ends the file there.
/// @kept    config-malformed: a line that begins with "[" and has no "]" ends the file too, with "Malformed
///          configuration at line N in file PATH" in the log; what stands before it is read and the result true.
/// @kept    config-last-line: a last line without a line ending is not read.
/// @kept    config-long-line: a line of more than 2,046 bytes, its ending among them, is cut into pieces of 2,046;
///          each piece is read as a line and loses its last byte.
/// @kept    config-first-wins: of several lines with one key the first counts.
/// @kept    config-blanks: only spaces are removed before a line, around a name and before a value.
/// @kept    config-trailing-blanks: blanks at the end of a value belong to it.
KFRAMEWORK_API bool LoadConfigFile(CKConfigManager* manager, const char* path);

/// The value of a key as a number, read as the C runtime's atoi reads it.
///
/// @return  defaultValue when the key is absent.
/// @kept    config-number: a value that is no number gives 0, not the default.
///
///   "80 percent" => 80
///   "many"       => 0
KFRAMEWORK_API int GetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                  int defaultValue);

/// As above, with atol.
KFRAMEWORK_API long GetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                   long defaultValue);

/// The value of a key as text.
///
/// @return  defaultValue, as it is, when the key is absent.
/// @kept    config-one-line: carriage returns, line feeds and tabs are removed wherever they stand in the value.
KFRAMEWORK_API std::string GetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                          const std::string& defaultValue);

/// Adds a value or replaces it, in memory only.
///
/// @return  true.
/// @kept    config-lower-case: section and key are stored, and so saved, in lower case.
KFRAMEWORK_API bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key, int value);

/// As above.
KFRAMEWORK_API bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                   long value);

/// As above.
///
/// @param value  copied; may be the text of an entry of the manager.
KFRAMEWORK_API bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                   const char* value);

/// Merges the entries into a file as ConfigReplaceKey does, and renews the header and footer around it. Keys that the
/// file has and the manager has not stay. Needs InitializeLibrary, for the local time.
///
/// The file is read in text mode, emptied and written: whoever ends the program meanwhile leaves the old text, the new
/// one or a beginning of the new. Nobody else should write the file at the same time.
///
/// @param path  UTF-8; not stored. A file that is not there is made; its folder is not.
/// @return  false when the file cannot be opened for writing, or is there but cannot be read; it is then unchanged.
///          Whether everything was written is not found out.
/// @kept    config-save-silent: nothing is logged.
/// @kept    config-day-first: the date in the header is DD/MM/YYYY, unlike a log's.
/// @kept    config-header-text: the first "## This file was autogenerated on" goes with the rest of its line and the
///          line's ending, also out of a comment of the user.
/// @kept    config-default-section: a key read outside any section is saved in a section "[_default_]" at the end. The
///          line it was read from stays, comes first, and wins: a changed value never takes effect. Use sections.
KFRAMEWORK_API bool SaveConfigFile(CKConfigManager* manager, const char* path);

/// Finds the lines of a section in a file's text. A last line without a line feed is not looked at.
///
/// @param begin  receives the offset behind the header's line; -1 when there is no such section, and for every text
///               of more than 2,147,483,647 bytes.
/// @param end    receives the offset of the line feed before the next line that begins with "[", or the length of the
///               text; -1 with begin. It is begin - 1 when that line follows the header at once.
/// @kept    config-last-header: of several equal headers without another between them the last counts.
KFRAMEWORK_API void GetConfigValuesectbound(const std::string& text, const std::string& section, long& begin,
                                            long& end);

/// Changes one setting in a file's text to "key = value", or adds it: at the end of its section, or in a new section at
/// the end of the text.
///
/// @param text  edited in place; lines end in "\n".
/// @kept    config-all-lines: every line of the section with this key is replaced, each one whole.
/// @kept    config-bare-name: so is a line that is only the key, without "=", which LoadConfigFile ignores.
/// @kept    config-glued: a new key goes in front of the line feed before the next header. Without an empty line there
///          it is glued to the line before, as it is to a last line without a line feed. Keep empty lines between
///          sections.
///
///   "[a]\nk = 1\n\n[b]\n", a, l, 2 => "[a]\nk = 1\nl = 2\n\n[b]\n"
///   "[a]\nk = 1\n[b]\n", a, l, 2   => "[a]\nk = 1l = 2\n\n[b]\n"
KFRAMEWORK_API void ConfigReplaceKey(std::string& text, const std::string& section, const std::string& key,
                                     const std::string& value);
} // namespace KFramework
