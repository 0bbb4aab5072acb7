/// Finding the windows of a program that shows real ones.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/process/window_child_win.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <new>
#include <string>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using kf::test::call_fault;
using kf::test::fault_span;
using kf::test::import_hook;
using kf::test::listed_windows;
using kf::test::opened_windows;
using kf::test::spawned_child;
using windows = std::vector<HWND>;

// Styles in the helper's notation: with a title bar or pop-up, shown or hidden; "tool" has the bit 0x80.
const std::string kShown = "10CF0000";
const std::string kHidden = "00CF0000";
const std::string kPopup = "80000000";
const std::string kToolPopup = "80000080";

/// What the system lists in place of its windows, and how the library's callback answered.
struct listing
{
    static inline windows offered;
    static inline int calls = 0;
    static inline int returned = 0;

    static BOOL WINAPI enumerate(WNDENUMPROC take, LPARAM parameter)
    {
        calls = returned = 0;
        for (const HWND window : offered)
        {
            ++calls;
            const BOOL more = take(window, parameter);
            ++returned;
            if (!more)
                return FALSE;
        }
        return TRUE;
    }
    static BOOL WINAPI enumerate_children(HWND, WNDENUMPROC take, LPARAM parameter)
    {
        return enumerate(take, parameter);
    }
};

/// Expects those windows in the system's order, which the display may still be settling: the search counts when
/// the order was the same before and after it.
template <class Search>
void expect_in_order(const opened_windows& program, const std::vector<std::size_t>& indexes, Search search)
{
    windows expected, found;
    EXPECT_TRUE(kf::test::wait_until(
        [&]
        {
            expected = program.in_order(indexes);
            found = search(program.pid());
            return expected == program.in_order(indexes);
        }));
    EXPECT_EQ(found, expected);
}
} // namespace

TEST(GetProcessMainWindow, IsTheVisibleOneWithoutAnOwner)
{
    const opened_windows program({"C/hidden/" + kHidden, "C/main/" + kShown, "C/dialog/" + kShown + "//o1"});
    EXPECT_EQ(GetProcessMainWindow(program.pid()), program[1]);
}

TEST(GetProcessMainWindow, IsTheFirstInTheSystemsOrder)
{
    const opened_windows program({"C/a/" + kShown, "C/b/" + kShown, "C/c/" + kShown});
    EXPECT_EQ(std::ranges::count(program.handles, GetProcessMainWindow(program.pid())), 1);
    const import_hook hook("EnumWindows", &listing::enumerate);
    listing::offered = {nullptr, program[1], program[0], program[2]};
    EXPECT_EQ(GetProcessMainWindow(program.pid()), program[1]);
    EXPECT_EQ(listing::calls, 2); // and it looks no further
}

TEST(GetProcessMainWindow, IsNoneWhenTheOnlyVisibleWindowHasAnOwner)
{
    const opened_windows program({"C/owner/" + kHidden, "C/dialog/" + kShown + "//o0"});
    EXPECT_TRUE(::IsWindowVisible(program[1]));
    EXPECT_EQ(GetProcessMainWindow(program.pid()), nullptr);
    EXPECT_NE(GetProcessAnyWindow(program.pid()), nullptr);
}

TEST(GetProcessMainWindow, IsNoneWhenNothingIsVisible)
{
    const opened_windows program({"C/owner/" + kHidden, "C/owned/" + kHidden + "//o0"});
    EXPECT_EQ(GetProcessMainWindow(program.pid()), nullptr);
}

TEST(GetProcessAnyWindow, IsTheFirstWindowOfWhateverKind)
{
    const opened_windows program({"C//" + kHidden});
    const windows all = listed_windows(program.pid());
    EXPECT_EQ(std::ranges::count(all, program[0]), 1);
    EXPECT_EQ(std::ranges::count(all, GetProcessAnyWindow(program.pid())), 1);
    const import_hook hook("EnumWindows", &listing::enumerate);
    listing::offered = {program[0], nullptr};
    EXPECT_EQ(GetProcessAnyWindow(program.pid()), program[0]);
    EXPECT_EQ(listing::calls, 1);
}

TEST(GetProcessAnyWindow, TakesNoWindowThatIsGoneForOneOfProcessZero)
{
    const import_hook hook("EnumWindows", &listing::enumerate);
    listing::offered = {reinterpret_cast<HWND>(0x7FFE0)};
    EXPECT_EQ(GetProcessAnyWindow(0), nullptr);
    EXPECT_TRUE(GetQtProcessMainWindows(0).empty());
}

TEST(ProcessWindows, AreNoneForAConsoleProgramAndForNoProcess)
{
    const spawned_child console("end_with", "0 60000");
    for (const unsigned long pid : {GetProcessPid(console.process), 0ul, 0xFFFFFFF0ul})
    {
        EXPECT_EQ(GetProcessMainWindow(pid), nullptr);
        EXPECT_EQ(GetProcessAnyWindow(pid), nullptr);
        EXPECT_TRUE(GetWin10ProcessMainWindows(pid).empty());
        EXPECT_TRUE(GetQtProcessMainWindows(pid).empty());
    }
}

