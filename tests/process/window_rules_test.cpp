/// Which windows count, and how searches below windows are put together.

#include "KFramework/process/window_rules.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace
{
using namespace kf::process;

constexpr std::uint32_t kPopup = 0x80000000;
constexpr std::uint32_t kTool = 0x80;

/// A made-up window that notes what it is asked.
class made_up final : public window_facts
{
public:
    explicit made_up(std::string class_name, std::uint32_t style = 0, std::string title = "")
        : class_(std::move(class_name)), title_(std::move(title)), style_(style)
    {
    }
    made_up(bool owner, bool visible) : owner_(owner), visible_(visible) {}

    bool has_owner() const override { return owner_; }
    bool visible() const override { return visible_; }
    std::string class_name() const override { return note("class ", class_); }
    std::uint32_t style() const override
    {
        note("style ", "");
        return style_;
    }
    std::string title() const override { return note("title ", title_); }

    mutable std::string asked;

private:
    std::string note(const char* what, const std::string& answer) const
    {
        asked += what;
        return answer;
    }

    std::string class_, title_;
    std::uint32_t style_ = 0;
    bool owner_ = false, visible_ = false;
};

/// Windows inside windows: the text of a line is a name, a style letter (p for pop-ups) and a class.
class made_up_windows
{
public:
    struct window
    {
        char name;
        char parent;
        std::uint32_t style = 0;
        std::string class_name = "C";
    };

    explicit made_up_windows(std::vector<window> windows) : windows_(std::move(windows)) {}

    std::string find(int depth, int max_depth, bool popups_only = false,
                     std::vector<std::string> prefixes = {})
    {
        const child_search search{max_depth, popups_only, std::move(prefixes),
                                  [this](HWND__* parent) { return list(name_of(parent)); }};
        std::string names;
        for (const child_window& found : find_children(search, handle('.'), depth))
            names += name_of(found.window);
        return names;
    }

private:
    static HWND__* handle(char name) { return reinterpret_cast<HWND__*>(static_cast<std::uintptr_t>(name)); }
    static char name_of(HWND__* window)
    {
        return static_cast<char>(reinterpret_cast<std::uintptr_t>(window));
    }

    /// All levels, each window before what is inside it, as the system lists them.
    std::vector<child_window> list(char parent) const
    {
        std::vector<child_window> all;
        for (const window& one : windows_)
        {
            if (one.parent != parent)
                continue;
            all.push_back({handle(one.name), one.style, one.class_name});
            for (const child_window& below : list(one.name))
                all.push_back(below);
        }
        return all;
    }

    std::vector<window> windows_;
};

made_up_windows nest()
{
    return made_up_windows({{'a', '.'}, {'b', 'a'}, {'c', 'b'}});
}
} // namespace

TEST(CountsAsMain, AsksForAVisibleWindowWithoutAnOwner)
{
    EXPECT_TRUE(counts_as_main(made_up(false, true)));
    EXPECT_FALSE(counts_as_main(made_up(false, false)));
    EXPECT_FALSE(counts_as_main(made_up(true, true)));
    EXPECT_FALSE(counts_as_main(made_up(true, false)));
}

TEST(CountsAlways, AsksForNothing)
{
    const made_up window("any");
    EXPECT_TRUE(counts_always(window));
    EXPECT_EQ(window.asked, "");
}

// KEPT[forms-marker]
TEST(CountsForForms, FindsTheMarkerAnywhereInTheClassOfATitledWindow)
{
    for (const char* const marked :
         {"WindowsForms10.Window", "AWindowsForms10.Window.8", "WindowsForms10.Window.8.app.0.1"})
    {
        EXPECT_TRUE(counts_for_forms(made_up(marked, 0, "t"))) << marked;
        EXPECT_FALSE(counts_for_forms(made_up(marked, 0, ""))) << marked;
    }
    for (const char* const other : {"WindowsForms10", "windowsforms10.window", "WindowsForms11.Window", ""})
        EXPECT_FALSE(counts_for_forms(made_up(other, 0, "t"))) << other;
}

// KEPT[qt-classes]
TEST(CountsForQt, TakesTheTwoClassesWithoutAskingFurther)
{
    for (const char* const qt : {"Qt5", "Qt5x", "Qt4", "Qt4QWindowIcon", "Qt5152QWindowToolSaveBits"})
    {
        const made_up window(qt);
        EXPECT_TRUE(counts_for_qt(window)) << qt;
        EXPECT_EQ(window.asked, "class ") << qt;
    }
    for (const char* const other : {"Qt6", "Qt", "qt5", "AQt5", ""})
        EXPECT_FALSE(counts_for_qt(made_up(other, kPopup, "t"))) << other;
}

