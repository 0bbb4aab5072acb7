#pragma once
/// Which frame is whose. Portable and without locks: the server asks under its own.

#include <deque>
#include <map>
#include <optional>
#include <set>
#include <vector>

namespace farm
{
/// One frame given to one worker.
struct assignment
{
    unsigned int ticket = 0; ///< never used twice
    int frame = 0;
    int attempt = 0; ///< 1 for the first try
};

/// What became of a worker's answer.
enum class verdict
{
    accepted,  ///< the frame is done
    retried,   ///< failed; the frame waits for another worker
    abandoned, ///< failed for the last time
    stale,     ///< not this worker's ticket (any more): the answer counts for nothing
};

/// An answer's verdict and the frame it was about (0 when stale).
struct ruling
{
    verdict outcome = verdict::stale;
    int frame = 0;
    int attempt = 0;
};

/// The frames of a job, each waiting, running, done or abandoned.
class job_board
{
public:
    /// Frames first_frame to first_frame + frame_count - 1, each tried at most `tries` times.
    job_board(int first_frame, int frame_count, int tries);

    /// The next waiting frame, now running at `worker`; none when nothing waits for it.
    /// A frame that `worker` itself failed last is kept for another one, unless it is alone.
    std::optional<assignment> take(int worker, bool alone);

    /// What runs at `worker` under `ticket`; none when that ticket is not (or no longer) its own.
    std::optional<assignment> running(unsigned int ticket, int worker) const;

    /// Takes a worker's answer.
    ruling report(unsigned int ticket, int worker, bool success);

    /// Takes everything that runs at a lost worker away from it; each counts as a failed try.
    std::vector<ruling> lose(int worker);

    /// True when no frame waits or runs.
    bool complete() const { return waiting_.empty() && running_.empty(); }

    int done() const { return static_cast<int>(done_.size()); }
    int abandoned() const { return static_cast<int>(abandoned_.size()); }
    int frame_count() const { return frame_count_; }
    int retries() const { return retries_; }

    const std::set<int>& done_frames() const { return done_; }
    const std::set<int>& abandoned_frames() const { return abandoned_; }
    /// What neither is done nor was given up: waiting and running frames.
    std::set<int> missing_frames() const;

private:
    struct waiting_frame
    {
        int frame;
        int attempt;
        int failed_by; // the worker of the last try
    };
    struct running_frame
    {
        assignment given;
        int worker;
    };

    ruling fail(const running_frame& entry);

    std::deque<waiting_frame> waiting_;
    std::map<unsigned int, running_frame> running_; // by ticket
    int frame_count_;
    int tries_;
    std::set<int> done_;
    std::set<int> abandoned_;
    int retries_ = 0;
    unsigned int last_ticket_ = 0;
};
} // namespace farm
