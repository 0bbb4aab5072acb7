#include "KFramework/process/thread_record.h"

#include <memory>

using KFramework::KProcesses::KThreadObject;

namespace kf::process
{
namespace
{
constexpr int kJoinerAndRoutine = 2;

void free_both(start_record* start) noexcept
{
    delete start->owner;
    delete start;
}

void let_go(start_record* start) noexcept
{
    if (start->holders.fetch_sub(1, std::memory_order_acq_rel) == 1)
        free_both(start);
}
} // namespace

KThreadObject* make_thread_records(void* data)
{
    auto thread = std::make_unique<KThreadObject>();
    thread->hidden = new start_record{data, thread.get(), kJoinerAndRoutine};
    return thread.release();
}

start_record* start_of(const KThreadObject& thread) noexcept
{
    return static_cast<start_record*>(thread.hidden);
}

void forget_routine(KThreadObject& thread) noexcept
{
    delete start_of(thread);
    thread.hidden = nullptr;
}

void free_thread_records(KThreadObject* thread) noexcept
{
    delete start_of(*thread);
    delete thread;
}

void abandon_thread(KThreadObject* thread) noexcept
{
    if (start_record* const start = start_of(*thread))
        let_go(start);
    else
        delete thread;
}

int exit_code_of(KThreadObject& thread) noexcept
{
    return std::atomic_ref(thread.exitCode).load(std::memory_order_acquire);
}
} // namespace kf::process

namespace KFramework::KProcesses
{
void* GetThreadData(void* startRecord)
{
    return startRecord == nullptr ? nullptr : static_cast<kf::process::start_record*>(startRecord)->data;
}

void EndThread(int exitCode, void* startRecord)
{
    if (startRecord == nullptr)
        return;
    auto* const start = static_cast<kf::process::start_record*>(startRecord);
    std::atomic_ref(start->owner->exitCode).store(exitCode, std::memory_order_release);
    std::atomic_ref(start->owner->ended).store(true, std::memory_order_release);
    kf::process::let_go(start);
}

int CheckJoinableThread(KThreadObject* thread)
{
    return thread != nullptr && std::atomic_ref(thread->ended).load(std::memory_order_acquire) ? 1 : 0;
}
} // namespace KFramework::KProcesses
