#include <KFramework/socket.h> // before <windows.h>

#include "display_win.h"

#include <KFramework/string.h>

#include <algorithm>
#include <cstdio>

namespace farm
{
using namespace KFramework;

namespace
{
HANDLE console_of_output()
{
    DWORD mode = 0;
    const HANDLE output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    return ::GetConsoleMode(output, &mode) != FALSE ? output : nullptr;
}
} // namespace

display::display(bool live) : live_(live), console_(live ? console_of_output() : nullptr) {}

void display::show(const progress& now, const std::vector<worker_record>& workers)
{
    const std::string line = progress_line(now);
    const int ended = now.done + now.abandoned;
    const std::string drawing = console_ != nullptr ? line + "\n" + worker_table(workers) : line;
    const bool changed = live_ ? drawing != last_ : ended != last_ended_ || now.workers != last_workers_;
    last_ = drawing;
    last_ended_ = ended;
    last_workers_ = now.workers;
    if (!changed)
        return;
    if (console_ != nullptr)
        redraw(drawing);
    else
        std::printf(live_ ? "\r%-78s" : "%s\n", line.c_str());
    std::fflush(stdout);
}

void display::say(const std::string& line)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    last_.clear(); // what is drawn over comes again
    if (console_ != nullptr && drawn_ > 0 && ::GetConsoleScreenBufferInfo(console_, &info))
    {
        // In the place of the drawing's first line: the next drawing begins below.
        const int top = std::max(0, info.dwCursorPosition.Y - drawn_);
        ::SetConsoleCursorPosition(console_, {0, static_cast<SHORT>(top)});
        const int width = std::max(1, info.dwSize.X - 1);
        std::printf("%-*.*s", width, width, line.c_str());
        std::fflush(stdout);
        ::SetConsoleCursorPosition(console_, info.dwCursorPosition);
        --drawn_;
        return;
    }
    std::printf(live_ && console_ == nullptr ? "\r%-78s\n" : "%s\n", line.c_str());
    std::fflush(stdout);
}

void display::end()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (live_ && console_ == nullptr)
        std::printf("\n");
    else if (console_ != nullptr && drawn_ > 0)
    {
        redraw(last_.substr(0, last_.find('\n')));
        if (::GetConsoleScreenBufferInfo(console_, &info)) // up over the table's lines, which are empty now
            ::SetConsoleCursorPosition(console_,
                                       {0, static_cast<SHORT>(info.dwCursorPosition.Y - drawn_ + 1)});
    }
    std::fflush(stdout);
}

// Over the last drawing. What would scroll out of the window is left out: it could not be drawn over.
void display::redraw(const std::string& text)
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    if (!::GetConsoleScreenBufferInfo(console_, &info))
        return;
    std::vector<std::string> lines = KStringHelper::TokenizeString(text, "\n");
    const int room = std::max(1, info.srWindow.Bottom - info.srWindow.Top);
    lines.resize(std::min<std::size_t>(lines.size(), static_cast<std::size_t>(room)));
    const int top = std::max(0, info.dwCursorPosition.Y - drawn_);
    ::SetConsoleCursorPosition(console_, {0, static_cast<SHORT>(top)});
    drawn_ = std::min(std::max(drawn_, static_cast<int>(lines.size())), room);
    lines.resize(static_cast<std::size_t>(drawn_)); // workers that have left
    const int width = std::max(1, info.dwSize.X - 1);
    for (const std::string& line : lines)
        std::printf("%-*.*s\n", width, width, line.c_str());
    std::fflush(stdout);
}
} // namespace farm
