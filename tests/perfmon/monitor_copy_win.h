#pragma once
/// A monitor that nothing has started or stopped yet: the library's copy, whose seconds are short.

#include <cstdint>
#include <map>
#include <string>

#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/library_copy_win.h"

namespace kf::perfmon::test
{
/// One at a time. Initialised, and stopped at its end.
class monitor_copy
{
public:
    monitor_copy();
    monitor_copy(const monitor_copy&) = delete;
    monitor_copy& operator=(const monitor_copy&) = delete;
    ~monitor_copy();

    /// File name for import_hook.
    [[nodiscard]] const char* name() const { return library_.name(); }

    /// The pauses of a second that the copy has begun.
    [[nodiscard]] static int pauses();

    /// Waits until the copy begins its count-th pause from now.
    [[nodiscard]] static bool wait_for_pauses(int count);

    /// The threads that the copy has started.
    [[nodiscard]] static int threads_started();

private:
    kf::test::library_copy library_;
    kf::test::import_hook<DWORD WINAPI(HANDLE, DWORD)> waiting_;
    kf::test::import_hook<std::uintptr_t __cdecl(void*, unsigned, unsigned(__stdcall*)(void*), void*,
                                                 unsigned, unsigned*)>
        starting_;

    template <class Function>
    Function* in_monitor(const std::string& mangled) const
    {
        return library_.function<Function>(("_ZN10KFramework19KPerformanceMonitor" + mangled).c_str());
    }

public:
    void (*initialize)(const char*) =
        library_.function<void(const char*)>("_ZN10KFramework17InitializeLibraryEPKc");
    void (*shutdown)() = library_.function<void()>("_ZN10KFramework15ShutdownLibraryEv");
    int (*processors)() = library_.function<int()>("_ZN10KFramework25GetProcessorsThreadsCountEv");

    void (*start)() = in_monitor<void()>("23StartPerformanceMonitorEv");
    void (*stop)() = in_monitor<void()>("22StopPerformanceMonitorEv");
    void (*monitor_pid)(int,
                        unsigned long) = in_monitor<void(int, unsigned long)>("23SetMonitoringProcessPidEim");
    double (*cpu)(int) = in_monitor<double(int)>("11GetCpuUsageEi");
    double (*cpu_of)(int) = in_monitor<double(int)>("21GetCpuUsageByInstanceEi");
    std::uint64_t (*ram_of)(int) = in_monitor<std::uint64_t(int)>("21GetRamUsageByInstanceEi");
    std::uint64_t (*ram_amount)() = in_monitor<std::uint64_t()>("12GetRamAmountEv");
    std::uint64_t (*ram_usage)() = in_monitor<std::uint64_t()>("11GetRamUsageEv");
    std::uint64_t (*swap_amount)() = in_monitor<std::uint64_t()>("13GetSwapAmountEv");
    std::uint64_t (*swap_usage)() = in_monitor<std::uint64_t()>("12GetSwapUsageEv");
    std::uint64_t (*nics)() = in_monitor<std::uint64_t()>("12GetNicsCountEv");
    std::uint64_t (*disks)() = in_monitor<std::uint64_t()>("13GetDisksCountEv");
    std::string (*nic_name)(std::uint64_t) = in_monitor<std::string(std::uint64_t)>("10GetNicNameB5cxx11Ey");
    std::string (*disk_name)(std::uint64_t) =
        in_monitor<std::string(std::uint64_t)>("11GetDiskNameB5cxx11Ey");
    std::uint64_t (*nic_received)(std::uint64_t) =
        in_monitor<std::uint64_t(std::uint64_t)>("19GetNicReceivedBytesEy");
    std::uint64_t (*nic_sent)(std::uint64_t) =
        in_monitor<std::uint64_t(std::uint64_t)>("15GetNicSentBytesEy");
    double (*nic_usage)(std::uint64_t) = in_monitor<double(std::uint64_t)>("20GetNicBandwidthUsageEy");
    double (*disk_total)(std::uint64_t) = in_monitor<double(std::uint64_t)>("12GetDiskTotalEy");
    double (*disk_read)(std::uint64_t) = in_monitor<double(std::uint64_t)>("11GetDiskReadEy");
    double (*disk_write)(std::uint64_t) = in_monitor<double(std::uint64_t)>("12GetDiskWriteEy");
    std::string (*proc_report)(int) = in_monitor<std::string(int)>("12GetProcUsageB5cxx11Ei");
    std::string (*ram_report)(int) = in_monitor<std::string(int)>("11GetRamUsageB5cxx11Ei");
    std::string (*full_proc_report)(int) = in_monitor<std::string(int)>("21GetFormattedProcUsageB5cxx11Ei");
    std::string (*full_ram_report)(int) = in_monitor<std::string(int)>("20GetFormattedRamUsageB5cxx11Ei");
    std::string (*nics_report)() = in_monitor<std::string()>("20GetFormattedNicUsageB5cxx11Ev");
    std::string (*disks_report)() = in_monitor<std::string()>("22GetFormattedDisksUsageB5cxx11Ev");
};

/// Every query about interfaces and disks gives what is given for unknown ones.
void expect_no_devices(const monitor_copy& monitor);
} // namespace kf::perfmon::test
