#pragma once
/// Host load: processors, memory, network interfaces, disks, and the process trees that a host monitors.
///
/// One background thread per process samples about every two seconds and keeps one table, which the queries read.
/// It starts with the first query marked lazy, or with StartPerformanceMonitor, after InitializeLibrary.
///
/// Threads: any, at any time.
/// Errors: results only. What is unknown is 0, 0.0 or an empty text: before the first sample, out of range, and,
/// for queries that are not lazy, while the monitor does not run. Nothing is logged and nothing throws but
/// exhausted memory.
/// Ownership: everything is returned by value.

#include <cstdint>
#include <list>
#include <map>
#include <set>
#include <string>

#include "KFramework/export.h"

namespace KFramework::KPerformanceMonitor
{
/// The figures of one moment. The arrays of interfaces and disks follow the order of their sets of names, which is
/// that of the names' bytes; an array without elements is null.
struct kPerformanceMonitorData
{
    std::int32_t processorCount = 0;            ///< logical processors
    double* cpuByCore = nullptr;                ///< %, one per logical processor
    std::uint64_t ramAmount = 0;                ///< physical memory, in bytes
    std::uint64_t ramUsage = 0;                 ///< of it in use, in bytes
    std::uint64_t swapAmount = 0;               ///< address space of this process, in bytes
    std::uint64_t swapUsage = 0;                ///< of it in use, in bytes
    std::map<int, std::uint64_t> ramByInstance; ///< private memory of monitored trees, in bytes
    std::map<int, double> cpuByInstance;        ///< % of all processors, of monitored trees
    std::set<std::string> networkInterfaces;    ///< UTF-8 names
    std::uint64_t* interfaceFigureA = nullptr;  ///< bytes sent per second
    std::uint64_t* interfaceFigureB = nullptr;  ///< bytes received per second
    std::set<std::string> disks;                ///< UTF-8 names, without the sum of all disks
    double* diskTotal = nullptr;                ///< % of time busy
    double* diskRead = nullptr;                 ///< % of time reading
    double* diskWrite = nullptr;                ///< % of time writing
    double* interfaceUsage = nullptr; ///< bits of both directions per bit of bandwidth; 0.0 without any
};

// --- the monitor ---------------------------------------------------------------

/// Starts the monitor; nothing when it runs.
///
/// The memory figures are there when this returns, interfaces and disks shortly after, their figures and those of
/// the processors after about a second.
///
/// @kept    physical-disk-name: objects and counters are found by their indexes, in the system's language. Where it
///          has no name for an index the English one is used, which for disks is "Physical Disk", with a blank.
KFRAMEWORK_API void StartPerformanceMonitor();

/// Stops the monitor, waits for its thread and forgets interfaces, disks and the figures of processors; nothing
/// when it does not run. ShutdownLibrary calls it first.
///
/// The wait is as long as the system's calls under way; a pause is cut short. Never call it, nor ShutdownLibrary,
/// from DllMain, where no thread can end. A lazy query that comes after the stop starts a thread again: end the
/// threads that ask before the library is unloaded.
///
/// @kept    monitor-stops-for-good: a monitor that was stopped does not sample again in this process. Started
///          once more, also by a lazy query, it gathers memory figures and names once and its thread ends. Start it
///          once and stop it at the end.
KFRAMEWORK_API void StopPerformanceMonitor();

/// Fills in the memory figures, as the monitor does for its own table.
///
/// @param data   may be null: nothing happens. Written under the monitor's lock; everything but ramAmount to
///               swapUsage and ramByInstance is left alone, and so are the amounts when the system gives none.
/// @param trees  instance to the process ids that count for it; may be null. Sets ramByInstance of each to the sum
///               of what its processes use privately; a process that cannot be opened counts nothing.
/// @kept    swap-is-address-space: the swap figures are those of the calling process's virtual address space, not
///          of page files.
KFRAMEWORK_API void FillPerformanceData(kPerformanceMonitorData* data,
                                        std::map<int, std::list<unsigned long>>* trees);

/// Names the process whose tree counts for an instance, and sets the instance's figures to 0. What an earlier
/// sample of the same instance is still measuring may show for one cycle. When the process is gone, the figures
/// are 0 from the next cycle on.
///
/// @param instance   the caller's own number, for example that of a worker.
/// @param processId  replaces an earlier one. May be given before the monitor starts.
KFRAMEWORK_API void SetMonitoringProcessPid(int instance, unsigned long processId);

// --- processors and memory -----------------------------------------------------

/// How busy a logical processor is, in %; 0.0 when core is negative or not below the number of processors. Lazy.
KFRAMEWORK_API double GetCpuUsage(int core);

/// How much of all processors a monitored tree uses, in %; 0.0 for an unknown instance. Lazy.
///
/// @kept    cpu-delta-32-bits: a process's time is counted in units of 100 ns and cut to 32 bits, so that one with
///          430 s of processor time between two looks counts as if it had hardly any.
KFRAMEWORK_API double GetCpuUsageByInstance(int instance);

/// The private memory of a monitored tree, in bytes; 0 for an unknown instance. Lazy.
KFRAMEWORK_API std::uint64_t GetRamUsageByInstance(int instance);

/// The memory figures of kPerformanceMonitorData, in bytes. Lazy.
KFRAMEWORK_API std::uint64_t GetRamAmount();
KFRAMEWORK_API std::uint64_t GetRamUsage();
KFRAMEWORK_API std::uint64_t GetSwapAmount();
KFRAMEWORK_API std::uint64_t GetSwapUsage();

// --- interfaces and disks ------------------------------------------------------

/// How many there are.
///
/// @kept    devices-not-lazy: no query about interfaces and disks starts the monitor, the two reports included.
KFRAMEWORK_API std::uint64_t GetNicsCount();
KFRAMEWORK_API std::uint64_t GetDisksCount();

/// The name at a position, in UTF-8; empty when index is not below the count.
///
/// @kept    total-dropped-for-disks: "_Total" is no disk, but an interface of that name is one.
KFRAMEWORK_API std::string GetNicName(std::uint64_t index);
KFRAMEWORK_API std::string GetDiskName(std::uint64_t index);

/// Traffic of an interface in bytes per second; 0 out of range.
///
/// @kept    nic-figures-crossed: GetNicReceivedBytes gives figure A, what was sent, and GetNicSentBytes figure B,
///          what was received. The report prints A before B.
KFRAMEWORK_API std::uint64_t GetNicReceivedBytes(std::uint64_t index);
KFRAMEWORK_API std::uint64_t GetNicSentBytes(std::uint64_t index);

/// Traffic of both directions as a part of the bandwidth, 1.0 for all of it in one direction; 0.0 out of range and
/// for an interface without bandwidth.
KFRAMEWORK_API double GetNicBandwidthUsage(std::uint64_t index);

/// How much of the time a disk is busy, reads and writes, in %; 0.0 out of range.
KFRAMEWORK_API double GetDiskTotal(std::uint64_t index);
KFRAMEWORK_API double GetDiskRead(std::uint64_t index);
KFRAMEWORK_API double GetDiskWrite(std::uint64_t index);

// --- reports -------------------------------------------------------------------
//
// Numbers are written as the classic locale does, whatever the program's locale.

/// GetCpuUsageByInstance as a text of three significant digits. Lazy.
///
/// @kept    three-digits-where-stated: the processor reports have three significant digits, those of interfaces
///          and disks six.
///
///   12.3456 => 12.3
KFRAMEWORK_API std::string GetProcUsage(int instance);

/// Memory of the host and of a monitored tree: GetRamAmount and GetRamUsageByInstance. Lazy.
///
/// @kept    ram-usage-overload: with an argument this gives a text of two other figures.
///
///   17179869184 1048576
KFRAMEWORK_API std::string GetRamUsage(int instance);

/// Every processor and a monitored tree, in %, with three significant digits. Lazy.
///
/// @kept    blank-behind-each: a blank stands behind every number, the last too.
///
///   1.5 0 99.1 100 12.3(blank)
KFRAMEWORK_API std::string GetFormattedProcUsage(int instance);

/// GetRamAmount, GetRamUsage, GetSwapAmount, GetSwapUsage and GetRamUsageByInstance, with a blank between. Lazy.
///
/// @kept    ram-report-order: the figures are fetched from the last to the first.
KFRAMEWORK_API std::string GetFormattedRamUsage(int instance);

/// One line per interface, in Base64: name, figure A, figure B and bandwidth usage.
///
///   "Ethernet\t1200\t300\t0.012\n" => RXRoZXJuZXQJMTIwMAkzMDAJMC4wMTIK
KFRAMEWORK_API std::string GetFormattedNicUsage();

/// One line per disk, in Base64: name, busy, reading and writing.
KFRAMEWORK_API std::string GetFormattedDisksUsage();

/// The system's clock, in seconds.
///
/// @kept    real-time-from-1601: counted from the first of January 1601, UTC.
KFRAMEWORK_API double getRealTime();
} // namespace KFramework::KPerformanceMonitor
