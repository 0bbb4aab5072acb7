#include "host_win.h"

#include <KFramework/core.h>
#include <KFramework/perfmon.h>
#include <KFramework/services.h>

namespace host_report
{
using namespace KFramework;
using namespace KFramework::KPerformanceMonitor;

library_session::library_session()
{
    ::WSAStartup(MAKEWORD(2, 2), &winsock_); // the host's name is asked of it
    InitializeLibrary(nullptr);
    StartPerformanceMonitor(); // once: one that was stopped does not sample again
}

library_session::~library_session()
{
    ShutdownLibrary(); // stops the monitor first
    ::WSACleanup();
}

host_facts read_facts()
{
    host_facts host;
    GetHostName(host.name);
    host.platform = GetRunningPlatformString();
    host.processor = GetPhysicalCoresType();
    host.gigahertz = GetPhysicalCoresSpeed();
    host.packages = GetPhysicalProcessorsCount();
    host.cores_per_package = GetPhysicalCoresCount();
    host.threads = GetProcessorsThreadsCount();
    host.graphics = GetPhysicalGPUsNames();
    host.addresses = GetHostMacAddresses(false);
    return host;
}

load_figures read_loads()
{
    load_figures now;
    logons counted;
    if (KServices::IsSomeoneLogged(&counted.console, &counted.remote))
        now.people = counted;
    now.memory = {GetRamAmount(), GetRamUsage()};
    now.swap = {GetSwapAmount(), GetSwapUsage()};
    // The two names are crossed: GetNicReceivedBytes gives what was sent.
    for (std::uint64_t i = 0; i < GetNicsCount(); ++i)
        now.interfaces.push_back(
            {GetNicName(i), GetNicReceivedBytes(i), GetNicSentBytes(i), GetNicBandwidthUsage(i)});
    for (std::uint64_t i = 0; i < GetDisksCount(); ++i)
        now.disks.push_back({GetDiskName(i), GetDiskTotal(i), GetDiskRead(i), GetDiskWrite(i)});
    for (int core = 0; core < GetProcessorsThreadsCount(); ++core)
        now.processors.push_back(GetCpuUsage(core));
    return now;
}
} // namespace host_report
