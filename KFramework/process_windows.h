#pragma once
/// Windows of other programs: finding them, reading their titles, pressing their buttons. Part of process.h.
///
/// Threads: any; nothing is shared. Messages are sent, not posted: a call waits until the thread that owns the window
/// has handled its message, for ever when that thread hangs.
/// Errors: through results alone. A window that is gone has no title and takes no message.
/// Ownership: windows stay their programs'.

#include <string>
#include <vector>

#include "KFramework/export.h"

struct HWND__;

namespace KFramework::KProcesses
{
// --- top-level windows of a process -------------------------------------------
//
// In the system's order, which is from the front to the back.

/// The first window of a process that is visible and has no owner; null when there is none.
KFRAMEWORK_API HWND__* GetProcessMainWindow(unsigned long pid);

/// The first window of a process, visible or not, of whatever kind; null when there is none.
KFRAMEWORK_API HWND__* GetProcessAnyWindow(unsigned long pid);

/// The titled windows of a process whose class, in its first 255 characters, is one of Windows Forms.
///
/// @kept    forms-marker: such a class has "WindowsForms10.Window" anywhere in its name.
KFRAMEWORK_API std::vector<HWND__*> GetWin10ProcessMainWindows(unsigned long pid);

/// The windows of a process that Qt made, and its titled pop-ups of tool style.
///
/// @kept    qt-classes: a class that begins with "Qt5" or "Qt4" is enough, visible or not, whatever style and title;
///          other versions are windows like any other.
/// @kept    window-tool-bit: tool style is bit 0x80 of the style, where the class gives it its meaning, and not the
///          extended style of that number.
KFRAMEWORK_API std::vector<HWND__*> GetQtProcessMainWindows(unsigned long pid);

// --- child windows -------------------------------------------------------------

/// Lists the windows inside a window, at all levels, and searches them again as often as told. Keep maxDepth
/// small: the result may double with each step.
///
/// @param parent         null stands for the desktop.
/// @param depth          0 for a whole search; what is counted up to maxDepth.
/// @param maxDepth       0 lists once; every further step searches again below each window of the step before.
/// @param popupsOnly     leaves out windows that are no pop-ups by their style.
/// @param classPrefixes  what a window's class must begin with, one of them; empty for any class.
/// @return  the windows of one search, then those found below each of them, in the same order; without those
///          whose reading ends in a structured exception.
/// @kept    child-duplicates: every search lists all levels, so a window inside a window inside the parent is
///          there once for each way to it.
/// @kept    child-prefixes-late: with a maxDepth other than 0 the prefixes hold nothing back while windows are
///          searched. They choose from the result of depth 0, and at other depths not at all.
///
///   a inside parent, b inside a, maxDepth 0  =>  a, b
///   the same, maxDepth 1                     =>  a, b, b
KFRAMEWORK_API std::vector<HWND__*> GetWindowChilds(HWND__* parent, int depth, int maxDepth, bool popupsOnly,
                                                    std::vector<std::string> classPrefixes);

// --- single windows --------------------------------------------------------------

/// The title in UTF-8; empty when there is none.
///
/// @kept    window-title-room: the first 254 characters (16-bit units) of it.
KFRAMEWORK_API std::string GetWindowTitle(HWND__* window);

/// The pop-up among the windows that a window owns that was active last; the window itself when there is none.
KFRAMEWORK_API HWND__* GetActivePopUp(HWND__* window);

/// Clicks a button, and checks it.
///
/// @return  always true.
/// @kept    press-checks: BM_CLICK and BM_SETCHECK are always both sent, so that a box that was checked is checked
///          afterwards too.
KFRAMEWORK_API bool PressWindowButton(HWND__* button);

/// Asks a window to close, as its user would; it may refuse.
///
/// @return  always true.
/// @kept    close-window-asks: WM_CLOSE, unlike the system's function of this name, which minimises. Where both are
///          in sight, name the namespace.
KFRAMEWORK_API bool CloseWindow(HWND__* window);
} // namespace KFramework::KProcesses
