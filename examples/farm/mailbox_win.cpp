#include "mailbox_win.h"

#include <KFramework/core.h>

#include <cstdio>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr std::size_t kLongestRefusal = 200;
} // namespace

bool mailbox::on_message(connection& from, command what, const std::string& text, unsigned int ticket)
{
    const std::lock_guard lock(guard_);
    from.UpdateHeartBeat(GetServerTime());
    switch (what)
    {
    case command::job:
        return take_job(text);
    case command::refused:
        return take_refusal(text);
    case command::order:
        return take_order(text, ticket);
    case command::farewell:
        farewell_ = true;
        return true;
    default:
        return what == command::heartbeat;
    }
}

// A server describes its job once.
bool mailbox::take_job(const std::string& bundle)
{
    if (job_ || !refusal_.empty())
        return false;
    job_ = parse_bundle(bundle);
    if (!job_)
        return false;
    std::printf("job: %s\n", printable(job_line(*job_), kLongestOutputLine).c_str());
    std::fflush(stdout);
    return true;
}

// It comes in the place of the job.
bool mailbox::take_refusal(const std::string& why)
{
    if (job_ || !refusal_.empty())
        return false;
    refusal_ = why.empty() ? "no reason given" : printable(why, kLongestRefusal);
    return true;
}

// An order belongs to the job that was described before it. A server sends one at a time, and only when asked.
bool mailbox::take_order(const std::string& text, unsigned int ticket)
{
    const auto work = parse_order(text);
    if (!orders_.empty() || !work || !job_ || !job_->covers(work->frame))
        return false;
    orders_.push_back({ticket, *job_, *work});
    return true;
}

void mailbox::on_closed(connection& /*ended*/)
{
    const std::lock_guard lock(guard_);
    closed_ = true;
}

std::optional<received_order> mailbox::next_order()
{
    const std::lock_guard lock(guard_);
    if (orders_.empty())
        return std::nullopt;
    const received_order next = orders_.front();
    orders_.pop_front();
    return next;
}

bool mailbox::admitted()
{
    const std::lock_guard lock(guard_);
    return job_.has_value();
}

std::string mailbox::refusal()
{
    const std::lock_guard lock(guard_);
    return refusal_;
}

bool mailbox::farewell()
{
    const std::lock_guard lock(guard_);
    return farewell_;
}

bool mailbox::closed()
{
    const std::lock_guard lock(guard_);
    return closed_;
}
} // namespace farm
