// The server's part that lets workers in.

#include "server_win.h"

#include <KFramework/core.h>
#include <KFramework/logger.h>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr int kRefusalSeconds = 2;       // for the worker to read why
constexpr std::size_t kMostNotices = 20; // at one time; the log has them all
} // namespace

void server::on_opened(connection& accepted)
{
    const std::lock_guard lock(guard_);
    peer added;
    added.stream = &accepted;
    // A host text may hold a "%" (a zone): it goes in as an argument, never as a format.
    added.host = std::string(accepted.GetSocketHost()) + ":" + std::to_string(accepted.GetSocketPort());
    added.due = GetServerTime() + kHelloSeconds;
    AddLogEntry(GetDefaultLogger(), kInfo, kModule, "connection %d from %s", accepted.id(),
                added.host.c_str());
    peers_.emplace(accepted.id(), std::move(added));
}

// A few thousand bytes of a stranger may unfold to a thousand times as many, on a thread that serves the workers.
bool server::on_received(connection& from, unsigned long long waiting)
{
    const std::lock_guard lock(guard_);
    const auto entry = peers_.find(from.id());
    if (entry == peers_.end())
        return false;
    if (entry->second.is_worker() || waiting <= kLongestHello)
        return true;
    AddLogEntry(GetDefaultLogger(), kSevere, kModule, "connection %d says too much before it is let in",
                from.id());
    return false;
}

// One password for each connection: whoever wants another try connects again and stands behind the others.
bool server::receive_hello(peer& from, const std::string& text)
{
    auto introduction = parse_hello(text);
    if (!introduction)
        return false;
    from.name = introduction->name;
    from.state = admission::checked;
    if (introduction->password.empty())
        refuse(from, "no password");
    else if (!gate_.check(from.stream->id(), std::move(introduction->password)))
        refuse(from, "too many others are waiting to be let in");
    return true;
}

void server::on_checked(int id, bool right)
{
    const std::lock_guard lock(guard_);
    const auto entry = peers_.find(id);
    if (entry == peers_.end() || entry->second.state != admission::checked)
        return; // it has left
    if (right)
        greet(entry->second);
    else
        refuse(entry->second, "wrong password");
}

void server::greet(peer& from)
{
    from.state = admission::worker;
    from.due = GetServerTime() + settings_.silence_seconds;
    from.stream->UpdateHeartBeat(GetServerTime()); // it had to be silent until now
    from.record = records_.size();
    records_.push_back({from.name});
    AddLogEntry(GetDefaultLogger(), kInfo, kModule, "connection %d is worker %s", from.stream->id(),
                from.name.c_str());
    from.stream->send(command::job, to_bundle(settings_), 0);
}

// The worker goes by itself when it has read why; check_workers ends one that does not.
void server::refuse(peer& from, const std::string& why)
{
    from.state = admission::refused;
    from.due = GetServerTime() + kRefusalSeconds;
    const std::string notice = "worker " + from.name + " from " + from.host + " is refused: " + why;
    AddLogEntry(GetDefaultLogger(), kSevere, kModule, "connection %d: %s", from.stream->id(), notice.c_str());
    if (notices_.size() < kMostNotices)
        notices_.push_back(notice);
    from.stream->send(command::refused, why, 0);
}
} // namespace farm
