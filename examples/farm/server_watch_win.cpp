// The server's part that looks at its workers as a whole: heartbeats, the end, the standing.

#include "server_win.h"

#include <KFramework/core.h>
#include <KFramework/logger.h>

#include <algorithm>

namespace farm
{
using namespace KFramework;

void server::check_workers()
{
    const std::lock_guard lock(guard_);
    const long long now = GetServerTime();
    for (auto& [id, candidate] : peers_)
    {
        if (!candidate.stream->CheckHeartBeat(settings_.silence_seconds, now))
        {
            AddLogEntry(GetDefaultLogger(), kSevere, kModule, "connection %d has been silent for too long",
                        id);
            candidate.idle = false;       // no order for it until then
            candidate.stream->Shutdown(); // its close record brings on_closed
        }
        else if (candidate.greeted && !candidate.idle && now > candidate.due)
        {
            // A heartbeat proves a connection, not progress.
            AddLogEntry(GetDefaultLogger(), kSevere, kModule, "%s neither answers nor asks for work",
                        records_[candidate.record].name.c_str());
            candidate.stream->Shutdown();
        }
        else if (now - candidate.last_heartbeat_sent >= kHeartbeatSeconds)
        {
            candidate.last_heartbeat_sent = now;
            candidate.stream->send(command::heartbeat, "", 0);
        }
    }
}

void server::dismiss()
{
    const std::lock_guard lock(guard_);
    for (auto& [id, candidate] : peers_)
    {
        if (candidate.greeted)
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
    return static_cast<int>(
        std::count_if(peers_.begin(), peers_.end(), [](const auto& entry) { return entry.second.greeted; }));
}
} // namespace farm
