/// What is asked of a list of processes.

#include "KFramework/process/snapshot_rows.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace
{
using kf::process::find_child;
using kf::process::find_parent;
using kf::process::listed_names;
using kf::process::owned_snapshot;
using texts = std::vector<std::string>;

/// Process 5 with children, and a grandchild.
struct some_processes : owned_snapshot
{
    some_processes()
    {
        add("host.exe", 5, 1);
        add("Render.exe", 10, 5);
        add("A tool.exe", 11, 5);
        add("render.exe", 12, 5);
        add("deep.exe", 13, 10);
        add("host.exe", 5, 2);
    }
    void add(const char* name, std::uint32_t pid, std::uint32_t parent)
    {
        rows.push_back(new KClientLib::KProcessSnapshot{name, pid, parent});
    }
    std::uint32_t child(const char* names) const { return find_child(rows, 5, listed_names(names)); }
};
} // namespace

TEST(ListedNames, SplitsAtSingleBlanksAndTakesBlanksInsideQuotes)
{
    EXPECT_EQ(listed_names("a.exe b.exe"), (texts{"a.exe", "b.exe"}));
    EXPECT_EQ(listed_names("\"my a.exe\" x.exe \"your b.exe\""), (texts{"my a.exe", "x.exe", "your b.exe"}));
    EXPECT_EQ(listed_names("a.exe\tb.exe"), (texts{"a.exe\tb.exe"}));
    EXPECT_EQ(listed_names("a  b"), (texts{"a", "", "b"}));
    EXPECT_EQ(listed_names(""), texts{});
}

// KEPT[child-name-escapes]
TEST(ListedNames, ReadsEscapesBehindTheChangeOfCaseAndEndsAtAnOpenQuote)
{
    EXPECT_EQ(listed_names("A\\\"B.EXE \\ c"), (texts{"a\"b.exe", " c"}));
    EXPECT_EQ(listed_names("a\\Nb a\\\\b"), (texts{"a\nb", "a\\b"}));
    EXPECT_EQ(listed_names("a.exe \"b.exe c.exe"), (texts{"a.exe"}));
}

TEST(FindChild, GivesTheFirstRowWithAnyOfTheNames)
{
    const some_processes all;
    EXPECT_EQ(all.child("render.exe"), 10u);
    EXPECT_EQ(all.child("\"a TOOL.exe\" RENDER.EXE"), 10u); // the order of the rows decides
    EXPECT_EQ(all.child("none.exe \"a tool.exe\""), 11u);
}

TEST(FindChild, NeverGivesAGrandchildOrTheProcessItself)
{
    const some_processes all;
    EXPECT_EQ(all.child("deep.exe"), 0u);
    EXPECT_EQ(all.child("host.exe"), 0u);
    EXPECT_EQ(find_child(all.rows, 10, {"deep.exe"}), 13u);
}

TEST(FindChild, TakesZeroForACreatorLikeAnyOther)
{
    some_processes all;
    all.add("init.exe", 1, 0);
    EXPECT_EQ(find_child(all.rows, 0, {"init.exe"}), 1u);
    EXPECT_EQ(find_child(all.rows, 0, {"host.exe"}), 0u);
}

// KEPT[child-whole-names]
TEST(FindChild, ComparesWholeNames)
{
    const some_processes all;
    for (const char* const names :
         {"render", "render.ex", "ender.exe", "render.exe.bak", "*.exe", "tool.exe", ""})
        EXPECT_EQ(all.child(names), 0u) << names;
}

TEST(FindParent, TakesTheFirstRowOfTheProcess)
{
    const some_processes all;
    EXPECT_EQ(find_parent(all.rows, 5), 1u);
    EXPECT_EQ(find_parent(all.rows, 13), 10u);
    EXPECT_EQ(find_parent(all.rows, 99), 0u);
}