// KEPT[window-tool-bit]
TEST(CountsForQt, TakesTitledPopUpsWithTheToolBitOfTheStyle)
{
    EXPECT_TRUE(counts_for_qt(made_up("Qt6", kPopup | kTool, "t")));
    EXPECT_TRUE(counts_for_qt(made_up("C", ~0u, "t")));
    EXPECT_FALSE(counts_for_qt(made_up("C", kPopup | kTool, "")));
    EXPECT_FALSE(counts_for_qt(made_up("C", kPopup, "t")));
    EXPECT_FALSE(counts_for_qt(made_up("C", kTool, "t")));
    EXPECT_FALSE(counts_for_qt(made_up("C", ~kTool, "t")));
}

TEST(FindChildren, ListsAllLevelsOnceAtDepthZero)
{
    EXPECT_EQ(nest().find(0, 0), "abc");
    EXPECT_EQ(made_up_windows({}).find(0, 3), "");
    EXPECT_EQ(nest().find(0, -1), "abc");
}

// KEPT[child-duplicates]
TEST(FindChildren, SearchesAgainBelowEachWindowAndAppendsWhatItFinds)
{
    EXPECT_EQ(nest().find(0, 1), "abc"
                                 "bc"
                                 "c");
    EXPECT_EQ(nest().find(0, 2), "abc"
                                 "bcc"
                                 "c");
    EXPECT_EQ(nest().find(0, 9), "abc"
                                 "bcc"
                                 "c"); // 2^3 - 1: nothing is left to search
    made_up_windows two({{'a', '.'}, {'x', 'a'}, {'b', '.'}, {'y', 'b'}});
    EXPECT_EQ(two.find(0, 1), "axby"
                              "x"
                              "y");
}

TEST(FindChildren, CountsItsDepthUpToTheLimit)
{
    EXPECT_EQ(nest().find(1, 2), "abc"
                                 "bc"
                                 "c");
    EXPECT_EQ(nest().find(2, 2), "abc");
    EXPECT_EQ(nest().find(2147483647, 2147483647), "abc");
}

TEST(FindChildren, TakesPopUpsAloneWhenToldAndSearchesBelowThoseOnly)
{
    made_up_windows mixed({{'a', '.', kPopup}, {'b', 'a', 0x40000000}, {'c', 'b', kPopup}, {'d', '.'}});
    EXPECT_EQ(mixed.find(0, 0), "abcd");
    EXPECT_EQ(mixed.find(0, 0, true), "ac");
    EXPECT_EQ(mixed.find(0, 1, true), "ac"
                                      "c");
}

TEST(FindChildren, TakesAWindowOnceHoweverManyPrefixesFit)
{
    made_up_windows classes({{'a', '.', 0, "Edit"}, {'b', '.', 0, "Button"}, {'c', '.', 0, "XEdit"}});
    EXPECT_EQ(classes.find(0, 0, false, {"Ed", "Edit"}), "a");
    EXPECT_EQ(classes.find(0, 0, false, {"But", "Ed"}), "ab");
    EXPECT_EQ(classes.find(0, 0, false, {"edit"}), "");
    EXPECT_EQ(classes.find(0, 0, false, {""}), "abc");
}

// KEPT[child-prefixes-late]
TEST(FindChildren, AsksForPrefixesWhileListingOnlyWithoutFurtherSearches)
{
    made_up_windows outer({{'a', '.', 0, "Pane"}, {'b', 'a', 0, "Edit"}});
    EXPECT_EQ(outer.find(0, 0, false, {"Edit"}), "b");
    EXPECT_EQ(outer.find(0, 1, false, {"Edit"}), "bb"); // found again below the pane
    EXPECT_EQ(outer.find(1, 1, false, {"Edit"}), "ab"); // not the outermost search: nothing is filtered
    EXPECT_EQ(outer.find(1, 0, false, {"Edit"}), "b");
    EXPECT_EQ(outer.find(0, -1, false, {"Edit"}), "b");
    EXPECT_EQ(outer.find(1, -1, false, {"Edit"}), "ab");
}
