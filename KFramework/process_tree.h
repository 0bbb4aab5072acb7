#pragma once
/// Process trees: who started whom, and acting on a process with all that it started; priority and affinity.
/// Part of process.h.
///
/// Threads: any; nothing is shared, and each call takes its own look at the system. A tree is read only but for
/// DestroyProcTree.
/// Errors: through results alone. A process that cannot be opened, or is gone, is passed over in silence.
/// Ownership: lists and trees are the caller's; their records go back through DeleteProcsSnapshot and
/// DestroyProcTree.
/// What is found is true for the moment of the look: later processes are missing, and an id may belong to another
/// process by the time it is acted on.

#include <cstdint>
#include <list>
#include <string>
#include <vector>

#include "KFramework/export.h"

namespace KClientLib
{
/// One process of a snapshot. Made by CreateProcsSnapshot, freed by DeleteProcsSnapshot.
struct KProcessSnapshot
{
    std::string name; ///< file name of the program, without a folder, in UTF-8
    std::uint32_t pid = 0;
    std::uint32_t parentPid = 0; ///< of the process that created it, which may be gone, and its id another's
};
} // namespace KClientLib

namespace KFramework::KProcesses
{
/// One process of a tree. Made by CreateProcTreeSnapshot, freed with the tree by DestroyProcTree.
struct KProcessTreeNode
{
    std::string name; ///< as in the snapshot
    std::uint32_t pid = 0;
    std::uint32_t parentPid = 0;
    KProcessTreeNode* parent = nullptr;    ///< null at the root
    KProcessTreeNode** children = nullptr; ///< ended by a null pointer; null when there are none
};

// --- snapshots -------------------------------------------------------------

/// Lists the system's processes, or those that one process created, in the system's order.
///
/// @param list       receives the records. Null gives false.
/// @param parentPid  0 for all processes.
/// @return  false when the system gives no list; list is empty then.
/// @owns    the caller frees the records with DeleteProcsSnapshot.
/// @kept    snapshot-drops-records: what list held before is dropped and not freed.
KFRAMEWORK_API bool CreateProcsSnapshot(std::vector<KClientLib::KProcessSnapshot*>* list,
                                        unsigned long parentPid);

/// Frees every record of a list and empties it. Null does nothing.
KFRAMEWORK_API void DeleteProcsSnapshot(std::vector<KClientLib::KProcessSnapshot*>* list);

/// Finds a process by its program's name among those that one process created itself.
///
/// @param pid    the creator.
/// @param names  file names with one blank between them, in any case (the letters A to Z). A name with blanks stands
///               in double quotes. Null is the same as "".
/// @return  the id of the first process, in the system's order, that has one of the names; 0 when none has.
/// @kept    child-whole-names: the whole name counts, extension included; nothing stands for parts of it.
/// @kept    child-name-escapes: names are read by the ExtractToken that knows quotes, after they were turned to
///          small letters. A backslash stands for the character behind it (\N is a line feed), and a quote that
///          stays open ends the list before its name.
///
///   render.exe "my tool.exe"  =>  Render.exe, MY TOOL.EXE
KFRAMEWORK_API unsigned long GetChildOfProcess(unsigned long pid, const char* names);

/// The id of the process that created another; 0 when that other is not found.
KFRAMEWORK_API unsigned long GetParentPid(unsigned long pid);

// --- trees -----------------------------------------------------------------

/// Builds the tree of a process and everything that descends from it.
///
/// @param root  receives the tree, or null on failure. Null itself gives false.
/// @return  true when there is a tree; false for pid 0, for a process that is gone and when the system gives no
///          list.
/// @owns    the caller frees the tree with DestroyProcTree.
/// @kept    tree-strictly-younger: a child is created later than its parent. What is not younger only names an
///          id that was used again, and does not belong to the tree.
/// @kept    tree-unreadable-times: a process whose creation time cannot be read is nobody's child; when that of
///          the root cannot be read, all of its children count.
/// @kept    tree-depth: 21 levels. A process of the last level that has children has an array without any.
KFRAMEWORK_API bool CreateProcTreeSnapshot(unsigned long pid, KProcessTreeNode** root);

/// Frees a tree. Null does nothing, here and in the functions below.
KFRAMEWORK_API void DestroyProcTree(KProcessTreeNode* root);

/// Appends the ids of a tree.
///
/// @kept    tree-children-first: here and in the functions below, every process comes behind its children, and
///          children come in the tree's order. A null in the array of children ends it.
KFRAMEWORK_API void ProcTreeSnapshotPidList(KProcessTreeNode* root, std::list<unsigned long>& pids);

/// TerminateProcess, by id, for every process of a tree. The leaves end first, so that no parent can start an
/// ended child again.
///
/// @param ignored  passed on to TerminateProcess, where it has no meaning.
/// @kept    tree-acts-on-ids: here and in the two functions below nothing is compared again; an id that was used
///          again since the tree was built means the process that has it now.
KFRAMEWORK_API void TerminateProcTree(KProcessTreeNode* root, bool ignored);

/// SetProcessAffinityMask for every process of a tree.
KFRAMEWORK_API void SetProcTreeAffinityMask(KProcessTreeNode* root, long long mask);

/// SetProcessPriority for every process of a tree.
KFRAMEWORK_API void SetProcTreePriority(KProcessTreeNode* root, int level);

// --- priority and affinity of one process ------------------------------------

/// Sets the processors a process may use; nothing happens when the system refuses.
///
/// @param mask  bit 0 is the first processor.
/// @kept    affinity-mask-first: the mask stands before the id.
KFRAMEWORK_API void SetProcessAffinityMask(unsigned long long mask, unsigned long pid);

/// The processors a process may use; 0 when it cannot be asked.
KFRAMEWORK_API unsigned long long GetProcessAffinityMask(unsigned long pid);

/// Sets a process's priority class; nothing happens when the system refuses.
///
/// @param level  1 idle, 2 normal, 3 high, 4 real time.
/// @kept    priority-levels: any other level is normal too; read back, every class without a level is 2.
///
///   set 7             =>  normal
///   below normal set  =>  2
KFRAMEWORK_API void SetProcessPriority(unsigned long pid, int level);

/// The priority level of the calling process, 1 to 4; 2 when it cannot be asked.
///
/// @kept    priority-of-caller: the argument is ignored.
KFRAMEWORK_API int GetProcessPriority(unsigned long pid);
} // namespace KFramework::KProcesses
