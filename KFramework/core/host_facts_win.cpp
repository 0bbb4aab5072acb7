#include "KFramework/core/host_facts_win.h"

#include "KFramework/core.h"
#include "KFramework/core/messages.h"
#include "KFramework/core/probes_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <array>
#include <cstdlib>
#include <ctime>
#include <mutex>

namespace kf::core
{
namespace
{
constexpr int kWindows = 1;
constexpr std::size_t kHostNameRoom = 255;

/// The probes run without the lock: two first requests may probe twice, and agree.
struct host_facts
{
    std::mutex lock;                            // a leaf
    processor_facts processors = not_probed();  // guarded by lock
    std::vector<std::string> graphics_adapters; // guarded by lock; empty: not probed, or the probe failed
    std::string mac_text;                       // guarded by lock
    std::string platform;                       // guarded by lock; empty: not probed

    static processor_facts not_probed()
    {
        processor_facts facts;
        facts.cores = facts.packages = facts.threads = 0;
        return facts;
    }
};

host_facts& facts()
{
    // Never destroyed, like the rest of the process-wide state.
    static host_facts& instance = *new host_facts;
    return instance;
}

processor_facts current_processor_facts()
{
    const std::lock_guard lock(facts().lock);
    return facts().processors;
}

/// One of the counts; 0 means that nobody has probed yet.
int processor_count(int processor_facts::*count)
{
    if (current_processor_facts().*count == 0)
        refresh_processor_facts();
    return current_processor_facts().*count;
}

std::vector<std::string> graphics_adapters()
{
    {
        const std::lock_guard lock(facts().lock);
        if (!facts().graphics_adapters.empty())
            return facts().graphics_adapters;
    }
    const auto probed = probe_graphics_adapters();
    const std::lock_guard lock(facts().lock);
    facts().graphics_adapters = probed.value_or(std::vector<std::string>());
    return facts().graphics_adapters;
}
} // namespace

void refresh_processor_facts()
{
    const processor_facts probed = probe_processors(current_processor_facts().cores_speed);
    const std::lock_guard lock(facts().lock);
    facts().processors = probed;
}

void refresh_mac_text()
{
    using KFramework::KStringHelper::Replace;
    std::string probed = probe_mac_text();
    probed = Replace(probed, "\n", "", true);
    probed = Replace(probed, "\r", "", true);
    const std::lock_guard lock(facts().lock);
    facts().mac_text = probed;
}
} // namespace kf::core

namespace KFramework
{
using kf::core::facts;
using kf::core::processor_facts;

std::string GetPhysicalCoresType()
{
    return kf::core::current_processor_facts().cores_type;
}

float GetPhysicalCoresSpeed()
{
    return kf::core::current_processor_facts().cores_speed;
}

int GetPhysicalCoresCount()
{
    return kf::core::processor_count(&processor_facts::cores);
}

int GetPhysicalProcessorsCount()
{
    return kf::core::processor_count(&processor_facts::packages);
}

int GetProcessorsThreadsCount()
{
    return kf::core::processor_count(&processor_facts::threads);
}

std::vector<std::string> GetPhysicalGPUsNames()
{
    return kf::core::graphics_adapters();
}

int GetPhysicalGPUsCount()
{
    return static_cast<int>(kf::core::graphics_adapters().size());
}

std::string GetHostMacAddresses(bool /*ignored*/)
{
    // KEPT[mac-argument]
    const std::lock_guard lock(facts().lock);
    return facts().mac_text;
}

bool GetHostName(std::string& name)
{
    std::array<char, kf::core::kHostNameRoom> buffer = {};
    if (::gethostname(buffer.data(), static_cast<int>(buffer.size())) != 0)
        return false;
    buffer.back() = '\0';
    name = buffer.data();
    return true;
}

std::string GetRunningPlatformString()
{
    {
        const std::lock_guard lock(facts().lock);
        if (!facts().platform.empty())
            return facts().platform;
    }
    const std::string_view name = kf::core::platform_name(kf::core::probe_windows_release());
    const std::lock_guard lock(facts().lock);
    facts().platform = name;
    return facts().platform;
}

int GetRunningPlatformOS()
{
    return kf::core::kWindows;
}

std::string GenerateUniqueGUID()
{
    const std::int64_t now = ::_time64(nullptr);
    std::array<int, 4> drawn;
    for (int& number : drawn)
        number = std::rand(); // the host seeds it, or does not
    return kf::core::guid_text(drawn, now);
}
} // namespace KFramework
