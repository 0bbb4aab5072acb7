#include "KFramework/filesystem/entry_filter.h"

namespace kf::filesystem
{
bool entry_filter::accepts(const folder_entry& entry) const noexcept
{
    return (directories || !entry.is_directory) && (hidden || !entry.is_hidden) &&
           (dot_names || !entry.name.starts_with('.'));
}
} // namespace kf::filesystem
