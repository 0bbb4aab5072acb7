#include "KFramework/logger/detached_lines.h"

#include <utility>

namespace kf::logger
{
using namespace KFramework::KProcesses;

namespace
{
// The queue mutex is held in all of these.

void wake_writer(writer_state& writer)
{
    writer.wake_requested = true;
    SignalConditional(writer.wake);
}

void wait_for_next_drain(CKLoggerInstance& logger)
{
    writer_state& writer = logger.hidden->writer;
    // A pass empties the queue within one hold of the mutex, so the next pass to end has written all we see now.
    const std::uint64_t seen = writer.drained;
    ++writer.waiters;
    wake_writer(writer);
    while (writer.running && writer.drained == seen)
        WaitConditional(logger.flushConditional);
    --writer.waiters;
}

bool write_pending(CKLoggerInstance& logger, writer_port& port)
{
    if (logger.pendingLines.empty())
        return false;
    while (!logger.pendingLines.empty())
    {
        std::string line = std::move(logger.pendingLines.front());
        port.write(line);
        logger.pendingLines.pop_front();
    }
    port.flush_console(); // before any waiter hears that its lines are written
    return true;
}

void pause_until_woken(writer_state& writer)
{
    if (!writer.wake_requested)
        WaitTimedConditional(writer.wake, kIdlePauseMs);
    writer.wake_requested = false;
}
} // namespace

bool queue_line(CKLoggerInstance& logger, std::string& line)
{
    const mutex_lock lock(logger.queueMutex);
    writer_state& writer = logger.hidden->writer;
    if (writer.running && logger.pendingLines.size() >= kMaxPendingLines)
        wait_for_next_drain(logger);
    if (!writer.running)
        return false;
    logger.pendingLines.push_back(std::move(line));
    return true;
}

void wait_until_drained(CKLoggerInstance& logger)
{
    const mutex_lock lock(logger.queueMutex);
    if (logger.hidden->writer.running)
        wait_for_next_drain(logger);
}

void run_writer(CKLoggerInstance& logger, writer_port& port)
{
    writer_state& writer = logger.hidden->writer;
    while (!load(logger.stopRequested))
    {
        const mutex_lock lock(logger.queueMutex);
        const bool wrote = write_pending(logger, port);
        ++writer.drained;
        if (!wrote || writer.waiters != 0)
            BroadcastSignalConditional(logger.flushConditional);
        if (!wrote)
            pause_until_woken(writer);
    }
    const mutex_lock lock(logger.queueMutex);
    writer.running = false;
    BroadcastSignalConditional(logger.flushConditional); // nobody waits for a writer that has gone
}

void request_stop(CKLoggerInstance& logger)
{
    // KEPT[stop-leaves-lines]: what is queued stays queued.
    store(logger.stopRequested, true);
    const mutex_lock lock(logger.queueMutex);
    wake_writer(logger.hidden->writer);
}
} // namespace kf::logger
