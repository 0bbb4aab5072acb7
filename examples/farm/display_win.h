#pragma once
/// What the server shows on its console while the job runs.

#include "progress.h"

#include <string>
#include <vector>

namespace farm
{
class display
{
public:
    /// Live: redrawn in place, on a console with the table of the workers, elsewhere one line. Otherwise a line for
    /// each change.
    explicit display(bool live);

    void show(const progress& now, const std::vector<worker_record>& workers);

    /// Says something that stays, in a line of its own.
    void say(const std::string& line);

    /// Leaves the last line of progress, for the final table to follow.
    void end();

private:
    void redraw(const std::string& text);

    bool live_;
    void* console_;    // null when the output is none
    std::string last_; // what was drawn last
    int drawn_ = 0;    // its lines, above the cursor
    int last_ended_ = -1;
    int last_workers_ = -1;
};
} // namespace farm
