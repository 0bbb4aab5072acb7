#include "KFramework/config/merge.h"

#include "KFramework/config/names.h"

namespace kf::config
{
void replace_keys(std::string& text, const std::map<std::string, std::string>& entries,
                  std::size_t largest_text)
{
    for (const auto& [name, value] : entries)
    {
        const std::size_t between = name.find(kBetween);
        if (between == std::string::npos)
            continue;
        const std::string_view view = name;
        replace_key(text, view.substr(0, between), view.substr(between + 1), value, largest_text);
    }
}
} // namespace kf::config
