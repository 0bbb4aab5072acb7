/// Trees of real children, and of made-up ones where the system must fail.

#include "KFramework/platform/file_time_win.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/process/process_rows_win.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <iterator>
#include <list>
#include <memory>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using kf::platform::unique_handle;
using kf::platform::units_of;
using kf::test::call_fault;
using kf::test::fault_span;
using kf::test::handle_count;
using kf::test::import_hook;
using kf::test::opening;
using kf::test::process_rows;
using kf::test::spawned_child;
using ids = std::list<unsigned long>;
using id_set = std::set<unsigned long>;

struct destroy_tree
{
    void operator()(KProcessTreeNode* root) const { DestroyProcTree(root); }
};
using tree = std::unique_ptr<KProcessTreeNode, destroy_tree>;

tree tree_of(unsigned long pid)
{
    KProcessTreeNode* root = nullptr;
    const bool made = CreateProcTreeSnapshot(pid, &root);
    EXPECT_EQ(made, root != nullptr);
    return tree(root);
}

ids ids_of(const tree& root)
{
    ids pids;
    ProcTreeSnapshotPidList(root.get(), pids);
    return pids;
}

id_set set_of(const tree& root)
{
    const ids pids = ids_of(root);
    return {pids.begin(), pids.end()};
}

/// Processes each of which has started the next; all are ended with the test.
class process_chain
{
public:
    explicit process_chain(std::size_t length)
        : first_("spawn_deeper", std::to_string(length) + " 60000"), pids(read_ids(length))
    {
        for (const unsigned long pid : pids)
        {
            handles.emplace_back(::OpenProcess(PROCESS_ALL_ACCESS, FALSE, pid));
            EXPECT_TRUE(handles.back()) << pid;
        }
    }
    process_chain(const process_chain&) = delete;
    process_chain& operator=(const process_chain&) = delete;
    ~process_chain()
    {
        for (std::size_t i = 0; i < handles.size(); ++i)
            end(i);
    }

    void end(std::size_t link) const
    {
        ::TerminateProcess(handles[link].get(), 0);
        EXPECT_TRUE(ended(link)) << link;
    }

    /// The links among the processes of a tree, in its order. The console's process below the first link is none;
    /// it comes and goes as it likes.
    std::vector<unsigned long> links_in(const tree& of) const
    {
        std::vector<unsigned long> links;
        for (const unsigned long pid : ids_of(of))
            if (std::ranges::find(pids, pid) != pids.end())
                links.push_back(pid);
        return links;
    }

    bool runs(std::size_t link) const
    {
        return ::WaitForSingleObject(handles[link].get(), 0) == WAIT_TIMEOUT;
    }
    bool ended(std::size_t link) const
    {
        constexpr std::chrono::milliseconds limit = kf::test::kDeadline;
        return ::WaitForSingleObject(handles[link].get(), static_cast<DWORD>(limit.count())) == WAIT_OBJECT_0;
    }

private:
    std::vector<unsigned long> read_ids(std::size_t length) const
    {
        std::string text;
        EXPECT_TRUE(kf::test::wait_until(
            [&]
            {
                char buffer[512];
                if (const int taken = ReadPipe(first_.pipes->stdoutRead, buffer, sizeof buffer); taken > 0)
                    text.append(buffer, static_cast<std::size_t>(taken));
                return static_cast<std::size_t>(std::ranges::count(text, '\n')) >= length;
            }));
        std::istringstream lines(text);
        std::vector<unsigned long> found{std::istream_iterator<unsigned long>(lines), {}};
        found.resize(length); // a link that did not start is process 0
        return found;
    }

    const spawned_child first_;

public:
    const std::vector<unsigned long> pids; ///< from the first process down
    std::vector<unique_handle> handles;
};

