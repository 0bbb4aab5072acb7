#include "KFramework/config.h"
#include "KFramework/config/names.h"
#include "KFramework/string.h"

#include <cstdlib>
#include <string_view>

namespace
{
using KFramework::CKConfigManager;

std::string_view text_of(const char* text)
{
    return text != nullptr ? std::string_view(text) : std::string_view();
}

std::string entry_name(const char* section, const char* key)
{
    std::string name; // KEPT[config-lower-case]: this is what is saved.
    kf::config::append_lower(name, text_of(section));
    name += kf::config::kBetween;
    kf::config::append_lower(name, text_of(key));
    return name;
}

/// Null when the key is absent.
const std::string* find_value(const CKConfigManager& manager, const char* section, const char* key)
{
    const auto found = manager.entries.find(entry_name(section, key));
    return found != manager.entries.end() ? &found->second : nullptr;
}
} // namespace

namespace KFramework
{
int GetConfigValue(CKConfigManager* manager, const char* section, const char* key, int defaultValue)
{
    const std::string* const value = find_value(*manager, section, key);
    return value != nullptr ? std::atoi(value->c_str()) : defaultValue; // KEPT[config-number]
}

long GetConfigValue(CKConfigManager* manager, const char* section, const char* key, long defaultValue)
{
    const std::string* const value = find_value(*manager, section, key);
    return value != nullptr ? std::atol(value->c_str()) : defaultValue; // KEPT[config-number]
}

std::string GetConfigValue(CKConfigManager* manager, const char* section, const char* key,
                           const std::string& defaultValue)
{
    const std::string* const value = find_value(*manager, section, key);
    if (value == nullptr)
        return defaultValue;
    std::string text = *value;
    KStringHelper::TrimCR(text); // KEPT[config-one-line]: line feeds and tabs go too.
    return text;
}

bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key, int value)
{
    return SetConfigValue(manager, section, key, std::to_string(value).c_str());
}

bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key, long value)
{
    return SetConfigValue(manager, section, key, std::to_string(value).c_str());
}

bool SetConfigValue(CKConfigManager* manager, const char* section, const char* key, const char* value)
{
    // The value may be the very text that is replaced, or a name may lie in it: copied first.
    manager->entries.insert_or_assign(entry_name(section, key), std::string(text_of(value)));
    return true;
}
} // namespace KFramework
