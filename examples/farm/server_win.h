#pragma once
/// The farm's server: hands frames to workers until each is done or given up.

#include "port_loop_win.h"

#include "gate_win.h"
#include "job.h"
#include "job_board.h"
#include "progress.h"

#include <map>
#include <mutex>
#include <string>
#include <vector>

namespace farm
{
/// The module name in the server's log, and the levels it logs at.
inline constexpr const char* kModule = "farm_server";
enum log_level : int
{
    kSevere = 1,
    kInfo = 2,
};

/// The job, and how it is handed out.
struct server_settings : job
{
    int tries = 3;             ///< for one frame
    int silence_seconds = 10;  ///< without a word, or this long past its time, a worker counts as lost
    int patience_seconds = 60; ///< without any worker the job is given up
    int threads = 2;           ///< port threads
    std::string key;           ///< of the workers' password
    std::string folder;        ///< frames, contact sheet and log
};

/// Frame bookkeeping and conversations; sockets come from the caller.
class server : public connection_handler
{
public:
    explicit server(const server_settings& settings);

    /// False when it has no thread for its workers' passwords.
    bool started() const { return gate_.started(); }

    /// Once a second: heartbeats out, workers that are silent or stuck away.
    void check_workers();

    /// Says farewell to all workers and ends the other connections.
    void dismiss();
    /// Ends every connection.
    void drop_all();

    bool complete();
    bool empty(); ///< no connection is left
    progress standing();
    /// The workers that are there, in the order they came.
    std::vector<worker_record> present_workers();
    /// What the console should say of workers that were refused since the last call.
    std::vector<std::string> take_notices();
    /// The workers' parts in the job, and which frames became what.
    std::string summary();

    /// The file that a frame ends up in.
    std::string frame_file(int frame) const;

    void on_opened(connection& accepted) override;
    bool on_received(connection& from, unsigned long long waiting) override;
    bool on_message(connection& from, command what, const std::string& text, unsigned int parameter) override;
    void on_closed(connection& ended) override;

private:
    enum class admission
    {
        stranger, // has said nothing yet
        checked,  // has said hello; its password is being checked
        refused,  // has been told so
        worker,
    };

    struct peer
    {
        connection* stream = nullptr;
        std::string host; // as logged
        std::string name; // once it has said hello
        admission state = admission::stranger;
        std::size_t record = 0;  // of a worker: its line in the table
        bool idle = false;       // waits for an order
        unsigned int ticket = 0; // of the order it works on; 0: none
        long long due = 0;       // server time by which it has to move on, unless it is idle or being checked
        long long last_heartbeat_sent = 0;

        bool is_worker() const { return state == admission::worker; }
    };

    bool work_with(peer& from, command what, const std::string& text, unsigned int parameter, bool drawn);
    bool receive_hello(peer& from, const std::string& text);
    void on_checked(int id, bool right);
    void greet(peer& from);
    void refuse(peer& from, const std::string& why);
    const char* overdue(peer& candidate, long long now) const;
    bool has_drawn(int worker, unsigned int ticket);
    void take_result(peer& from, unsigned int ticket, std::optional<std::string> failure);
    void hand_out();
    void give(peer& to, const assignment& given);
    void note_loss(const peer& lost, const std::vector<ruling>& rulings);
    int worker_count() const;
    std::string part_mask(unsigned int ticket) const;
    std::string part_file(const assignment& given) const;

    const server_settings settings_;
    std::mutex guard_;
    job_board board_;                    // guarded by guard_
    std::map<int, peer> peers_;          // by connection id; guarded by guard_
    std::vector<worker_record> records_; // guarded by guard_
    std::vector<std::string> notices_;   // guarded by guard_
    unsigned long long started_ = 0;     // ticks at the first order; guarded by guard_
    gate gate_;                          // last: its thread uses the rest
};
} // namespace farm
