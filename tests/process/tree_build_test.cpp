/// From rows to trees: the rules one by one, and a comparison with the walk they are stated as.

#include "KFramework/process/tree_build.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <string>
#include <vector>

namespace
{
using KClientLib::KProcessSnapshot;
using kf::process::build_tree;
using kf::process::owned_snapshot;
using kf::process::tree;
using KFramework::KProcesses::KProcessTreeNode;

using id = std::uint32_t;

/// A made-up system: rows, and creation times that count how often they are asked for.
struct machine
{
    owned_snapshot all;
    std::map<id, std::uint64_t> times; ///< an id without one cannot be read
    std::map<id, int> asked;

    void add(id pid, id parent, std::uint64_t time)
    {
        all.rows.push_back(new KProcessSnapshot{"p" + std::to_string(all.rows.size()), pid, parent});
        times[pid] = time;
    }

    tree build(id root)
    {
        asked.clear();
        return build_tree(all.rows, root,
                          [this](id pid)
                          {
                              ++asked[pid];
                              return time_of(pid);
                          });
    }

    std::uint64_t time_of(id pid) const
    {
        const auto known = times.find(pid);
        return known == times.end() ? 0 : known->second;
    }
};

/// The ids as text: "1(2 3(4))"; an array without any child is "()".
std::string shape(const KProcessTreeNode* node)
{
    if (node == nullptr)
        return "none";
    std::string text = std::to_string(node->pid);
    if (node->children == nullptr)
        return text;
    text += '(';
    for (auto** child = node->children; *child != nullptr; ++child)
        text += (child == node->children ? "" : " ") + shape(*child);
    return text + ')';
}

/// The stated walk, taken literally: two passes over all rows for each node, a time asked for whenever one is needed.
class literal_walk
{
public:
    explicit literal_walk(const machine& system) : system_(system) {}

    std::string text(id pid, std::string above, int depth)
    {
        if (depth >= 21)
            return "";
        const std::uint64_t own = time_of(pid);
        int count = 0;
        const KProcessSnapshot* found = nullptr;
        for (const KProcessSnapshot* row : system_.all.rows)
        {
            count += is_child(*row, pid, own) ? 1 : 0;
            if (found == nullptr && row->pid == pid)
                found = row;
        }
        if (found == nullptr)
            return "";
        std::string node = above + ">" + found->name + "," + std::to_string(found->pid) + "," +
                           std::to_string(found->parentPid);
        if (count == 0)
            return node + ";";
        std::string children;
        for (const KProcessSnapshot* row : system_.all.rows)
            if (is_child(*row, pid, own))
                children += text(row->pid, found->name, depth + 1);
        return node + "[" + children + "]";
    }

    std::set<id> asked;

private:
    bool is_child(const KProcessSnapshot& row, id pid, std::uint64_t own)
    {
        if (row.parentPid != pid || pid == 0)
            return false;
        const std::uint64_t time = time_of(row.pid);
        return time != 0 && time > own;
    }

    std::uint64_t time_of(id pid)
    {
        asked.insert(pid);
        return system_.time_of(pid);
    }

    const machine& system_;
};

/// The same text of a built tree.
std::string literal_text(const KProcessTreeNode* node)
{
    if (node == nullptr)
        return "";
    std::string text = (node->parent == nullptr ? "" : node->parent->name) + ">" + node->name + "," +
                       std::to_string(node->pid) + "," + std::to_string(node->parentPid);
    if (node->children == nullptr)
        return text + ";";
    text += "[";
    for (auto** child = node->children; *child != nullptr; ++child)
        text += literal_text(*child);
    return text + "]";
}

void expect_the_literal_tree(machine& system, id root)
{
    literal_walk literal(system);
    const std::string expected = literal.text(root, "", 0);
    const tree built = system.build(root);
    ASSERT_EQ(literal_text(built.get()), expected);
    std::set<id> asked;
    for (const auto& [pid, times] : system.asked)
    {
        EXPECT_EQ(times, 1) << pid;
        asked.insert(pid);
    }
    ASSERT_EQ(asked, literal.asked);
}

int draw(std::mt19937& random, int from, int to)
{
    return std::uniform_int_distribution<int>(from, to)(random);
}
} // namespace

