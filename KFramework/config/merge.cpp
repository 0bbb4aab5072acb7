#include "KFramework/config/merge.h"

#include "KFramework/config/merge_pass.h"
#include "KFramework/config/names.h"

namespace
{
using kf::config::merge_pass;

/// No shorter than the text with every entry in it.
std::size_t most_bytes(std::string_view text, const merge_pass::entries& entries)
{
    constexpr std::size_t kAround = std::string_view("\n[]\n\n = \n").size();
    std::size_t bytes = text.size();
    for (const auto& [name, value] : entries)
        bytes += 2 * name.size() + value.size() + kAround;
    return bytes;
}

void replace_one(std::string& text, const merge_pass::entry& entry, std::size_t largest_text)
{
    if (const auto name = kf::config::split_name(entry.first))
        kf::config::replace_key(text, name->section, name->key, entry.second, largest_text);
}
} // namespace

namespace kf::config
{
void replace_keys(std::string& text, const merge_pass::entries& entries, std::size_t largest_text)
{
    const bool may_become_too_long = most_bytes(text, entries) > largest_text;
    for (auto next = entries.begin(); next != entries.end();)
    {
        if (!may_become_too_long && merge_pass::can_take(*next))
        {
            merge_pass pass(text);
            next = pass.take(next, entries.end());
            pass.finish();
        }
        if (next != entries.end())
            replace_one(text, *next++, largest_text);
    }
}
} // namespace kf::config
