#pragma once
/// What the server has said to a worker.

#include "port_loop_win.h"

#include "job.h"
#include "protocol.h"

#include <deque>
#include <mutex>
#include <optional>

namespace farm
{
struct received_order
{
    unsigned int ticket = 0;
    job whole;
    order work;
};

/// What the server said, kept until the worker's main loop asks.
class mailbox : public connection_handler
{
public:
    bool on_message(connection& from, command what, const std::string& text, unsigned int ticket) override;
    void on_closed(connection& ended) override;

    bool admitted();       ///< the server has described its job
    std::string refusal(); ///< why the server does not let us in, fit to print; empty when it has not said so
    std::optional<received_order> next_order();
    bool farewell();
    bool closed();

private:
    bool take_job(const std::string& bundle);
    bool take_refusal(const std::string& why);
    bool take_order(const std::string& text, unsigned int ticket);

    std::mutex guard_;
    std::optional<job> job_;            // guarded by guard_
    std::deque<received_order> orders_; // guarded by guard_
    std::string refusal_;               // guarded by guard_
    bool farewell_ = false;             // guarded by guard_
    bool closed_ = false;               // guarded by guard_
};
} // namespace farm
