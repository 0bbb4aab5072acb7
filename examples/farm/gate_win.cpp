#include "gate_win.h"

#include <KFramework/services.h>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr std::size_t kMostWaiting = 256; // about a minute
} // namespace

gate::gate(std::string key, answer_call answer)
    : key_(std::move(key)), answer_(std::move(answer)), thread_(KProcesses::SpawnThread(&gate::routine, this))
{
}

gate::~gate()
{
    {
        const std::lock_guard lock(guard_);
        stop_ = true;
    }
    changed_.notify_one();
    KProcesses::JoinThread(thread_, 0, nullptr);
}

bool gate::check(int connection, secret password)
{
    {
        const std::lock_guard lock(guard_);
        if (waiting_.size() >= kMostWaiting)
            return false;
        waiting_.push_back({connection, std::move(password)});
    }
    changed_.notify_one();
    return true;
}

void gate::withdraw(int connection)
{
    const std::lock_guard lock(guard_);
    std::erase_if(waiting_, [connection](const request& one) { return one.connection == connection; });
}

unsigned int gate::routine(void* start)
{
    static_cast<gate*>(KProcesses::GetThreadData(start))->serve();
    KProcesses::EndThread(0, start);
    return 0;
}

void gate::serve()
{
    std::unique_lock lock(guard_);
    for (;;)
    {
        changed_.wait(lock, [this] { return stop_ || !waiting_.empty(); });
        if (stop_)
            return;
        const request next = std::move(waiting_.front());
        waiting_.pop_front();
        lock.unlock();
        answer_(next.connection, KServices::VerifyPBKDF2Key(key_, next.password.text()));
        lock.lock();
    }
}
} // namespace farm
