#pragma once

#include <string_view>

namespace kf::filesystem
{
/// What the platform tells of one entry of a folder.
struct folder_entry
{
    bool is_directory = false;
    bool is_hidden = false;
    std::string_view name;
};

/// Which entries a listing of files takes besides plain, visible ones.
struct entry_filter
{
    bool directories = false;
    bool hidden = false;
    bool dot_names = false;

    bool accepts(const folder_entry& entry) const noexcept;
};
} // namespace kf::filesystem
