#include "console_win.h"

#include "page.h"

#include <windows.h>

#include <KFramework/string.h>

#include <algorithm>
#include <utility>

namespace host_report
{
using namespace KFramework::KStringHelper;

namespace
{
constexpr DWORD kTimeToEnd = 4000; // the system gives a closed console's programs five seconds

// Never closed: the system calls back on a thread of its own, which nobody can wait for.
HANDLE asked = nullptr;
HANDLE ended = nullptr;

BOOL WINAPI on_console_event(DWORD event)
{
    ::SetEvent(asked);
    // After these the process ends as soon as this returns.
    if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT)
        ::WaitForSingleObject(ended, kTimeToEnd);
    return TRUE;
}

bool is_console(HANDLE handle)
{
    DWORD mode = 0;
    return ::GetConsoleMode(handle, &mode) != FALSE;
}

bool write_to_console(HANDLE console, const std::string& text)
{
    constexpr std::size_t kMost = 8192; // old consoles take less than 64 KiB at once
    const std::wstring wide = Utf8StringToWideString(text);
    for (std::size_t at = 0; at < wide.size();)
    {
        DWORD written = 0;
        const auto part = static_cast<DWORD>(std::min(wide.size() - at, kMost));
        if (!::WriteConsoleW(console, wide.data() + at, part, &written, nullptr) || written == 0)
            return false;
        at += written;
    }
    return true;
}

bool write_to_file(HANDLE file, const std::string& bytes)
{
    for (std::size_t at = 0; at < bytes.size();)
    {
        DWORD written = 0;
        if (!::WriteFile(file, bytes.data() + at, static_cast<DWORD>(bytes.size() - at), &written, nullptr) ||
            written == 0)
            return false;
        at += written;
    }
    return true;
}
} // namespace

stop_request::stop_request()
{
    asked = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ended = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ::SetConsoleCtrlHandler(&on_console_event, TRUE);
}

stop_request::~stop_request()
{
    ::SetEvent(ended);
}

bool stop_request::wait(unsigned long milliseconds) const
{
    // A failing wait stops the program, too: it would wait no more.
    return ::WaitForSingleObject(asked, milliseconds) != WAIT_TIMEOUT;
}

bool write_text(void* handle, const std::string& text)
{
    if (is_console(handle))
        return write_to_console(handle, text);
    return write_to_file(handle, Replace(text, "\n", "\r\n", true));
}

display::display(bool replace)
    : output_(::GetStdHandle(STD_OUTPUT_HANDLE)), on_console_(replace && is_console(output_))
{
    if (on_console_)
        show_cursor(false);
}

display::~display()
{
    if (!on_console_)
        return;
    if (lines_ > 0)
        write_text(output_, "\n");
    show_cursor(true);
}

bool display::show(const std::string& report)
{
    if (on_console_)
        return show_page(report);
    const bool first = !std::exchange(any_, true);
    return write_text(output_, first ? report : "\n" + report);
}

/// One write for the whole page, over the one that is there: nothing is erased before, so nothing flickers.
bool display::show_page(const std::string& report)
{
    CONSOLE_SCREEN_BUFFER_INFO info{};
    if (!::GetConsoleScreenBufferInfo(output_, &info))
        return false;
    const int columns = info.srWindow.Right - info.srWindow.Left; // the last one stays free: no line wraps
    const int rows = info.srWindow.Bottom - info.srWindow.Top;
    const page next = make_page(report, std::max(columns, 1), std::max(rows, 1), lines_);
    if (lines_ > 0) // the cursor stands in the last line of the page
    {
        const int top = std::max(info.dwCursorPosition.Y - (lines_ - 1), 0);
        ::SetConsoleCursorPosition(output_, {0, static_cast<SHORT>(top)});
    }
    lines_ = next.lines;
    return write_text(output_, next.text);
}

void display::show_cursor(bool visible) const
{
    CONSOLE_CURSOR_INFO cursor{};
    if (!::GetConsoleCursorInfo(output_, &cursor))
        return;
    cursor.bVisible = visible ? TRUE : FALSE;
    ::SetConsoleCursorInfo(output_, &cursor);
}
} // namespace host_report
