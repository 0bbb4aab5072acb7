#include "settings.h"

#include "numbers.h"
#include "secret.h"

#include <KFramework/string.h>

namespace farm
{
using namespace KFramework;

namespace
{
bool has(const CKConfigManager& file, const setting& one)
{
    return file.entries.count(one.section + "#" + one.key) != 0;
}

/// The file's value without the blanks around it. Any may be secret.
secret value_in(CKConfigManager& file, const setting& one)
{
    std::string value = GetConfigValue(&file, one.section.c_str(), one.key.c_str(), std::string());
    KStringHelper::TrimLeft(value, false);
    KStringHelper::TrimRight(value, false);
    return secret(std::move(value));
}

std::string wrong_value(const setting& one, const std::string& value)
{
    const std::string where = one.key + " in section [" + one.section + "] ";
    if (one.number != nullptr)
    {
        if (number_between(value, one.lowest, one.highest))
            return "";
        return where + "must be a number from " + std::to_string(one.lowest) + " to " +
               std::to_string(one.highest) + ", not \"" + value + "\"";
    }
    const std::string wrong = one.check ? one.check(value) : "";
    return wrong.empty() ? "" : where + "is wrong: " + wrong;
}
} // namespace

setting& setting_list::number(const std::string& key, const std::string& help, int& value, int lowest,
                              int highest)
{
    setting& added = settings_.emplace_back(setting{section_, key, help, &value});
    added.lowest = lowest;
    added.highest = highest;
    added.default_text = std::to_string(value);
    return added;
}

setting& setting_list::text(const std::string& key, const std::string& help, std::string& value,
                            text_check check)
{
    setting& added = settings_.emplace_back(setting{section_, key, help, nullptr, &value});
    added.check = std::move(check);
    added.default_text = value;
    return added;
}

std::string setting_list::apply(CKConfigManager& file)
{
    for (const setting& one : settings_)
        if (has(file, one))
            if (std::string wrong = wrong_value(one, value_in(file, one).text()); !wrong.empty())
                return wrong;
    for (const setting& one : settings_)
    {
        if (one.given || !has(file, one))
            continue;
        const secret value = value_in(file, one);
        if (one.number != nullptr)
            *one.number = *number_between(value.text(), one.lowest, one.highest);
        else
            *one.text = value.text();
    }
    return "";
}

CKConfigManager setting_list::missing_in(const CKConfigManager& file) const
{
    CKConfigManager missing;
    for (const setting& one : settings_)
        if (one.has_default && !has(file, one))
            SetConfigValue(&missing, one.section.c_str(), one.key.c_str(), one.default_text.c_str());
    return missing;
}
} // namespace farm
