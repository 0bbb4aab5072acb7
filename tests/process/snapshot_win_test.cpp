/// Lists of processes, and looking up children and parents.

#include "KFramework/platform/handles_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/process/process_rows_win.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/handle_count_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <tuple>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using KClientLib::KProcessSnapshot;
using kf::test::call_fault;
using kf::test::handle_count;
using kf::test::process_rows;
using kf::test::spawned_child;

/// The records of a list; freed with the test.
struct process_list
{
    process_list() = default;
    process_list(const process_list&) = delete;
    process_list& operator=(const process_list&) = delete;
    ~process_list() { DeleteProcsSnapshot(&records); }

    const KProcessSnapshot* find(unsigned long pid) const
    {
        const auto found = std::ranges::find(records, pid, &KProcessSnapshot::pid);
        return found == records.end() ? nullptr : *found;
    }

    using row = std::tuple<std::string, unsigned, unsigned>;
    std::vector<row> rows() const
    {
        std::vector<row> all;
        for (const KProcessSnapshot* record : records)
            all.emplace_back(record->name, record->pid, record->parentPid);
        return all;
    }

    std::vector<KProcessSnapshot*> records;
};

unsigned long pid_of(const spawned_child& child)
{
    return GetProcessPid(child.process);
}
} // namespace

TEST(CreateProcsSnapshot, ListsThisProcessAndItsChildUnderTheirNames)
{
    const spawned_child child("end_with", "0 60000");
    process_list all;
    ASSERT_TRUE(CreateProcsSnapshot(&all.records, 0));
    const KProcessSnapshot* const own = all.find(GetCurrentProcessPid());
    ASSERT_NE(own, nullptr);
    EXPECT_EQ(own->name, "process_test.exe");
    const KProcessSnapshot* const started = all.find(pid_of(child));
    ASSERT_NE(started, nullptr);
    EXPECT_EQ(started->name, "end_with.exe");
    EXPECT_EQ(started->parentPid, GetCurrentProcessPid());
}

TEST(CreateProcsSnapshot, ListsTheChildrenOfOneProcess)
{
    const spawned_child one("end_with", "0 60000");
    const spawned_child two("copy_input", "");
    process_list children;
    ASSERT_TRUE(CreateProcsSnapshot(&children.records, GetCurrentProcessPid()));
    EXPECT_NE(children.find(pid_of(one)), nullptr);
    EXPECT_NE(children.find(pid_of(two)), nullptr);
    for (const KProcessSnapshot* record : children.records)
        EXPECT_EQ(record->parentPid, GetCurrentProcessPid()) << record->name;
}

TEST(CreateProcsSnapshot, KeepsTheSystemsOrderAndWritesNamesInUtf8)
{
    const process_rows system(
        {{L"b.exe", 9, 0}, {L"a\x00e9\xd83d\xde00.exe", 4, 9}, {L"", 7, 9}, {L"c.exe", 4, 0xFFFFFFFF}});
    const std::string a = "a\xc3\xa9\xf0\x9f\x98\x80.exe";
    process_list all;
    ASSERT_TRUE(CreateProcsSnapshot(&all.records, 0));
    EXPECT_EQ(all.rows(), (std::vector<process_list::row>{
                              {"b.exe", 9, 0}, {a, 4, 9}, {"", 7, 9}, {"c.exe", 4, 0xFFFFFFFF}}));
    process_list some;
    ASSERT_TRUE(CreateProcsSnapshot(&some.records, 9));
    EXPECT_EQ(some.rows(), (std::vector<process_list::row>{{a, 4, 9}, {"", 7, 9}}));
    process_list none;
    EXPECT_TRUE(CreateProcsSnapshot(&none.records, 12345)); // the walk started
    EXPECT_TRUE(none.records.empty());
}

// KEPT[snapshot-drops-records]
TEST(CreateProcsSnapshot, DropsTheRecordsOfTheListWithoutFreeingThem)
{
    KProcessSnapshot before{"mine", 1, 2}; // freeing it would end the test
    process_list all;
    all.records.push_back(&before);
    ASSERT_TRUE(CreateProcsSnapshot(&all.records, 0));
    EXPECT_EQ(std::ranges::count(all.records, &before), 0);
    EXPECT_EQ(before.name, "mine");
}