/// The child of a node that is a link of the chain: the first process has its console's process beside it.
const KProcessTreeNode* next_link(const KProcessTreeNode* node)
{
    for (auto** child = node->children; child != nullptr && *child != nullptr; ++child)
        if ((*child)->name == "spawn_deeper.exe")
            return *child;
    return nullptr;
}

id_set readable;     ///< whose times could be read
std::uint64_t first; ///< when the chain began, in units of 100 ns; whoever is older is a stranger

/// A stranger may name a link as its parent: by an id that another process had before.
void begin_noting(const process_chain& chain)
{
    FILETIME created{}, ended, kernel, user;
    EXPECT_TRUE(::GetProcessTimes(chain.handles[0].get(), &created, &ended, &kernel, &user));
    first = units_of(created);
    readable.clear();
}

BOOL WINAPI note_readable(HANDLE process, FILETIME* created, FILETIME* ended, FILETIME* kernel,
                          FILETIME* user)
{
    const BOOL read = ::GetProcessTimes(process, created, ended, kernel, user);
    if (read && units_of(*created) >= first)
    {
        EXPECT_TRUE(readable.insert(::GetProcessId(process)).second) << "asked twice";
    }
    return read;
}
} // namespace

TEST(CreateProcTreeSnapshot, GivesNothingForZeroAndForNoProcess)
{
    for (const unsigned long pid : {0ul, 0xFFFFFFF0ul})
    {
        KProcessTreeNode left;
        KProcessTreeNode* root = &left;
        EXPECT_FALSE(CreateProcTreeSnapshot(pid, &root));
        EXPECT_EQ(root, nullptr);
    }
}

TEST(CreateProcTreeSnapshot, RefusesNoRoot)
{
    EXPECT_FALSE(CreateProcTreeSnapshot(GetCurrentProcessPid(), nullptr));
    EXPECT_FALSE(CreateProcTreeSnapshot(0, nullptr));
}

TEST(CreateProcTreeSnapshot, GivesAProcessWithoutChildrenNoArray)
{
    const process_chain chain(2);
    const tree leaf = tree_of(chain.pids[1]);
    ASSERT_NE(leaf, nullptr);
    EXPECT_EQ(leaf->name, "spawn_deeper.exe");
    EXPECT_EQ(leaf->pid, chain.pids[1]);
    EXPECT_EQ(leaf->parentPid, chain.pids[0]);
    EXPECT_EQ(leaf->parent, nullptr);
    EXPECT_EQ(leaf->children, nullptr);
}

TEST(CreateProcTreeSnapshot, HoldsAllChildrenOfThisProcess)
{
    const spawned_child one("end_with", "0 60000");
    const process_chain chain(3);
    const spawned_child two("end_with", "0 60000");
    const tree all = tree_of(GetCurrentProcessPid());
    const id_set pids = set_of(all);
    for (const unsigned long pid : {GetProcessPid(one.process), GetProcessPid(two.process), chain.pids[0],
                                    chain.pids[1], chain.pids[2], GetCurrentProcessPid()})
        EXPECT_EQ(pids.count(pid), 1u) << pid;
    EXPECT_EQ(ids_of(all).back(), GetCurrentProcessPid());
}

TEST(CreateProcTreeSnapshot, CutsAChainOfTwentyThreeProcesses)
{
    const process_chain chain(23);
    const tree cut = tree_of(chain.pids[0]);
    ASSERT_NE(cut, nullptr);
    const KProcessTreeNode* node = cut.get();
    for (std::size_t depth = 0; depth <= 20; ++depth)
    {
        ASSERT_NE(node, nullptr) << depth;
        EXPECT_EQ(node->pid, chain.pids[depth]);
        if (depth < 20)
            node = next_link(node);
    }
    ASSERT_NE(node->children, nullptr); // its child is known, but below the last level
    EXPECT_EQ(node->children[0], nullptr);

    TerminateProcTree(cut.get(), true);
    for (std::size_t link = 0; link < 21; ++link)
        EXPECT_TRUE(chain.ended(link)) << link;
    EXPECT_TRUE(chain.runs(21));
    EXPECT_TRUE(chain.runs(22));
    EXPECT_EQ(tree_of(chain.pids[21])->children[0]->pid, chain.pids[22]);
}

