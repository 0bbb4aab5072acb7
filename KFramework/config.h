#pragma once
/// Settings in small sectioned text files: read, asked for with defaults, changed, and merged back into the file
/// without touching the user's own lines, comments and order. docs/file-formats.md describes the file.
///
/// Threads: no function keeps state, but a manager has no lock: one thread at a time uses it.
/// Errors: results; LoadConfigFile also logs to the default logger, at level 1 with the module "KFramework".
/// Ownership: arguments stay the caller's. A manager is never null; any other null text counts as empty.
/// Names of sections and keys ignore the case of the letters A to Z; blanks are spaces, never tabs.

#include <map>
#include <string>

#include "KFramework/export.h"

namespace KFramework
{
/// The settings of one file. A program may read and change both fields.
struct CKConfigManager
{
    /// "section#key" in lower case, to the value as it stands in the file. Outside any section: "_default_#key".
    std::map<std::string, std::string> entries;
    std::string filePath; ///< path of the last file that was opened; UTF-8
};

/// Replaces all entries by those of a file.
///
/// @param path  UTF-8; stored in the manager. May be the manager's own filePath.
/// @return  false only when the file cannot be opened; the manager is then unchanged, and "Cannot open file PATH to
///          read configuration" is logged. An error while reading ends the file there.
KFRAMEWORK_API bool LoadConfigFile(CKConfigManager* manager, const char* path);

/// The value of a key as a number.
///
/// @return  the default when the key is absent.
KFRAMEWORK_API int GetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                  int defaultValue);

/// As above.
KFRAMEWORK_API long GetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                   long defaultValue);

/// The value of a key as text.
///
/// @return  the default, unchanged, when the key is absent.
KFRAMEWORK_API std::string GetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                          const std::string& defaultValue);

/// Adds or replaces a value, in memory only.
///
/// @return  true.
KFRAMEWORK_API bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key, int value);

/// As above.
KFRAMEWORK_API bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                   long value);

/// As above.
///
/// @param value  copied; may be the text of an entry of the manager.
KFRAMEWORK_API bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                                   const char* value);

/// Merges the entries into a file, which is made when there is none.
///
/// @param path  UTF-8; not stored.
/// @return  false when the file cannot be opened for writing.
KFRAMEWORK_API bool SaveConfigFile(CKConfigManager* manager, const char* path);

/// Finds the lines of a section in a file's text.
///
/// @param begin  receives the offset behind the header's line; -1 when there is no such section.
/// @param end    receives the offset of the line feed before the next header, or the length of the text; -1 as above.
KFRAMEWORK_API void GetConfigValuesectbound(const std::string& text, const std::string& section, long& begin,
                                            long& end);

/// Changes one setting in a file's text, or adds it.
///
/// @param text  edited in place.
KFRAMEWORK_API void ConfigReplaceKey(std::string& text, const std::string& section, const std::string& key,
                                     const std::string& value);
} // namespace KFramework