TEST(BuildTree, GivesNothingForAnIdThatNoRowHas)
{
    machine system;
    EXPECT_EQ(system.build(7), nullptr);
    system.add(1, 0, 1);
    EXPECT_EQ(system.build(7), nullptr);
    EXPECT_EQ(system.asked.count(1), 0u);
}

TEST(BuildTree, GivesALeafNoArrayOfChildren)
{
    machine system;
    system.add(7, 3, 1);
    const tree built = system.build(7);
    EXPECT_EQ(built->name, "p0");
    EXPECT_EQ(built->pid, 7u);
    EXPECT_EQ(built->parentPid, 3u);
    EXPECT_EQ(built->parent, nullptr);
    EXPECT_EQ(built->children, nullptr);
}

TEST(BuildTree, KeepsChildrenInTheOrderOfTheRowsAndNamesTheirParent)
{
    machine system;
    system.add(9, 5, 3);
    system.add(2, 5, 2);
    system.add(5, 1, 1);
    system.add(6, 5, 2);
    system.add(4, 2, 7);
    const tree built = system.build(5);
    EXPECT_EQ(shape(built.get()), "5(9 2(4) 6)");
    EXPECT_EQ(built->children[1]->parent, built.get());
    EXPECT_EQ(built->children[1]->children[0]->parent, built->children[1]);
    EXPECT_EQ(built->children[3], nullptr);
}

// KEPT[tree-strictly-younger]
TEST(BuildTree, CountsOnlyChildrenThatAreYoungerThanTheirParent)
{
    machine system;
    system.add(1, 0, 10);
    system.add(2, 1, 9);  // older: it only inherited the id of its parent
    system.add(3, 1, 10); // as old
    system.add(4, 1, 11);
    EXPECT_EQ(shape(system.build(1).get()), "1(4)");
}

TEST(BuildTree, ComparesTimesWithoutASign)
{
    machine system;
    system.add(1, 0, 1);
    system.add(2, 1, 0x8000000000000000u);
    EXPECT_EQ(shape(system.build(1).get()), "1(2)");
}

// KEPT[tree-unreadable-times]
TEST(BuildTree, LeavesOutAnUnreadableChildAndTakesEveryChildOfAnUnreadableRoot)
{
    machine system;
    system.add(1, 0, 0);
    system.add(2, 1, 1);
    system.add(3, 1, 0);
    system.add(4, 3, 5); // below what is left out
    system.add(5, 2, 2);
    EXPECT_EQ(shape(system.build(1).get()), "1(2(5))");
    EXPECT_EQ(shape(system.build(3).get()), "3(4)");
}

// KEPT[tree-depth]
TEST(BuildTree, CutsTheTreeBelowTwentyOneLevels)
{
    machine system;
    for (id pid = 1; pid <= 25; ++pid)
        system.add(pid, pid - 1, pid);
    system.add(99, 21, 50);
    const tree built = system.build(1);
    const KProcessTreeNode* node = built.get();
    for (int depth = 1; depth <= 20; ++depth)
    {
        ASSERT_NE(node->children, nullptr);
        ASSERT_NE(node->children[0], nullptr);
        node = node->children[0];
        EXPECT_EQ(node->pid, static_cast<id>(depth + 1));
    }
    ASSERT_NE(node->children, nullptr); // it has two children, and a place for each
    for (int slot = 0; slot < 3; ++slot)
        EXPECT_EQ(node->children[slot], nullptr);
    EXPECT_EQ(system.asked.count(22), 1u);
    EXPECT_EQ(system.asked.count(23), 0u);
}

TEST(BuildTree, GivesALastLevelWithoutChildrenNoArray)
{
    machine system;
    for (id pid = 1; pid <= 21; ++pid)
        system.add(pid, pid - 1, pid);
    const tree built = system.build(1);
    const KProcessTreeNode* node = built.get();
    while (node->children != nullptr && node->children[0] != nullptr)
        node = node->children[0];
    EXPECT_EQ(node->pid, 21u);
    EXPECT_EQ(node->children, nullptr);
}

