/// Titles, buttons and closing, on the windows of another program.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/window_child_win.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

#include <string>
#include <tuple>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using kf::test::import_hook;
using kf::test::opened_windows;

const std::string kShown = "10CF0000";
const HWND kNoWindow = reinterpret_cast<HWND>(0x7FFE0);

using message = std::tuple<HWND, UINT, WPARAM, LPARAM>;
std::vector<message> sent;

LRESULT WINAPI note_message(HWND window, UINT number, WPARAM first, LPARAM second)
{
    sent.emplace_back(window, number, first, second);
    return 0;
}

bool checked(HWND button)
{
    return ::SendMessageW(button, BM_GETCHECK, 0, 0) == BST_CHECKED;
}
} // namespace

TEST(GetWindowTitle, IsInUtf8)
{
    const opened_windows program({"C/Fen\xc3\xaatre \xf0\x9f\x98\x80/" + kShown, "C//" + kShown});
    EXPECT_EQ(GetWindowTitle(program[0]), "Fen\xc3\xaatre \xf0\x9f\x98\x80");
    EXPECT_EQ(GetWindowTitle(program[1]), "");
}

// KEPT[window-title-room]
TEST(GetWindowTitle, EndsAfter254Characters)
{
    const opened_windows program({"C/@254/" + kShown, "C/@256/" + kShown});
    EXPECT_EQ(GetWindowTitle(program[0]), std::string(254, 'x'));
    EXPECT_EQ(GetWindowTitle(program[1]), std::string(254, 'x'));
}

TEST(GetWindowTitle, IsEmptyForNoWindow)
{
    EXPECT_EQ(GetWindowTitle(nullptr), "");
    EXPECT_EQ(GetWindowTitle(kNoWindow), "");
}

TEST(GetActivePopUp, IsWhatTheSystemSays)
{
    const opened_windows program({"C/t/" + kShown});
    EXPECT_EQ(GetActivePopUp(program[0]), program[0]);
    static HWND asked = nullptr;
    const import_hook hook(
        "GetLastActivePopup",
        +[](HWND window) -> HWND WINAPI
        {
            asked = window;
            return kNoWindow;
        });
    EXPECT_EQ(GetActivePopUp(program[0]), kNoWindow);
    EXPECT_EQ(asked, program[0]);
}

TEST(PressWindowButton, PressesAButton)
{
    opened_windows program({"C/t/" + kShown, "Button/ok/10000000//c0"});
    EXPECT_TRUE(PressWindowButton(program[1]));
    EXPECT_EQ(program.line(), "command");
}

// KEPT[press-checks]
TEST(PressWindowButton, LeavesABoxCheckedWhateverItWasBefore)
{
    opened_windows program({"C/t/" + kShown, "Button/automatic/10000003//c0", "Button/plain/10000002//c0",
                            "Button/radio/10000009//c0"});
    for (const std::size_t box : {1u, 2u, 3u})
    {
        EXPECT_FALSE(checked(program[box]));
        for (int time = 0; time < 2; ++time)
        {
            EXPECT_TRUE(PressWindowButton(program[box]));
            EXPECT_TRUE(checked(program[box])) << box << ", time " << time;
            EXPECT_EQ(program.line(), "command");
        }
    }
}

TEST(PressWindowButton, SendsBothMessagesAlways)
{
    const import_hook hook("SendMessageW", &note_message);
    for (const HWND window : {kNoWindow, HWND{}})
    {
        sent.clear();
        EXPECT_TRUE(PressWindowButton(window));
        EXPECT_EQ(sent,
                  (std::vector<message>{{window, BM_CLICK, 0, 0}, {window, BM_SETCHECK, BST_CHECKED, 0}}));
    }
}

// KEPT[close-window-asks]
TEST(CloseWindow, ClosesAWindowThatLetsItself)
{
    opened_windows program({"C/t/" + kShown, "Stubborn/t/" + kShown});
    EXPECT_TRUE(KFramework::KProcesses::CloseWindow(program[0]));
    EXPECT_FALSE(::IsWindow(program[0])); // handled before the call returned
    EXPECT_EQ(program.line(), "close");
    EXPECT_TRUE(KFramework::KProcesses::CloseWindow(program[1]));
    EXPECT_TRUE(::IsWindow(program[1]));
    EXPECT_FALSE(::IsIconic(program[1]));
    EXPECT_EQ(program.line(), "close");
}

TEST(CloseWindow, IsTrueForNoWindow)
{
    EXPECT_TRUE(KFramework::KProcesses::CloseWindow(kNoWindow));
    const import_hook hook("SendMessageW", &note_message);
    sent.clear();
    EXPECT_TRUE(KFramework::KProcesses::CloseWindow(nullptr));
    EXPECT_EQ(sent, (std::vector<message>{{nullptr, WM_CLOSE, 0, 0}}));
}
