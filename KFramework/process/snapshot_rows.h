#pragma once
/// What is asked of a list of processes.

#include <cstdint>
#include <string>
#include <vector>

#include "KFramework/process.h"

namespace kf::process
{
using snapshot = std::vector<KClientLib::KProcessSnapshot*>;

/// A list whose records are freed with it.
struct owned_snapshot
{
    owned_snapshot() = default;
    owned_snapshot(const owned_snapshot&) = delete;
    owned_snapshot& operator=(const owned_snapshot&) = delete;
    ~owned_snapshot() { KFramework::KProcesses::DeleteProcsSnapshot(&rows); }

    snapshot rows;
};

/// The names that a text for GetChildOfProcess lists, in small letters.
std::vector<std::string> listed_names(const std::string& text);

/// The first row of that parent with one of the names, whatever its case; 0 when there is none.
std::uint32_t find_child(const snapshot& rows, std::uint32_t parent, const std::vector<std::string>& names);

/// The parent in the first row of that process; 0 when there is none.
std::uint32_t find_parent(const snapshot& rows, std::uint32_t pid);
} // namespace kf::process
