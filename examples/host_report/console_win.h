#pragma once
/// The console: texts, pages that replace each other, and Ctrl-C.

#include <string>

namespace host_report
{
/// Ctrl-C, Ctrl-Break, and a console that closes, from construction to destruction. One in a program.
class stop_request
{
public:
    stop_request();
    ~stop_request();
    stop_request(const stop_request&) = delete;
    stop_request& operator=(const stop_request&) = delete;

    /// Waits so long at most; true once somebody has asked the program to stop.
    bool wait(unsigned long milliseconds) const;
};

/// Writes UTF-8: as it is to a file or pipe, as characters to a console, whatever its code page.
///
/// @param handle  of standard output or standard error.
/// @return  false when not all of it could be written.
bool write_text(void* handle, const std::string& text);

/// Reports on standard output, one after the other.
class display
{
public:
    /// @param replace  whether a report takes the place of the one before it, where that is possible: on a console.
    ///                 Elsewhere an empty line stands between two.
    explicit display(bool replace);

    /// Shows the cursor again and leaves it behind the last report.
    ~display();
    display(const display&) = delete;
    display& operator=(const display&) = delete;

    /// False when it could not be written.
    bool show(const std::string& report);

private:
    bool show_page(const std::string& report);
    void show_cursor(bool visible) const;

    void* output_;
    bool on_console_;
    bool any_ = false;
    int lines_ = 0; ///< of the page that is shown
};
} // namespace host_report
