#include "KFramework/core.h"
#include "KFramework/perfmon.h"
#include "KFramework/perfmon/figures.h"
#include "KFramework/perfmon/sampler_win.h"
#include "KFramework/perfmon/state_win.h"
#include "KFramework/process.h"

#include <algorithm>
#include <memory>
#include <new>

namespace KFramework::KPerformanceMonitor
{
namespace
{
std::atomic<KProcesses::KThreadObject*> monitor{nullptr}; // written under the lock of lifecycle()

/// Starts and stops come one after the other; queries of a running monitor never wait here.
boost::mutex& lifecycle()
{
    static boost::mutex* const the_mutex = new boost::mutex; // outlives every thread that may ask
    return *the_mutex;
}

unsigned int run_monitor(void* start)
{
    KProcesses::GetThreadData(start);
    try
    {
        kf::perfmon::run_sampler();
    }
    catch (const std::bad_alloc&)
    {
        // The figures stay as they are; a host without memory has other worries.
    }
    KProcesses::EndThread(0, start);
    return 0;
}

void prepare_table()
{
    const int processors = std::max(GetProcessorsThreadsCount(), 0);
    auto cores = processors == 0 ? nullptr : std::make_unique<double[]>(static_cast<std::size_t>(processors));
    const kf::perfmon::table_lock lock(kf::perfmon::state().mutex);
    kPerformanceMonitorData& table = kf::perfmon::state().table;
    kf::perfmon::forget_items(table);
    table.processorCount = processors;
    table.cpuByCore = cores.release();
}
} // namespace

void StartPerformanceMonitor()
{
    if (monitor != nullptr)
        return;
    const boost::lock_guard lock(lifecycle());
    if (monitor != nullptr)
        return;
    prepare_table();
    FillPerformanceData(&kf::perfmon::state().table, nullptr);
    KProcesses::KThreadObject* const thread = KProcesses::SpawnThread(run_monitor, nullptr);
    if (thread->threadHandle != nullptr)
        monitor = thread;
    else
        KProcesses::JoinThread(thread, 0, nullptr); // frees the record; the next query tries again
}

void StopPerformanceMonitor()
{
    if (monitor == nullptr)
        return;
    const boost::lock_guard lock(lifecycle());
    if (monitor == nullptr)
        return;
    kf::perfmon::state().stop.set();
    KProcesses::JoinThread(monitor, 0, nullptr);
    {
        // The lock itself stays: a query may be waiting for it.
        const kf::perfmon::table_lock table(kf::perfmon::state().mutex);
        kf::perfmon::forget_items(kf::perfmon::state().table);
    }
    monitor = nullptr;
}
} // namespace KFramework::KPerformanceMonitor
