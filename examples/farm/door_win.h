#pragma once
/// Where workers come in.

#include "port_loop_win.h"

#include <KFramework/process.h>

#include <atomic>

namespace farm
{
/// A listening socket on the loopback interface; `port` 0 lets the system choose, and is set to the choice.
SOCKET listen_on_loopback(int& port);

/// Accepts workers on a thread of its own until destroyed; closes the listener then.
class acceptor
{
public:
    acceptor(SOCKET listener, port_loop& loop);
    ~acceptor();
    acceptor(const acceptor&) = delete;
    acceptor& operator=(const acceptor&) = delete;

    /// False when the thread could not be started, so that nobody comes in.
    bool started() const { return thread_->threadHandle != nullptr; }

private:
    static unsigned int routine(void* start);
    bool accept_one(int id);

    SOCKET listener_;
    port_loop& loop_;
    std::atomic<bool> stop_ = false;
    KFramework::KProcesses::KThreadObject* thread_;
};
} // namespace farm
