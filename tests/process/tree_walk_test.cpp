/// Walking and freeing trees and lists that were put together by hand.

#include "KFramework/process.h"

#include <gtest/gtest.h>

#include <list>
#include <string>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using KClientLib::KProcessSnapshot;
using ids = std::list<unsigned long>;

/// A node with its children; one made with an empty list has an array without any.
KProcessTreeNode* node(std::uint32_t pid)
{
    return new KProcessTreeNode{"p", pid, 0, nullptr, nullptr};
}

KProcessTreeNode* node(std::uint32_t pid, const std::vector<KProcessTreeNode*>& children)
{
    KProcessTreeNode* const made = node(pid);
    made->children = new KProcessTreeNode* [children.size() + 1] {};
    for (std::size_t i = 0; i < children.size(); ++i)
        made->children[i] = children[i];
    return made;
}
} // namespace

TEST(ProcTreeSnapshotPidList, AppendsTheChildrenInTheirOrderAndThenTheRoot)
{
    KProcessTreeNode* const root = node(1, {node(3), node(2)});
    ids pids{77};
    ProcTreeSnapshotPidList(root, pids);
    EXPECT_EQ(pids, (ids{77, 3, 2, 1}));
    DestroyProcTree(root);
}

// KEPT[tree-children-first]
TEST(ProcTreeSnapshotPidList, NamesTheDeepestDescendantsFirst)
{
    KProcessTreeNode* const root = node(1, {node(2, {node(4, {node(6)}), node(5)}), node(3, {})});
    ids pids;
    ProcTreeSnapshotPidList(root, pids);
    EXPECT_EQ(pids, (ids{6, 4, 5, 2, 3, 1}));
    DestroyProcTree(root);
}

TEST(ProcTreeSnapshotPidList, EndsTheChildrenAtTheFirstNull)
{
    KProcessTreeNode* const root = node(1, {node(2), nullptr, nullptr});
    KProcessTreeNode* const behind = node(3);
    root->children[2] = behind;
    ids pids;
    ProcTreeSnapshotPidList(root, pids);
    EXPECT_EQ(pids, (ids{2, 1}));
    DestroyProcTree(root);
    DestroyProcTree(behind);
}

TEST(ProcTreeSnapshotPidList, TakesNoTree)
{
    ids pids;
    ProcTreeSnapshotPidList(nullptr, pids);
    EXPECT_TRUE(pids.empty());
}

TEST(DestroyProcTree, TakesNoTree)
{
    DestroyProcTree(nullptr);
}

TEST(DeleteProcsSnapshot, EmptiesTheList)
{
    std::vector<KProcessSnapshot*> list{new KProcessSnapshot{"a.exe", 1, 2}, new KProcessSnapshot};
    DeleteProcsSnapshot(&list);
    EXPECT_TRUE(list.empty());
    DeleteProcsSnapshot(&list);
    DeleteProcsSnapshot(nullptr);
}