TEST(CreateProcTreeSnapshot, OpensWithLessWhenItMayNotAskForMore)
{
    const process_rows system({{L"a.exe", 1, 0, 10, opening::limited},
                               {L"b.exe", 2, 1, 1ull << 40, opening::full},
                               {L"c.exe", 3, 1, 12, opening::none},
                               {L"d.exe", 4, 3, 13, opening::full},
                               {L"e.exe", 5, 1, 14, opening::timeless},
                               {L"f.exe", 6, 1, 9, opening::full},
                               {L"g.exe", 7, 1, 15, opening::limited},
                               {L"h.exe", 8, 99, 16, opening::full}});
    const std::size_t before = handle_count();
    EXPECT_EQ(ids_of(tree_of(1)), (ids{2, 7, 1}));
    EXPECT_EQ(handle_count(), before);
    constexpr DWORD full = PROCESS_QUERY_INFORMATION;
    constexpr DWORD limited = PROCESS_QUERY_LIMITED_INFORMATION;
    EXPECT_EQ(process_rows::attempts(), (std::vector<process_rows::attempt>{{full, 1},
                                                                            {limited, 1},
                                                                            {full, 2},
                                                                            {full, 3},
                                                                            {limited, 3},
                                                                            {full, 5},
                                                                            {full, 6},
                                                                            {full, 7},
                                                                            {limited, 7}}));
}

TEST(CreateProcTreeSnapshot, TakesEveryReadableChildOfAProcessThatCannotBeOpened)
{
    for (const opening root : {opening::none, opening::timeless})
    {
        const process_rows system({{L"a.exe", 1, 0, 10, root},
                                   {L"b.exe", 2, 1, 5, opening::full},
                                   {L"c.exe", 3, 1, 5, opening::none}});
        EXPECT_EQ(ids_of(tree_of(1)), (ids{2, 1}));
    }
}

TEST(CreateProcTreeSnapshot, ReadsTheTimesOfItsOwnProcessesOnceEach)
{
    const process_chain chain(4);
    begin_noting(chain);
    const import_hook times("GetProcessTimes", &note_readable);
    EXPECT_EQ(set_of(tree_of(chain.pids[0])), readable);
    EXPECT_GE(readable.size(), chain.pids.size());
}

TEST(CreateProcTreeSnapshot, IsWholeWhenOneProcessOpensOnlyInPart)
{
    const process_chain chain(4);
    const std::vector<unsigned long> whole = chain.links_in(tree_of(chain.pids[0]));
    call_fault<"OpenProcess", HANDLE WINAPI(DWORD, BOOL, DWORD)> opens(nullptr, ERROR_ACCESS_DENIED);
    const std::size_t before = handle_count();
    const int calls = fail_each_call(opens, fault_span::single,
                                     [&] { EXPECT_EQ(chain.links_in(tree_of(chain.pids[0])), whole); });
    EXPECT_GE(calls, 4);
    EXPECT_EQ(handle_count(), before);
}

TEST(CreateProcTreeSnapshot, HoldsWhatIsReadableWhereverProcessesStopOpening)
{
    const process_chain chain(4);
    begin_noting(chain);
    const import_hook times("GetProcessTimes", &note_readable);
    call_fault<"OpenProcess", HANDLE WINAPI(DWORD, BOOL, DWORD)> opens(nullptr, ERROR_ACCESS_DENIED);
    const std::size_t before = handle_count();
    const int calls = fail_each_call(opens, fault_span::lasting,
                                     [&]
                                     {
                                         readable.clear();
                                         const id_set pids = set_of(tree_of(chain.pids[0]));
                                         readable.insert(chain.pids[0]); // the root stays, whatever it hides
                                         EXPECT_EQ(pids, readable);
                                     });
    EXPECT_GE(calls, 4);
    EXPECT_EQ(handle_count(), before);
}

