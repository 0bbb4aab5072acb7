#pragma once
/// farm.conf on the disk: read, and completed without touching the user's lines.

#include "settings.h"

#include <string>

namespace farm
{
/// The server and the workers of one machine share a file, so each takes its turn.
class config_file
{
public:
    /// Where programs look unless told otherwise: farm.conf beside the program.
    static std::string usual_path();

    /// A file that is not there is an empty one.
    ///
    /// @return  empty, or what is wrong, with the file's name.
    std::string load(const std::string& path);

    /// Takes over what the file says.
    ///
    /// @return  empty, or what is wrong, with the file's name, section and key.
    std::string apply_to(setting_list& settings);

    /// Writes the defaults of the settings that the file does not have; makes the file if need be. Only with the
    /// library initialised.
    ///
    /// @return  empty, or why it could not be done, with the file's name.
    std::string add_missing(const setting_list& settings);

    /// Writes one setting, in the place of an earlier one; makes the file if need be. Only with the library initialised.
    ///
    /// @return  empty, or why it could not be done, with the file's name; the value is not part of it.
    std::string set(const char* section, const char* key, const std::string& value);

    /// Wipes what was read, which may hold a password.
    void forget();

private:
    std::string read();
    std::string merge(const KFramework::CKConfigManager& changes) const;
    std::string write(const KFramework::CKConfigManager& changes, const std::string& made) const;
    bool has_any_of(const KFramework::CKConfigManager& changes) const;

    std::string path_;
    std::string text_; // as it was read
    KFramework::CKConfigManager entries_;
};
} // namespace farm