TEST(CreateProcsSnapshot, FailsWithAnEmptyListWhenTheSystemGivesNone)
{
    call_fault<"CreateToolhelp32Snapshot", HANDLE WINAPI(DWORD, DWORD)> snapshots(INVALID_HANDLE_VALUE,
                                                                                  ERROR_ACCESS_DENIED);
    KProcessSnapshot before;
    std::vector<KProcessSnapshot*> list{&before};
    snapshots.lastingly(0);
    EXPECT_FALSE(CreateProcsSnapshot(&list, 0));
    EXPECT_TRUE(list.empty());
    EXPECT_FALSE(CreateProcsSnapshot(nullptr, 0));
    KProcessTreeNode left;
    KProcessTreeNode* root = &left;
    EXPECT_FALSE(CreateProcTreeSnapshot(GetCurrentProcessPid(), &root));
    EXPECT_EQ(root, nullptr);
    EXPECT_EQ(GetParentPid(GetCurrentProcessPid()), 0u);
    EXPECT_EQ(GetChildOfProcess(GetCurrentProcessPid(), "end_with.exe"), 0u);
}

TEST(CreateProcsSnapshot, FailsWhenTheWalkCannotStartAndClosesItsHandle)
{
    process_list all;
    ASSERT_TRUE(CreateProcsSnapshot(&all.records, 0));
    const process_rows system({});
    std::vector<KProcessSnapshot*> list;
    const std::size_t before = handle_count();
    EXPECT_FALSE(CreateProcsSnapshot(&list, 0));
    EXPECT_EQ(GetParentPid(4), 0u);
    EXPECT_EQ(GetChildOfProcess(4, "a.exe"), 0u);
    EXPECT_EQ(handle_count(), before);
}

TEST(GetChildOfProcess, FindsAChildByItsNameInAnyCase)
{
    const spawned_child child("end_with", "0 60000");
    EXPECT_EQ(GetChildOfProcess(GetCurrentProcessPid(), "nothing.exe END_With.EXE"), pid_of(child));
    EXPECT_EQ(GetChildOfProcess(GetCurrentProcessPid(), "end_with"), 0u);
    EXPECT_EQ(GetChildOfProcess(GetCurrentProcessPid(), ""), 0u);
    EXPECT_EQ(GetChildOfProcess(GetCurrentProcessPid(), nullptr), 0u);
    EXPECT_EQ(GetChildOfProcess(0xFFFFFFF0, "end_with.exe"), 0u);
}

TEST(GetChildOfProcess, NeverFindsAGrandchild)
{
    const process_rows system({{L"shell.exe", 10, 5}, {L"Render.exe", 11, 10}});
    EXPECT_EQ(GetChildOfProcess(5, "render.exe"), 0u);
    EXPECT_EQ(GetChildOfProcess(10, "render.exe"), 11u);
}

TEST(GetChildOfProcess, TakesQuotedNamesWithBlanksAndGivesTheFirstProcess)
{
    const process_rows system({{L"other.exe", 9, 5}, {L"Your B.exe", 10, 5}, {L"My A.exe", 11, 5}});
    EXPECT_EQ(GetChildOfProcess(5, "\"my a.exe\" \"your b.exe\""), 10u);
    EXPECT_EQ(GetChildOfProcess(5, "\"my a.exe\""), 11u);
    EXPECT_EQ(GetChildOfProcess(5, "my a.exe"), 0u);
}

TEST(GetParentPid, GivesTheCreatorOfAChild)
{
    const spawned_child child("end_with", "0 60000");
    EXPECT_EQ(GetParentPid(pid_of(child)), GetCurrentProcessPid());
    EXPECT_EQ(GetParentPid(0xFFFFFFF0), 0u);
}

TEST(GetParentPid, GivesThatOfTheFirstEntry)
{
    const process_rows system({{L"a.exe", 10, 5}, {L"b.exe", 10, 6}});
    EXPECT_EQ(GetParentPid(10), 5u);
}

TEST(ProcessLists, LeaveNoHandleOpen)
{
    const auto look = []
    {
        process_list all;
        EXPECT_TRUE(CreateProcsSnapshot(&all.records, 0));
        EXPECT_NE(GetChildOfProcess(1, "x") + GetParentPid(GetCurrentProcessPid()) + 1, 0u);
    };
    look();
    const std::size_t before = handle_count();
    for (int i = 0; i < 5; ++i)
        look();
    EXPECT_EQ(handle_count(), before);
}
