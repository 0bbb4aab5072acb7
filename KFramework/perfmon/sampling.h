#pragma once
/// The order in which the monitor's thread looks at the host.

#include "KFramework/perfmon/usage.h"

namespace kf::perfmon
{
/// What the loop needs of its surroundings.
class sampling_port
{
public:
    sampling_port() = default;
    sampling_port(const sampling_port&) = delete;
    sampling_port& operator=(const sampling_port&) = delete;
    virtual ~sampling_port() = default;

    virtual bool stopping() = 0;

    /// Looks which processes are monitored, and stores what memory is used.
    virtual void begin_cycle() = 0;

    /// Lets the counters take their values; false when they cannot.
    virtual bool collect() = 0;

    virtual process_look look_at_processes() = 0;
    virtual void store_processes(const process_look& before, const process_look& after) = 0;
    virtual void store_counters() = 0;

    /// A second, or until the monitor is to stop.
    virtual void pause() = 0;
};

/// Samples until the port says to stop.
void sample(sampling_port& port);
} // namespace kf::perfmon