TEST(ProcessWindows, AreThoseOfTheNamedProcessOnly)
{
    const opened_windows one({"Qt5/one/" + kShown});
    const opened_windows two({"Qt5/two/" + kShown});
    EXPECT_EQ(GetProcessMainWindow(one.pid()), one[0]);
    EXPECT_EQ(GetProcessMainWindow(two.pid()), two[0]);
    EXPECT_EQ(GetQtProcessMainWindows(one.pid()), one.handles);
    EXPECT_EQ(GetQtProcessMainWindows(two.pid()), two.handles);
}

TEST(GetWin10ProcessMainWindows, TakesTitledWindowsOfAMarkedClass)
{
    const opened_windows program(
        {"AWindowsForms10.Window.8/titled/" + kShown, "AWindowsForms10.Window.8//" + kShown,
         "WindowsForms10.Window/hidden/" + kHidden, "WindowsForms11.Window/t/" + kShown, "Qt5x/t/" + kShown,
         "WindowsForms10.Window.20008/owned/" + kShown + "//o0"});
    expect_in_order(program, {0, 2, 5}, &GetWin10ProcessMainWindows);
}

TEST(GetWin10ProcessMainWindows, ReadsTheClassToItsLastCharacter)
{
    const opened_windows program(
        {"@234+WindowsForms10.Window/@256/" + kShown, "@235+WindowsForms10.Windo/t/" + kShown});
    EXPECT_EQ(GetWin10ProcessMainWindows(program.pid()), windows{program[0]});
}

TEST(GetWin10ProcessMainWindows, ReadsNoMoreThan255CharactersOfAClass)
{
    const opened_windows program({"C/t/" + kShown});
    static std::wstring name;
    const import_hook hook(
        "GetClassNameW",
        +[](HWND, LPWSTR text, int room) -> int WINAPI
        {
            const std::size_t taken = name.copy(text, static_cast<std::size_t>(room) - 1);
            text[taken] = L'\0';
            return static_cast<int>(taken);
        });
    name = std::wstring(234, L'x') + L"WindowsForms10.Window";
    EXPECT_EQ(std::ranges::count(GetWin10ProcessMainWindows(program.pid()), program[0]), 1);
    name.insert(0, 1, L'x');
    EXPECT_EQ(GetWin10ProcessMainWindows(program.pid()), windows{});
}

TEST(GetQtProcessMainWindows, TakesQtWindowsOfAnyKindAndTitledToolPopUps)
{
    const opened_windows program({
        "Qt5x/t/" + kShown,                    // 0
        "Qt4//" + kHidden,                     // 1
        "Qt6/t/" + kShown,                     // 2 no
        "Qt5//" + kHidden + "//o0",            // 3
        "C/tool/" + kToolPopup,                // 4
        "C//" + kToolPopup,                    // 5 no: untitled
        "C/t/" + kPopup + "/80",               // 6 no: the extended style
        "C/t/" + kPopup,                       // 7 no
        "C/t/00CF0080",                        // 8 no: not a pop-up
        "Qt6/tool/" + kToolPopup,              // 9
        "xQt5/t/" + kShown,                    // 10 no
        "AWindowsForms10.Window.8/t/" + kShown // 11 no
    });
    expect_in_order(program, {0, 1, 3, 4, 9}, &GetQtProcessMainWindows);
}

TEST(GetQtProcessMainWindows, AsksNoQtWindowForItsTitle)
{
    const opened_windows program({"Qt5x/t/" + kShown, "Qt6/t/" + kToolPopup});
    call_fault<"GetWindowTextW", int WINAPI(HWND, LPWSTR, int)> titles(0, ERROR_ACCESS_DENIED);
    titles.lastingly(0);
    EXPECT_EQ(GetQtProcessMainWindows(program.pid()), (windows{program[0]}));
    EXPECT_EQ(titles.calls(), 1);
}

TEST(GetWindowChilds, ListsAThreeLevelNestExactly)
{
    const opened_windows program(
        {"Top/t/" + kShown, "A/t/10000000//c0", "B/t/10000000//c1", "Qt5C/t/10000000//c2"});
    const HWND top = program[0], a = program[1], b = program[2], c = program[3];
    EXPECT_EQ(GetWindowChilds(top, 0, 0, false, {}), (windows{a, b, c}));
    EXPECT_EQ(GetWindowChilds(top, 0, 1, false, {}), (windows{a, b, c, b, c, c}));
    EXPECT_EQ(GetWindowChilds(top, 0, 2, false, {}), (windows{a, b, c, b, c, c, c}));
    EXPECT_EQ(GetWindowChilds(top, 1, 2, false, {}), (windows{a, b, c, b, c, c}));
    EXPECT_EQ(GetWindowChilds(b, 0, 2, false, {}), (windows{c}));
    EXPECT_EQ(GetWindowChilds(c, 0, 2, false, {}), windows{});
    EXPECT_EQ(GetWindowChilds(top, 0, 0, false, {"Qt", "B"}), (windows{b, c}));
    EXPECT_EQ(GetWindowChilds(top, 0, 1, false, {"Qt"}), (windows{c, c, c}));
    EXPECT_EQ(GetWindowChilds(top, 1, 1, false, {"Qt"}), (windows{a, b, c}));
    EXPECT_EQ(GetWindowChilds(top, 0, 0, true, {}), windows{}); // children are no pop-ups
    EXPECT_EQ(GetWindowChilds(reinterpret_cast<HWND>(0x7FFE0), 0, 2, false, {}), windows{});
}

