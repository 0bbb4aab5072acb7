#pragma once
/// Who may come in: checks workers' passwords.

#include "secret.h"

#include <KFramework/process.h>

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <string>

namespace farm
{
/// One check takes a part of a second, whoever asks. So they are made one after the other, on a thread of the gate's
/// own: strangers keep one processor busy at most, and none of the threads that serve the workers.
class gate
{
public:
    /// What came of a check; called on the gate's thread.
    using answer_call = std::function<void(int connection, bool right)>;

    gate(std::string key, answer_call answer);

    /// Ends the thread; who still waits gets no answer.
    ~gate();
    gate(const gate&) = delete;
    gate& operator=(const gate&) = delete;

    /// False when the thread could not be started, so that no check ever gets an answer.
    bool started() const { return thread_->threadHandle != nullptr; }

    /// Asks for a check; false when too many wait already.
    bool check(int connection, secret password);

    /// Forgets who has left before its turn came.
    void withdraw(int connection);

private:
    struct request
    {
        int connection;
        secret password;
    };

    static unsigned int routine(void* start);
    void serve();

    const std::string key_;
    const answer_call answer_;
    std::mutex guard_;
    std::condition_variable changed_;
    std::deque<request> waiting_; // guarded by guard_
    bool stop_ = false;           // guarded by guard_
    KFramework::KProcesses::KThreadObject* thread_;
};
} // namespace farm
