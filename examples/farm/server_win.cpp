#include "server_win.h"

#include "image_files.h"

#include <KFramework/core.h>
#include <KFramework/filesystem.h>
#include <KFramework/logger.h>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr std::size_t kLongestReason = 200;
} // namespace

server::server(const server_settings& settings)
    : settings_(settings), board_(settings.first_frame, settings.frame_count, settings.tries),
      gate_(settings.key, [this](int id, bool right) { on_checked(id, right); })
{
}

bool server::on_message(connection& from, command what, const std::string& text, unsigned int parameter)
{
    from.UpdateHeartBeat(GetServerTime());
    const bool drawn = what == command::done && has_drawn(from.id(), parameter);

    const std::lock_guard lock(guard_);
    const auto entry = peers_.find(from.id());
    if (entry == peers_.end())
        return false;
    peer& sender = entry->second;
    bool understood = false;
    if (sender.is_worker())
        understood = work_with(sender, what, text, parameter, drawn);
    else if (sender.state == admission::stranger && what == command::hello)
        understood = receive_hello(sender, text);
    if (!understood)
        AddLogEntry(GetDefaultLogger(), kSevere, kModule,
                    "connection %d does not speak our language (command %u)", from.id(),
                    static_cast<unsigned int>(what));
    return understood;
}

bool server::work_with(peer& from, command what, const std::string& text, unsigned int parameter, bool drawn)
{
    worker_record& record = records_[from.record];
    switch (what)
    {
    case command::ready:
        if (from.ticket != 0)
            return false; // it owes us an answer
        from.idle = true;
        hand_out();
        return true;
    case command::output:
        AddLogEntry(GetDefaultLogger(), kInfo, record.name.c_str(), "%s",
                    printable(text, kLongestOutputLine).c_str());
        return true;
    case command::done:
        take_result(from, parameter,
                    drawn ? std::nullopt : std::optional<std::string>("its file is missing or damaged"));
        return true;
    case command::failed:
        take_result(from, parameter, printable(text, kLongestReason));
        return true;
    case command::heartbeat:
        record.last_load = parse_load(text);
        return true;
    default:
        return false;
    }
}

// Whether the file of a worker's order is a whole picture of the right size. Reading it takes time, so
// nothing is locked meanwhile; an order that is taken away in between makes the answer a late one.
bool server::has_drawn(int worker, unsigned int ticket)
{
    std::optional<assignment> given;
    {
        const std::lock_guard lock(guard_);
        given = board_.running(ticket, worker);
    }
    const auto picture = given ? load_png(part_file(*given)) : std::nullopt;
    return picture && picture->width == settings_.width && picture->height == settings_.height;
}

// A worker writes under a name of its ticket; only an accepted answer becomes the frame. So a late
// answer can never replace a good frame.
void server::take_result(peer& from, unsigned int ticket, std::optional<std::string> failure)
{
    worker_record& record = records_[from.record];
    const auto given = board_.running(ticket, from.stream->id());
    if (!given)
    {
        AddLogEntry(GetDefaultLogger(), kInfo, kModule, "%s: a late answer for ticket %u is dropped",
                    record.name.c_str(), ticket);
        return;
    }
    if (!failure && !KFileSystem::MvFile(part_file(*given), frame_file(given->frame)))
        failure = "its file cannot be moved";
    from.ticket = 0;
    from.due = GetServerTime() + settings_.silence_seconds;
    const ruling outcome = board_.report(ticket, from.stream->id(), !failure);
    if (!failure)
    {
        ++record.done;
        AddLogEntry(GetDefaultLogger(), kInfo, kModule, "frame %d done by %s", outcome.frame,
                    record.name.c_str());
        return;
    }
    ++record.failed;
    AddLogEntry(GetDefaultLogger(), kSevere, kModule, "frame %d failed at %s (try %d of %d): %s",
                outcome.frame, record.name.c_str(), outcome.attempt, settings_.tries, failure->c_str());
    hand_out();
}

// Gives waiting frames to idle workers.
void server::hand_out()
{
    for (auto& [id, candidate] : peers_)
    {
        if (!candidate.idle)
            continue;
        if (const auto next = board_.take(id, worker_count() == 1))
            give(candidate, *next);
    }
}

void server::give(peer& to, const assignment& given)
{
    to.idle = false;
    to.ticket = given.ticket;
    to.due = GetServerTime() + settings_.limit_seconds + settings_.silence_seconds;
    if (started_ == 0)
        started_ = ::GetTickCount64();
    const order work{given.frame, part_mask(given.ticket)};
    // Should this fail, the connection ends and on_closed takes the frame back.
    to.stream->send(command::order, to_text(work), given.ticket);
    AddLogEntry(GetDefaultLogger(), kInfo, kModule, "frame %d to %s (try %d, ticket %u)", given.frame,
                records_[to.record].name.c_str(), given.attempt, given.ticket);
}

void server::on_closed(connection& ended)
{
    const std::lock_guard lock(guard_);
    const auto entry = peers_.find(ended.id());
    if (entry == peers_.end())
        return;
    const peer lost = entry->second;
    peers_.erase(entry);
    AddLogEntry(GetDefaultLogger(), kInfo, kModule, "connection %d (%s) has ended", ended.id(),
                lost.host.c_str());
    if (lost.state == admission::checked)
        gate_.withdraw(ended.id());
    if (!lost.is_worker())
        return;
    records_[lost.record].left_early = !board_.complete();
    note_loss(lost, board_.lose(ended.id()));
    hand_out();
}

void server::note_loss(const peer& lost, const std::vector<ruling>& rulings)
{
    worker_record& record = records_[lost.record];
    for (const ruling& outcome : rulings)
    {
        ++record.lost;
        AddLogEntry(GetDefaultLogger(), kSevere, kModule, "frame %d was lost with %s (try %d of %d)",
                    outcome.frame, record.name.c_str(), outcome.attempt, settings_.tries);
    }
}

std::string server::frame_file(int frame) const
{
    return settings_.folder + "\\" + KFileSystem::GetFileFromMask(settings_.mask, frame);
}

std::string server::part_mask(unsigned int ticket) const
{
    return settings_.folder + "\\parts\\" + std::to_string(ticket) + ".####.png";
}

std::string server::part_file(const assignment& given) const
{
    return KFileSystem::GetFileFromMask(part_mask(given.ticket), given.frame);
}
} // namespace farm
