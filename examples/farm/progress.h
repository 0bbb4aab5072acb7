#pragma once
/// What the server shows on its console. Portable: numbers in, text out.

#include "load.h"

#include <optional>
#include <string>
#include <vector>

namespace farm
{
/// Where the job stands.
struct progress
{
    int frames = 0;
    int done = 0;
    int abandoned = 0;
    int workers = 0;
    double seconds = 0; ///< since the first order was given
};

/// One line, for example
/// `[#########.....................]  7/24 frames  1.4/s  2 workers  00:12 left`.
std::string progress_line(const progress& now);

/// One worker's part in the job.
struct worker_record
{
    std::string name;
    int done = 0;
    int failed = 0; ///< reported failures
    int lost = 0;   ///< frames taken away because the worker went away or fell silent
    bool left_early = false;
    std::optional<load> last_load = {}; ///< as it said last; none before it has said anything proper
};

/// A header and a line for each worker.
std::string worker_table(const std::vector<worker_record>& workers);

/// The table printed at the end: the workers, and a line about the whole.
std::string summary_table(const std::vector<worker_record>& workers, const progress& end, int retries);
} // namespace farm
