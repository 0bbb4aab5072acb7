#include "job_board.h"

#include <algorithm>

namespace farm
{
namespace
{
constexpr int kNobody = -1;
} // namespace

job_board::job_board(int first_frame, int frame_count, int tries) : frame_count_(frame_count), tries_(tries)
{
    for (int i = 0; i < frame_count; ++i)
        waiting_.push_back({first_frame + i, 1, kNobody});
}

std::optional<assignment> job_board::take(int worker, bool alone)
{
    const auto fits = [&](const waiting_frame& frame) { return alone || frame.failed_by != worker; };
    const auto next = std::find_if(waiting_.begin(), waiting_.end(), fits);
    if (next == waiting_.end())
        return std::nullopt;
    const assignment given{++last_ticket_, next->frame, next->attempt};
    waiting_.erase(next);
    running_.emplace(given.ticket, running_frame{given, worker});
    return given;
}

std::optional<assignment> job_board::running(unsigned int ticket, int worker) const
{
    const auto entry = running_.find(ticket);
    if (entry == running_.end() || entry->second.worker != worker)
        return std::nullopt;
    return entry->second.given;
}

ruling job_board::report(unsigned int ticket, int worker, bool success)
{
    const auto entry = running_.find(ticket);
    if (entry == running_.end() || entry->second.worker != worker)
        return {};
    const running_frame ended = entry->second;
    running_.erase(entry);
    if (!success)
        return fail(ended);
    done_.insert(ended.given.frame);
    return {verdict::accepted, ended.given.frame, ended.given.attempt};
}

std::vector<ruling> job_board::lose(int worker)
{
    std::vector<ruling> lost;
    for (auto entry = running_.begin(); entry != running_.end();)
    {
        if (entry->second.worker != worker)
        {
            ++entry;
            continue;
        }
        lost.push_back(fail(entry->second));
        entry = running_.erase(entry);
    }
    return lost;
}

std::set<int> job_board::missing_frames() const
{
    std::set<int> frames;
    for (const waiting_frame& entry : waiting_)
        frames.insert(entry.frame);
    for (const auto& [ticket, entry] : running_)
        frames.insert(entry.given.frame);
    return frames;
}

ruling job_board::fail(const running_frame& entry)
{
    const assignment& given = entry.given;
    if (given.attempt >= tries_)
    {
        abandoned_.insert(given.frame);
        return {verdict::abandoned, given.frame, given.attempt};
    }
    ++retries_;
    waiting_.push_back({given.frame, given.attempt + 1, entry.worker});
    return {verdict::retried, given.frame, given.attempt};
}
} // namespace farm