TEST(GetWindowChilds, TakesPopUpsInsideAWindowWhenToldTo)
{
    const opened_windows program(
        {"Top/t/" + kShown, "P/t/" + kPopup + "//m0", "A/t/10000000//c0", "Q/t/" + kPopup + "//m2"});
    const HWND top = program[0], p = program[1], q = program[3];
    windows all = GetWindowChilds(top, 0, 0, false, {});
    EXPECT_EQ(all.size(), 3u);
    windows popups = GetWindowChilds(top, 0, 0, true, {});
    std::erase(all, program[2]);
    EXPECT_EQ(popups, all); // the same order
    std::ranges::sort(popups);
    windows expected{p, q};
    std::ranges::sort(expected);
    EXPECT_EQ(popups, expected);
    EXPECT_EQ(GetWindowChilds(top, 0, 0, true, {"Q"}), (windows{q}));
    EXPECT_EQ(GetWindowChilds(top, 0, 1, true, {}).size(), 2u); // nothing inside the two
}

TEST(GetWindowChilds, SkipsAWindowWhoseReadingRaises)
{
    const opened_windows program(
        {"Top/t/" + kShown, "A/t/10000000//c0", "B/t/10000000//c0", "C/t/10000000//c0"});
    const windows all = GetWindowChilds(program[0], 0, 0, false, {});
    ASSERT_EQ(all.size(), 3u);
    static HWND raising = nullptr;
    const windows rest{all[0], all[2]};
    raising = all[1];
    static const auto raise_for = [](HWND window)
    {
        if (window == raising)
            ::RaiseException(0xC0000005, 0, 0, nullptr);
    };
    {
        const import_hook hook(
            "GetWindowInfo",
            +[](HWND window, PWINDOWINFO info) -> BOOL WINAPI
            {
                raise_for(window);
                return ::GetWindowInfo(window, info);
            });
        EXPECT_EQ(GetWindowChilds(program[0], 0, 0, false, {}), rest);
    }
    {
        const import_hook hook(
            "GetClassNameW",
            +[](HWND window, LPWSTR text, int room) -> int WINAPI
            {
                raise_for(window);
                return ::GetClassNameW(window, text, room);
            });
        EXPECT_EQ(GetWindowChilds(program[0], 0, 0, false, {}), rest);
    }
    const import_hook hook(
        "GetWindowTextW",
        +[](HWND window, LPWSTR text, int room) -> int WINAPI
        {
            raise_for(window);
            return ::GetWindowTextW(window, text, room);
        });
    EXPECT_EQ(GetWindowChilds(program[0], 0, 0, false, {}), rest);
}

TEST(GetWindowChilds, KeepsAWindowThatCannotBeRead)
{
    const import_hook hook("EnumChildWindows", &listing::enumerate_children);
    const HWND gone = reinterpret_cast<HWND>(0x7FFE0);
    listing::offered = {gone};
    EXPECT_EQ(GetWindowChilds(nullptr, 0, 0, false, {}), (windows{gone}));
    EXPECT_EQ(GetWindowChilds(nullptr, 0, 0, true, {}), windows{});
    EXPECT_EQ(GetWindowChilds(nullptr, 0, 0, false, {"C"}), windows{});
}

TEST(WindowEnumerations, LetNoExceptionCrossTheSystem)
{
    const opened_windows program({"@234+WindowsForms10.Window/@200/" + kShown});
    const import_hook top("EnumWindows", &listing::enumerate);
    const import_hook children("EnumChildWindows", &listing::enumerate_children);
    listing::offered = {program[0], program[0]};
    call_fault<"_Znwy", void*(std::size_t)> memory([](std::size_t) -> void* { throw std::bad_alloc(); });
    int thrown = 0;
    const auto tries = [&](auto search)
    {
        return [&memory, &thrown, search]
        {
            listing::calls = listing::returned = 0;
            try
            {
                search();
                EXPECT_FALSE(memory.happened());
            }
            catch (const std::bad_alloc&)
            {
                ++thrown;
                EXPECT_TRUE(memory.happened());
            }
            EXPECT_EQ(listing::returned, listing::calls);
        };
    };
    const unsigned long pid = program.pid();
    EXPECT_GT(fail_each_call(memory, fault_span::single, tries([=] { GetWin10ProcessMainWindows(pid); })), 2);
    EXPECT_GT(fail_each_call(memory, fault_span::single, tries([=] { GetProcessAnyWindow(pid); })), 0);
    EXPECT_GT(
        fail_each_call(memory, fault_span::single, tries([] { GetWindowChilds(nullptr, 0, 1, false, {}); })),
        2);
    EXPECT_GT(thrown, 5);
}
