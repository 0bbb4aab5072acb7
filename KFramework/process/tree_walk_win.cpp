#include "KFramework/process.h"
#include "KFramework/process/tree_build.h"

// KEPT[tree-acts-on-ids]: the walks look at nothing but the ids in the tree.
namespace KFramework::KProcesses
{
void TerminateProcTree(KProcessTreeNode* root, bool ignored)
{
    kf::process::for_each_upwards(root, [=](const KProcessTreeNode* node)
                                  { TerminateProcess(static_cast<unsigned long>(node->pid), ignored); });
}

void SetProcTreeAffinityMask(KProcessTreeNode* root, long long mask)
{
    kf::process::for_each_upwards(
        root, [=](const KProcessTreeNode* node)
        { SetProcessAffinityMask(static_cast<unsigned long long>(mask), node->pid); });
}

void SetProcTreePriority(KProcessTreeNode* root, int level)
{
    kf::process::for_each_upwards(root, [=](const KProcessTreeNode* node)
                                  { SetProcessPriority(node->pid, level); });
}
} // namespace KFramework::KProcesses
