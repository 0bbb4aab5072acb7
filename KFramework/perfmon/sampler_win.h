#pragma once

namespace kf::perfmon
{
/// Names the counters, finds interfaces and disks, and samples into the table until the monitor is to stop.
void run_sampler();
} // namespace kf::perfmon