TEST(CreateProcTreeSnapshot, LosesTheProcessWhoseTimesFailAndWhatIsBelowIt)
{
    const process_chain chain(4);
    const std::vector<unsigned long> whole = chain.links_in(tree_of(chain.pids[0]));
    DWORD lost = 0;
    call_fault<"GetProcessTimes", BOOL WINAPI(HANDLE, FILETIME*, FILETIME*, FILETIME*, FILETIME*)> times(
        [&](HANDLE process, FILETIME* created, FILETIME*, FILETIME*, FILETIME*)
        {
            lost = ::GetProcessId(process);
            *created = {0xFFFFFFFF, 0x7FFFFFFF}; // what a failed call leaves counts for nothing
            return FALSE;
        });
    const std::size_t before = handle_count();
    const int calls =
        fail_each_call(times, fault_span::single,
                       [&]
                       {
                           const auto links = chain.links_in(tree_of(chain.pids[0]));
                           auto expected = whole; // the last link first
                           const auto link = std::ranges::find(expected, lost);
                           if (times.happened() && lost != chain.pids[0] && link != expected.end())
                               expected.erase(expected.begin(), link + 1);
                           EXPECT_EQ(links, expected);
                       });
    EXPECT_GE(calls, 4);
    EXPECT_EQ(handle_count(), before);
}

TEST(CreateProcTreeSnapshot, EndsAboveAProcessThatWentWhileItWasBuilt)
{
    const process_chain chain(4);
    static const process_chain* ending = nullptr;
    ending = &chain;
    const import_hook opens(
        "OpenProcess",
        +[](DWORD wanted, BOOL inherit, DWORD pid) -> HANDLE WINAPI
        {
            if (pid != ending->pids[2])
                return ::OpenProcess(wanted, inherit, pid);
            ending->end(2);
            ::SetLastError(ERROR_INVALID_PARAMETER);
            return nullptr;
        });
    const tree rest = tree_of(chain.pids[0]);
    const id_set pids = set_of(rest);
    EXPECT_TRUE(pids.count(chain.pids[0]) == 1 && pids.count(chain.pids[1]) == 1);
    EXPECT_TRUE(pids.count(chain.pids[2]) == 0 && pids.count(chain.pids[3]) == 0);
}

TEST(ProcTreeSnapshotPidList, NamesRealDescendantsFromTheLastToTheFirst)
{
    const process_chain chain(5);
    EXPECT_EQ(chain.links_in(tree_of(chain.pids[0])),
              std::vector<unsigned long>(chain.pids.rbegin(), chain.pids.rend()));
}

TEST(TerminateProcTree, EndsEveryProcessTheLeavesFirst)
{
    const process_chain chain(4);
    const tree all = tree_of(chain.pids[0]);
    static ids opened;
    opened.clear();
    {
        const import_hook opens(
            "OpenProcess",
            +[](DWORD wanted, BOOL inherit, DWORD pid) -> HANDLE WINAPI
            {
                EXPECT_EQ(wanted, static_cast<DWORD>(PROCESS_TERMINATE));
                opened.push_back(pid);
                return ::OpenProcess(wanted, inherit, pid);
            });
        TerminateProcTree(all.get(), false);
    }
    EXPECT_EQ(opened, ids_of(all));
    for (std::size_t link = 0; link < 4; ++link)
    {
        EXPECT_TRUE(chain.ended(link));
        DWORD code = 1;
        EXPECT_TRUE(::GetExitCodeProcess(chain.handles[link].get(), &code));
        EXPECT_EQ(code, 0u);
    }
}

