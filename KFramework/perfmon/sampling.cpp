#include "KFramework/perfmon/sampling.h"

namespace kf::perfmon
{
void sample(sampling_port& port)
{
    while (!port.stopping())
    {
        port.begin_cycle();
        if (!port.collect())
        {
            port.pause(); // a host whose counters fail is not asked all the time
            continue;
        }
        const process_look before = port.look_at_processes();
        port.pause();
        if (port.stopping())
            return; // the pause may have been cut short: too little to measure
        port.store_processes(before, port.look_at_processes());
        if (port.collect())
            port.store_counters();
        port.pause();
    }
}
} // namespace kf::perfmon