TEST(BuildTree, GivesProcessZeroNoChildren)
{
    machine system;
    system.add(1, 0, 5);
    system.add(0, 1, 6);
    system.add(2, 0, 7);
    EXPECT_EQ(shape(system.build(1).get()), "1(0)");
}

TEST(BuildTree, EndsACycleOfIdsThatWereUsedAgain)
{
    machine system;
    system.add(1, 3, 1);
    system.add(2, 1, 2);
    system.add(3, 2, 3);
    system.add(4, 4, 4); // its own parent
    EXPECT_EQ(shape(system.build(1).get()), "1(2(3))");
    EXPECT_EQ(shape(system.build(2).get()), "2(3)");
    EXPECT_EQ(shape(system.build(4).get()), "4");
    system.times.erase(1);
    EXPECT_EQ(shape(system.build(1).get()), "1(2(3))");
}

// A walk that asks twice would find more children than it has counted, and write behind its array.
TEST(BuildTree, AsksForEachTimeOnceEvenIfTheAnswerWouldChange)
{
    machine system;
    system.add(1, 0, 1);
    for (id pid = 2; pid <= 9; ++pid)
        system.add(pid, 1, 2);
    std::map<id, int> asked;
    // Odd ids become readable at the second time of asking.
    const tree built = build_tree(system.all.rows, 1,
                                  [&](id pid) -> std::uint64_t {
                                      return ++asked[pid] > 1 ? 5 : pid == 1 ? 1 : pid % 2 == 0 ? 2 : 0;
                                  });
    EXPECT_EQ(shape(built.get()), "1(2 4 6 8)");
    for (const auto& [pid, times] : asked)
        EXPECT_EQ(times, 1) << pid;
}

// Looking through all rows for each process would meet the program's time limit.
TEST(BuildTree, TakesThreeHundredThousandProcesses)
{
    machine system;
    constexpr id kProcesses = 300'000;
    for (id pid = 1; pid <= kProcesses; ++pid)
        system.add(pid, (pid + 2) / 4, pid);
    const tree built = system.build(1);
    std::size_t nodes = 0;
    kf::process::for_each_upwards(built.get(), [&](const KProcessTreeNode*) { ++nodes; });
    EXPECT_EQ(nodes, kProcesses);
    EXPECT_EQ(system.asked.size(), kProcesses);
}

TEST(BuildTree, IsTheLiteralWalkForRowsThrownTogether)
{
    std::mt19937 random(20261121);
    for (int round = 0; round < 3000; ++round)
    {
        machine system;
        const int rows = draw(random, 0, 12);
        const int ids = draw(random, 1, 10);
        for (int row = 0; row < rows; ++row)
            system.add(static_cast<id>(draw(random, 0, ids)), static_cast<id>(draw(random, 0, ids)),
                       static_cast<std::uint64_t>(draw(random, 0, 7)));
        expect_the_literal_tree(system, static_cast<id>(draw(random, 0, ids + 1)));
        if (HasFatalFailure())
            FAIL() << "round " << round;
    }
}

TEST(BuildTree, IsTheLiteralWalkForLongChainsWithFaults)
{
    std::mt19937 random(4711);
    for (int round = 0; round < 600; ++round)
    {
        machine system;
        const int rows = draw(random, 15, 45);
        const int faults = draw(random, 0, 6);
        for (int pid = 1; pid <= rows; ++pid)
        {
            const int above = draw(random, 0, 9) < faults ? draw(random, 0, rows) : pid - 1;
            const int time = draw(random, 0, 40) < faults ? draw(random, 0, rows) : pid;
            system.add(static_cast<id>(pid), static_cast<id>(above), static_cast<std::uint64_t>(time));
        }
        for (int repeated = draw(random, 0, faults) / 3; repeated > 0; --repeated)
        {
            const KProcessSnapshot& row =
                *system.all.rows[static_cast<std::size_t>(draw(random, 0, rows - 1))];
            system.add(row.pid, row.parentPid, system.time_of(row.pid));
        }
        std::ranges::shuffle(system.all.rows, random);
        expect_the_literal_tree(system, static_cast<id>(draw(random, 1, 6)));
        if (HasFatalFailure())
            FAIL() << "round " << round;
    }
}
