#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "KFramework/string.h"

namespace kf::process
{
namespace
{
constexpr int kTitleRoom = 255; // KEPT[window-title-room]: the terminator is one of them
}
} // namespace kf::process

namespace KFramework::KProcesses
{
std::string GetWindowTitle(HWND window)
{
    wchar_t title[kf::process::kTitleRoom] = {};
    ::GetWindowTextW(window, title, kf::process::kTitleRoom);
    return KStringHelper::WideStringToUtf8String(title);
}

HWND GetActivePopUp(HWND window)
{
    return ::GetLastActivePopup(window);
}

bool PressWindowButton(HWND button)
{
    // KEPT[press-checks]: a click alone may uncheck.
    ::SendMessageW(button, BM_CLICK, 0, 0);
    ::SendMessageW(button, BM_SETCHECK, BST_CHECKED, 0);
    return true;
}

bool CloseWindow(HWND window)
{
    // KEPT[close-window-asks]: not ::CloseWindow.
    ::SendMessageW(window, WM_CLOSE, 0, 0);
    return true;
}
} // namespace KFramework::KProcesses
