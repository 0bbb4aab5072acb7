#include "KFramework/process/snapshot_rows.h"

#include <algorithm>

#include "KFramework/string.h"

using KClientLib::KProcessSnapshot;

namespace kf::process
{
std::vector<std::string> listed_names(const std::string& text)
{
    std::string rest = KFramework::KStringHelper::ToLower(text);
    std::vector<std::string> names;
    // KEPT[child-name-escapes]: quotes and backslashes are read behind the change of case.
    for (std::string name; KFramework::KStringHelper::ExtractToken(rest, name, " ", "\"", true);)
        names.push_back(name);
    return names;
}

std::uint32_t find_child(const snapshot& rows, std::uint32_t parent, const std::vector<std::string>& names)
{
    // KEPT[child-whole-names]
    const auto is_listed = [&](const KProcessSnapshot* row)
    {
        return row->parentPid == parent &&
               std::ranges::find(names, KFramework::KStringHelper::ToLower(row->name)) != names.end();
    };
    const auto found = std::ranges::find_if(rows, is_listed);
    return found != rows.end() ? (*found)->pid : 0;
}

std::uint32_t find_parent(const snapshot& rows, std::uint32_t pid)
{
    const auto found = std::ranges::find(rows, pid, &KProcessSnapshot::pid);
    return found != rows.end() ? (*found)->parentPid : 0;
}
} // namespace kf::process

namespace KFramework::KProcesses
{
void DeleteProcsSnapshot(std::vector<KProcessSnapshot*>* list)
{
    if (list == nullptr)
        return;
    for (const KProcessSnapshot* const record : *list)
        delete record;
    list->clear();
}
} // namespace KFramework::KProcesses
