#pragma once
/// From a list of processes to the tree below one of them, and the walk over a tree.

#include <cstdint>
#include <functional>
#include <memory>

#include "KFramework/process/snapshot_rows.h"

namespace kf::process
{
/// Levels of a tree, the root's included.
inline constexpr int kTreeLevels = 21;

/// When a process was created, in any unit that grows; 0 when that cannot be read.
using creation_lookup = std::function<std::uint64_t(std::uint32_t pid)>;

struct tree_release
{
    void operator()(KFramework::KProcesses::KProcessTreeNode* root) const
    {
        KFramework::KProcesses::DestroyProcTree(root);
    }
};
using tree = std::unique_ptr<KFramework::KProcesses::KProcessTreeNode, tree_release>;

/// The tree below a process, or null when no row has its id; of several rows with it the first supplies the node.
///
/// Takes about N log N. Only the root and the rows that name a process of the tree as their parent are looked up,
/// each id once: a second answer for the same process might differ from the first.
tree build_tree(const snapshot& rows, std::uint32_t root, const creation_lookup& created);

/// Calls act(node) for every node of a tree, children before their parent.
template <class Action>
void for_each_upwards(KFramework::KProcesses::KProcessTreeNode* node, const Action& act)
{
    if (node == nullptr)
        return;
    // KEPT[tree-children-first]: whoever ends a parent first may see it start its child again.
    if (node->children != nullptr)
        for (auto** child = node->children; *child != nullptr; ++child)
            for_each_upwards(*child, act);
    act(node);
}
} // namespace kf::process
