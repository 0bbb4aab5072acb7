#include "tests/process/window_child_win.h"

#include "tests/support/deadline.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace kf::test
{
namespace
{
std::string quoted(const std::vector<std::string>& words)
{
    std::string all;
    for (const std::string& word : words)
        all += " \"" + word + '"';
    return all;
}
} // namespace

opened_windows::opened_windows(const std::vector<std::string>& windows)
    : child_("open_windows", quoted(windows))
{
    for (const std::string& window : windows)
    {
        handles.push_back(reinterpret_cast<HWND>(std::stoull('0' + line())));
        EXPECT_TRUE(::IsWindow(handles.back())) << window << " was not opened";
    }
}

std::vector<HWND> opened_windows::in_order(const std::vector<std::size_t>& indexes) const
{
    std::vector<HWND> windows = listed_windows(pid());
    std::erase_if(
        windows, [&](HWND window)
        { return std::ranges::none_of(indexes, [&](std::size_t i) { return handles.at(i) == window; }); });
    EXPECT_EQ(windows.size(), indexes.size());
    return windows;
}

std::string opened_windows::line()
{
    EXPECT_TRUE(wait_until(
        [&]
        {
            char buffer[512];
            if (const int taken =
                    KFramework::KProcesses::ReadPipe(child_.pipes->stdoutRead, buffer, sizeof buffer);
                taken > 0)
                unread_.append(buffer, static_cast<std::size_t>(taken));
            return unread_.find('\n') != std::string::npos;
        }));
    const std::string text = unread_.substr(0, unread_.find_first_of("\r\n"));
    unread_.erase(0, unread_.find('\n') + 1);
    return text;
}

std::vector<HWND> listed_windows(unsigned long pid)
{
    struct listing
    {
        unsigned long pid;
        std::vector<HWND> windows;
    } all{pid, {}};
    ::EnumWindows(
        +[](HWND window, LPARAM parameter) -> BOOL CALLBACK
        {
            auto& of_process = *reinterpret_cast<listing*>(parameter);
            DWORD owner = 0;
            ::GetWindowThreadProcessId(window, &owner);
            if (owner == of_process.pid)
                of_process.windows.push_back(window);
            return TRUE;
        },
        reinterpret_cast<LPARAM>(&all));
    return all.windows;
}
} // namespace kf::test
