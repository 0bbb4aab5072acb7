#pragma once
/// A program with windows, on the display of the test.

#include "KFramework/platform/windows_win.h"
#include "tests/process/child_win.h"

#include <string>
#include <vector>

namespace kf::test
{
/// The windows of one open_windows program; ended with the test.
class opened_windows
{
public:
    /// @param windows  as the child program takes them: CLASS/TITLE/STYLE/EXTENDED/LINK. A title may hold blanks.
    explicit opened_windows(const std::vector<std::string>& windows);

    HWND operator[](std::size_t index) const { return handles.at(index); }
    [[nodiscard]] unsigned long pid() const { return child_.process->processId; }

    /// Those of the named windows, in the order in which the system lists them.
    [[nodiscard]] std::vector<HWND> in_order(const std::vector<std::size_t>& indexes) const;

    /// The next line that the program prints behind the handles.
    [[nodiscard]] std::string line();

private:
    const spawned_child child_;
    std::string unread_;

public:
    std::vector<HWND> handles; ///< in the order of the arguments
};

/// The top-level windows of a process, as the system lists them.
[[nodiscard]] std::vector<HWND> listed_windows(unsigned long pid);
} // namespace kf::test
