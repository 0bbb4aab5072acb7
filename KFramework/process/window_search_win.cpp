#include <exception>
#include <utility>

#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "KFramework/process/window_rules.h"
#include "KFramework/string.h"

using KFramework::KStringHelper::WideStringToUtf8String;

namespace kf::process
{
namespace
{
constexpr int kTextRoom = 256; // characters of a class or title, and the terminator

class system_window final : public window_facts
{
public:
    explicit system_window(HWND window) : window_(window) {}

    bool has_owner() const override { return ::GetWindow(window_, GW_OWNER) != nullptr; }
    bool visible() const override { return ::IsWindowVisible(window_) != FALSE; }

    std::string class_name() const override
    {
        wchar_t text[kTextRoom] = {};
        ::GetClassNameW(window_, text, kTextRoom);
        return WideStringToUtf8String(text);
    }

    std::uint32_t style() const override
    {
        WINDOWINFO info{};
        info.cbSize = sizeof info;
        ::GetWindowInfo(window_, &info);
        return info.dwStyle;
    }

    std::string title() const override
    {
        wchar_t text[kTextRoom] = {};
        ::GetWindowTextW(window_, text, kTextRoom);
        return WideStringToUtf8String(text);
    }

private:
    HWND window_;
};

/// One enumeration of the top-level windows. An exception waits in it until the system has returned.
struct window_search
{
    DWORD pid;
    window_rule accepts;
    bool first_only;
    std::vector<HWND> windows{};
    DWORD thread_id = 0; ///< that owns the last window taken
    std::exception_ptr failure{};
};

BOOL CALLBACK take_window(HWND window, LPARAM parameter)
{
    auto& search = *reinterpret_cast<window_search*>(parameter);
    DWORD pid = 0;
    const DWORD thread = ::GetWindowThreadProcessId(window, &pid);
    if (thread == 0 || pid != search.pid) // 0: the window is gone
        return TRUE;
    try
    {
        if (!search.accepts(system_window(window)))
            return TRUE;
        search.windows.push_back(window);
        search.thread_id = thread;
        return search.first_only ? FALSE : TRUE;
    }
    catch (...)
    {
        search.failure = std::current_exception();
        return FALSE;
    }
}

std::vector<HWND> windows_of(DWORD pid, window_rule accepts, bool first_only = false)
{
    window_search search{pid, accepts, first_only};
    ::EnumWindows(take_window, reinterpret_cast<LPARAM>(&search));
    if (search.failure)
        std::rethrow_exception(search.failure);
    return std::move(search.windows);
}

HWND first_window_of(DWORD pid, window_rule accepts)
{
    const std::vector<HWND> windows = windows_of(pid, accepts, true);
    return windows.empty() ? nullptr : windows.front();
}

/// The reads of a child window, in memory that needs no destructor: one of them may end in a structured exception.
struct child_read
{
    HWND window;
    WINDOWINFO info;
    wchar_t class_name[kTextRoom];
    wchar_t title[kTextRoom];
};

void read_child(void* argument)
{
    auto& child = *static_cast<child_read*>(argument);
    ::GetWindowInfo(child.window, &child.info);
    ::GetClassNameW(child.window, child.class_name, kTextRoom);
    ::GetWindowTextW(child.window, child.title, kTextRoom);
}

struct child_listing
{
    std::vector<child_window> children{};
    std::exception_ptr failure{};
};

BOOL CALLBACK take_child(HWND window, LPARAM parameter)
{
    auto& listing = *reinterpret_cast<child_listing*>(parameter);
    child_read child{};
    child.window = window;
    child.info.cbSize = sizeof child.info;
    if (!platform::guarded_call(read_child, &child))
        return TRUE;
    try
    {
        listing.children.push_back({window, child.info.dwStyle, WideStringToUtf8String(child.class_name)});
        return TRUE;
    }
    catch (...)
    {
        listing.failure = std::current_exception();
        return FALSE;
    }
}

std::vector<child_window> list_children(HWND parent)
{
    child_listing listing;
    ::EnumChildWindows(parent, take_child, reinterpret_cast<LPARAM>(&listing));
    if (listing.failure)
        std::rethrow_exception(listing.failure);
    return std::move(listing.children);
}
} // namespace
} // namespace kf::process

namespace KFramework::KProcesses
{
HWND GetProcessMainWindow(unsigned long pid)
{
    return kf::process::first_window_of(pid, kf::process::counts_as_main);
}

HWND GetProcessAnyWindow(unsigned long pid)
{
    return kf::process::first_window_of(pid, kf::process::counts_always);
}

std::vector<HWND> GetWin10ProcessMainWindows(unsigned long pid)
{
    return kf::process::windows_of(pid, kf::process::counts_for_forms);
}

std::vector<HWND> GetQtProcessMainWindows(unsigned long pid)
{
    return kf::process::windows_of(pid, kf::process::counts_for_qt);
}

std::vector<HWND> GetWindowChilds(HWND parent, int depth, int maxDepth, bool popupsOnly,
                                  std::vector<std::string> classPrefixes)
{
    const kf::process::child_search search{maxDepth, popupsOnly, std::move(classPrefixes),
                                           kf::process::list_children};
    std::vector<HWND> windows;
    for (const auto& child : kf::process::find_children(search, parent, depth))
        windows.push_back(child.window);
    return windows;
}
} // namespace KFramework::KProcesses
