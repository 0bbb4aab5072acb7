#pragma once
/// The queue between the callers of a detached logger and its background writer.
///
/// Lock order: queue mutex, then whatever the port takes (the write mutex).

#include "KFramework/logger/instance_state.h"

#include <cstddef>
#include <string>

namespace kf::logger
{
/// A caller that finds this many lines pending waits until the writer has emptied the queue.
inline constexpr std::size_t kMaxPendingLines = 256;
/// How long the writer pauses after a pass that found nothing, unless it is woken.
inline constexpr int kIdlePauseMs = 200;

/// What the background writer asks for.
class writer_port
{
public:
    writer_port() = default;
    writer_port(const writer_port&) = delete;
    writer_port& operator=(const writer_port&) = delete;
    virtual ~writer_port() = default;

    /// @param line  without ending; its contents are the port's to change.
    virtual void write(std::string& line) = 0;

    /// Called once after a pass that wrote something.
    virtual void flush_console() = 0;
};

/// Appends a line, after waiting for the writer when too many are pending.
///
/// @return  false when no writer runs; the line is then untouched and the caller's to write.
[[nodiscard]] bool queue_line(CKLoggerInstance& logger, std::string& line);

/// Waits until everything queued before the call is written, or the writer has gone.
void wait_until_drained(CKLoggerInstance& logger);

/// Writes what is queued until stop is requested; then the writer counts as gone. Whoever starts the thread marks
/// it as running, under the queue mutex.
void run_writer(CKLoggerInstance& logger, writer_port& port);

/// Makes run_writer return after the pass it is in.
void request_stop(CKLoggerInstance& logger);
} // namespace kf::logger
