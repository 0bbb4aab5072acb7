#include "progress.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace farm
{
namespace
{
constexpr int kBarCells = 30;

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments)
{
    std::array<char, 200> line = {};
    std::snprintf(line.data(), line.size(), format, arguments...);
    return line.data();
}

std::string minutes(double seconds)
{
    const int whole = static_cast<int>(std::min(seconds + 0.5, 359'999.0));
    return formatted("%02d:%02d", whole / 60, whole % 60);
}
} // namespace

std::string progress_line(const progress& now)
{
    const int ended = now.done + now.abandoned;
    const int filled = now.frames > 0 ? kBarCells * ended / now.frames : kBarCells;
    const double rate = now.seconds > 0 ? now.done / now.seconds : 0;
    const std::string left = rate > 0 ? minutes((now.frames - ended) / rate) : std::string("--:--");
    const std::string bar = std::string(static_cast<std::size_t>(filled), '#') +
                            std::string(static_cast<std::size_t>(kBarCells - filled), '.');
    return formatted("[%s] %2d/%d frames  %.1f/s  %d worker%s  %s left", bar.c_str(), now.done, now.frames,
                     rate, now.workers, now.workers == 1 ? "" : "s", left.c_str());
}

std::string worker_table(const std::vector<worker_record>& workers)
{
    int width = 6;
    for (const worker_record& worker : workers)
        width = std::max(width, static_cast<int>(worker.name.size()));
    std::string table = formatted("%-*s  done  failed  lost  processor           memory\n", width, "worker");
    for (const worker_record& worker : workers)
        table += formatted("%-*s  %4d  %6d  %4d  %9s  %15s%s\n", width, worker.name.c_str(), worker.done,
                           worker.failed, worker.lost, processor_cell(worker.last_load).c_str(),
                           memory_cell(worker.last_load).c_str(), worker.left_early ? "  (left early)" : "");
    return table;
}

std::string summary_table(const std::vector<worker_record>& workers, const progress& end, int retries)
{
    return worker_table(workers) + formatted("%d of %d frames in %s, %d tried again, %d abandoned\n",
                                             end.done, end.frames, minutes(end.seconds).c_str(), retries,
                                             end.abandoned);
}
} // namespace farm