TEST(TreeWalks, CarryOnBehindAProcessThatIsGone)
{
    const process_chain chain(5);
    const tree all = tree_of(chain.pids[0]);
    chain.end(2);
    SetProcTreePriority(all.get(), 3);
    SetProcTreeAffinityMask(all.get(), 1);
    for (const std::size_t link : {0u, 1u, 3u, 4u})
    {
        EXPECT_EQ(::GetPriorityClass(chain.handles[link].get()), static_cast<DWORD>(HIGH_PRIORITY_CLASS));
        EXPECT_EQ(GetProcessAffinityMask(chain.pids[link]), 1u);
    }
    TerminateProcTree(all.get(), false);
    for (std::size_t link = 0; link < 5; ++link)
        EXPECT_TRUE(chain.ended(link));
}

TEST(TreeWalks, CarryOnWhicheverProcessCannotBeOpened)
{
    const process_chain chain(3);
    const tree all = tree_of(chain.pids[0]);
    call_fault<"OpenProcess", HANDLE WINAPI(DWORD, BOOL, DWORD)> opens(nullptr, ERROR_ACCESS_DENIED);
    const std::size_t before = handle_count();
    for (const int level : {1, 3})
        EXPECT_GE(fail_each_call(opens, fault_span::single, [&] { SetProcTreePriority(all.get(), level); }),
                  3);
    for (std::size_t link = 0; link < 3; ++link)
        EXPECT_EQ(::GetPriorityClass(chain.handles[link].get()), static_cast<DWORD>(HIGH_PRIORITY_CLASS));
    EXPECT_GE(fail_each_call(opens, fault_span::lasting, [&] { SetProcTreeAffinityMask(all.get(), 1); }), 3);
    for (const unsigned long pid : chain.pids)
        EXPECT_EQ(GetProcessAffinityMask(pid), 1u);
    EXPECT_EQ(handle_count(), before);
}

TEST(TreeWalks, OpenEachProcessForItsPurposeTheLeavesFirst)
{
    KProcessTreeNode root{"", 1, 0, nullptr, nullptr}, one{"", 9, 1, &root, nullptr};
    KProcessTreeNode two{"", 2, 1, &root, nullptr}, below{"", 4, 2, &two, nullptr};
    KProcessTreeNode* of_root[] = {&one, &two, nullptr};
    KProcessTreeNode* of_two[] = {&below, nullptr};
    root.children = of_root;
    two.children = of_two;
    const process_rows system({});
    TerminateProcTree(&root, false);
    SetProcTreePriority(&root, 3);
    SetProcTreeAffinityMask(&root, 1);
    std::vector<process_rows::attempt> expected;
    constexpr DWORD rights[] = {PROCESS_TERMINATE, PROCESS_SET_INFORMATION, PROCESS_SET_INFORMATION};
    for (const DWORD access : rights)
        for (const DWORD pid : {9u, 4u, 2u, 1u})
            expected.push_back({access, pid});
    EXPECT_EQ(process_rows::attempts(), expected);
}

// KEPT[tree-acts-on-ids]
TEST(TreeWalks, ActOnWhicheverProcessHasTheIdNow)
{
    // The tree is of another time: another program, a parent that never was.
    const process_chain chain(1);
    KProcessTreeNode stale{"gone.exe", static_cast<std::uint32_t>(chain.pids[0]), 99, nullptr, nullptr};
    SetProcTreePriority(&stale, 1);
    EXPECT_EQ(::GetPriorityClass(chain.handles[0].get()), static_cast<DWORD>(IDLE_PRIORITY_CLASS));
    SetProcTreeAffinityMask(&stale, 1);
    EXPECT_EQ(GetProcessAffinityMask(chain.pids[0]), 1u);
    TerminateProcTree(&stale, true);
    EXPECT_TRUE(chain.ended(0));
}

TEST(TreeWalks, TakeNoTree)
{
    TerminateProcTree(nullptr, true);
    SetProcTreeAffinityMask(nullptr, 1);
    SetProcTreePriority(nullptr, 1);
}
