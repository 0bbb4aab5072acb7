#pragma once
/// The query with all counters of the monitor.

#include <vector>

#include "KFramework/perfmon/counter_names.h"
#include "KFramework/perfmon/instances_win.h"
#include "KFramework/perfmon/usage.h"
#include "KFramework/platform/pdh_win.h"

namespace kf::perfmon
{
/// In %.
struct disk_figures
{
    double total = 0.0;
    double read = 0.0;
    double write = 0.0;
};

/// One element per core, interface and disk.
struct counter_figures
{
    std::vector<double> cores;
    std::vector<interface_figures> interfaces;
    std::vector<disk_figures> disks;
};

class counter_query
{
public:
    counter_query(const counter_names& names, int cores, const counter_instances& interfaces,
                  const counter_instances& disks);

    /// False when the system refused the query; every counter gives 0 then.
    [[nodiscard]] bool opened() const noexcept { return static_cast<bool>(query_); }

    [[nodiscard]] bool collect() const;

    /// What the last two collections gave; a counter that could not be added or read gives 0.
    [[nodiscard]] counter_figures figures() const;

private:
    struct triple
    {
        PDH_HCOUNTER first = nullptr;
        PDH_HCOUNTER second = nullptr;
        PDH_HCOUNTER third = nullptr;
    };

    PDH_HCOUNTER add(const std::u16string& path) const;

    platform::unique_query query_;
    std::vector<PDH_HCOUNTER> cores_;
    std::vector<triple> interfaces_; ///< total, sent, bandwidth
    std::vector<triple> disks_;      ///< total, read, write
};
} // namespace kf::perfmon
