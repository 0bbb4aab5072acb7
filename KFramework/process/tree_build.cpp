#include "KFramework/process/tree_build.h"

#include <algorithm>
#include <numeric>
#include <span>
#include <unordered_map>

using KClientLib::KProcessSnapshot;
using KFramework::KProcesses::KProcessTreeNode;

namespace kf::process
{
namespace
{
/// The rows of a snapshot in the order of one of their fields; rows that are alike in it keep their order.
class row_index
{
public:
    row_index(const snapshot& rows, std::uint32_t KProcessSnapshot::*field) : rows_(rows), field_(field)
    {
        std::ranges::stable_sort(rows_, {}, field_);
    }

    std::span<KProcessSnapshot* const> find(std::uint32_t value) const
    {
        // Two searches: Clang 14 rejects the range that std::ranges::equal_range gives.
        const auto first = std::ranges::lower_bound(rows_, value, {}, field_);
        return {first, std::ranges::upper_bound(first, rows_.end(), value, {}, field_)};
    }

private:
    snapshot rows_;
    std::uint32_t KProcessSnapshot::*field_;
};

class tree_builder
{
public:
    tree_builder(const snapshot& rows, const creation_lookup& created)
        : by_pid_(rows, &KProcessSnapshot::pid), by_parent_(rows, &KProcessSnapshot::parentPid),
          created_(created)
    {
    }

    tree build(std::uint32_t pid, KProcessTreeNode* parent, int depth)
    {
        // KEPT[tree-depth]: the level above already has its array, which then holds nothing.
        if (depth >= kTreeLevels)
            return nullptr;
        const std::uint64_t created = created_at(pid);
        const std::vector<std::uint32_t> children = younger_children(pid, created);
        const auto rows = by_pid_.find(pid);
        if (rows.empty())
            return nullptr;

        const KProcessSnapshot& row = *rows.front();
        tree node(new KProcessTreeNode{row.name, row.pid, row.parentPid, parent, nullptr});
        if (children.empty())
            return node;
        node->children = new KProcessTreeNode* [children.size() + 1] {};
        KProcessTreeNode** slot = node->children;
        for (const std::uint32_t child : children)
            *slot++ = build(child, node.get(), depth + 1).release();
        return node;
    }

private:
    std::vector<std::uint32_t> younger_children(std::uint32_t pid, std::uint64_t created)
    {
        std::vector<std::uint32_t> children;
        if (pid == 0) // the id of no process: everything whose parent is unknown names it
            return children;
        // KEPT[tree-strictly-younger]: as old is not younger; a child is never as old as its parent.
        // KEPT[tree-unreadable-times]: such a time is 0, later than nothing and earlier than all others.
        for (const KProcessSnapshot* const row : by_parent_.find(pid))
            if (created_at(row->pid) > created)
                children.push_back(row->pid);
        return children;
    }

    std::uint64_t created_at(std::uint32_t pid)
    {
        const auto known = times_.find(pid);
        return known != times_.end() ? known->second : times_[pid] = created_(pid);
    }

    const row_index by_pid_;
    const row_index by_parent_;
    const creation_lookup& created_;
    std::unordered_map<std::uint32_t, std::uint64_t> times_;
};
} // namespace

tree build_tree(const snapshot& rows, std::uint32_t root, const creation_lookup& created)
{
    return tree_builder(rows, created).build(root, nullptr, 0);
}
} // namespace kf::process

namespace KFramework::KProcesses
{
void DestroyProcTree(KProcessTreeNode* root)
{
    kf::process::for_each_upwards(root,
                                  [](KProcessTreeNode* node)
                                  {
                                      delete[] node->children;
                                      delete node;
                                  });
}

void ProcTreeSnapshotPidList(KProcessTreeNode* root, std::list<unsigned long>& pids)
{
    kf::process::for_each_upwards(root, [&](const KProcessTreeNode* node) { pids.push_back(node->pid); });
}
} // namespace KFramework::KProcesses
