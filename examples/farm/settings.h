#pragma once
/// The settings that farm.conf and the command line share. Portable.

#include <KFramework/config.h>

#include <functional>
#include <string>
#include <vector>

namespace farm
{
/// Empty, or what is wrong with a text.
using text_check = std::function<std::string(const std::string&)>;

/// A text_check for a text that must be there.
inline std::string not_empty(const std::string& text)
{
    return text.empty() ? "nothing is there" : "";
}

/// One setting: a key in a section of the file, and the option of the same name.
struct setting
{
    std::string section;
    std::string key;
    std::string help;
    int* number = nullptr;       ///< where the value goes; exactly one of the two
    std::string* text = nullptr; ///< where the value goes
    int lowest = 0;              ///< of a number
    int highest = 0;             ///< of a number
    text_check check = {};       ///< of a text; may be none
    bool has_default = true;     ///< false: never written into the file unasked
    bool has_option = true;      ///< false: only in the file; what is secret never stands on a command line
    std::string default_text = {};
    bool given = false; ///< by an option, which wins over the file
};

class setting_list
{
public:
    explicit setting_list(std::string section) : section_(std::move(section)) {}

    /// The following settings belong to this section.
    void begin(const std::string& section) { section_ = section; }

    /// What `value` holds now is the default.
    setting& number(const std::string& key, const std::string& help, int& value, int lowest, int highest);
    setting& text(const std::string& key, const std::string& help, std::string& value, text_check check = {});

    std::vector<setting>& all() { return settings_; }

    /// Takes over what a file says, except where an option was given.
    ///
    /// @return  empty, or what is wrong with the file's first wrong value, with section and key; a value that an
    ///          option replaces is checked too. Nothing is taken over then.
    std::string apply(KFramework::CKConfigManager& file);

    /// The defaults of those settings that a file does not have.
    KFramework::CKConfigManager missing_in(const KFramework::CKConfigManager& file) const;

private:
    std::string section_;
    std::vector<setting> settings_;
};
} // namespace farm
