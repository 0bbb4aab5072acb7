// The server's part that looks at its workers as a whole: heartbeats, the end, the standing.

#include "server_win.h"

#include <KFramework/core.h>
#include <KFramework/logger.h>

#include <algorithm>
#include <utility>

namespace farm
{
using namespace KFramework;

void server::check_workers()
{
    const std::lock_guard lock(guard_);
    const long long now = GetServerTime();
    for (auto& [id, candidate] : peers_)
    {
        if (const char* const wrong = overdue(candidate, now))
        {
            const std::string who =
                candidate.name.empty() ? "connection " + std::to_string(id) : candidate.name;
            AddLogEntry(GetDefaultLogger(), kSevere, kModule, "%s %s", who.c_str(), wrong);
            candidate.idle = false;       // no order for it until then
            candidate.stream->Shutdown(); // its close record brings on_closed
        }
        else if (now - candidate.last_heartbeat_sent >= kHeartbeatSeconds)
        {
            candidate.last_heartbeat_sent = now;
            candidate.stream->send(command::heartbeat, "", 0);
        }
    }
}

const char* server::overdue(peer& candidate, long long now) const
{
    const bool late = now > candidate.due;
    switch (candidate.state)
    {
    case admission::stranger:
        return late ? "has not said hello" : nullptr;
    case admission::checked:
        return nullptr; // it waits for us
    case admission::refused:
        return late ? "does not leave" : nullptr;
    default:
        if (!candidate.stream->CheckHeartBeat(settings_.silence_seconds, now))
            return "has been silent for too long";
        // A heartbeat proves a connection, not progress.
        return late && !candidate.idle ? "neither answers nor asks for work" : nullptr;
    }
}

void server::dismiss()
{
    const std::lock_guard lock(guard_);
    for (auto& [id, candidate] : peers_)
    {
        if (candidate.is_worker() || candidate.state == admission::checked)
            candidate.stream->send(command::farewell, "", 0);
        else
            candidate.stream->Shutdown();
    }
}

void server::drop_all()
{
    const std::lock_guard lock(guard_);
    for (auto& [id, candidate] : peers_)
        candidate.stream->Shutdown();
}

bool server::complete()
{
    const std::lock_guard lock(guard_);
    return board_.complete();
}

bool server::empty()
{
    const std::lock_guard lock(guard_);
    return peers_.empty();
}

progress server::standing()
{
    const std::lock_guard lock(guard_);
    const double seconds = started_ == 0 ? 0 : static_cast<double>(::GetTickCount64() - started_) / 1000;
    return {board_.frame_count(), board_.done(), board_.abandoned(), worker_count(), seconds};
}

std::vector<worker_record> server::present_workers()
{
    const std::lock_guard lock(guard_);
    std::vector<worker_record> present;
    for (const auto& [id, candidate] : peers_)
        if (candidate.is_worker())
            present.push_back(records_[candidate.record]);
    return present;
}

std::vector<std::string> server::take_notices()
{
    const std::lock_guard lock(guard_);
    return std::exchange(notices_, {});
}

std::string server::summary()
{
    const progress end = standing();
    const std::lock_guard lock(guard_);
    std::string text = summary_table(records_, end, board_.retries());
    text += "done: " + frame_list(board_.done_frames()) + "\n";
    if (board_.abandoned() > 0)
        text += "abandoned: " + frame_list(board_.abandoned_frames()) + "\n";
    if (!board_.complete())
        text += "missing: " + frame_list(board_.missing_frames()) + "\n";
    return text;
}

int server::worker_count() const
{
    return static_cast<int>(std::count_if(peers_.begin(), peers_.end(),
                                          [](const auto& entry) { return entry.second.is_worker(); }));
}
} // namespace farm
