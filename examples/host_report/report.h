#pragma once
/// What the program prints: facts and loads of a host as tables. Portable.
///
/// The library tells most of what it does not know by 0 or an empty text. Here that becomes "unknown" or "-" wherever
/// it cannot be true.

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace host_report
{
/// What stays as it is, in the library's words.
struct host_facts
{
    std::string name;      ///< empty: unknown
    std::string platform;  ///< "Undefined": unknown
    std::string processor; ///< "Unknown": unknown
    float gigahertz = 0;   ///< 0: unknown
    int packages = 0;
    int cores_per_package = 0; ///< 0: unknown
    int threads = 0;
    std::vector<std::string> graphics; ///< none, or "Unknown": unknown
    std::string addresses;             ///< twelve digits each, "|" between two; empty: unknown
};

struct logons
{
    int console = 0;
    int remote = 0;
};

struct memory_figures
{
    std::uint64_t amount = 0; ///< bytes; 0: unknown
    std::uint64_t usage = 0;  ///< bytes
};

struct interface_figures
{
    std::string name;
    std::uint64_t sent = 0;     ///< bytes per second
    std::uint64_t received = 0; ///< bytes per second
    double usage = 0;           ///< part of the bandwidth
};

struct disk_figures
{
    std::string name;
    double busy = 0; ///< %, as the others
    double reading = 0;
    double writing = 0;
};

/// One moment.
struct load_figures
{
    std::optional<logons> people; ///< none: unknown
    memory_figures memory;
    memory_figures swap;
    std::vector<interface_figures> interfaces;
    std::vector<disk_figures> disks;
    std::vector<double> processors; ///< %
};

/// Tells idle processors and devices from counters that have not answered yet, or never will: a host that runs this
/// program has been busy somewhere, if only for a moment.
class counters
{
public:
    void learn(const load_figures& now);

    /// Whether some processor was busy at some time, so that 0 means idle.
    bool tell_of_processors() const { return processors_; }

    /// The same for interfaces and disks: they answer when any counter does.
    bool tell_of_devices() const { return devices_; }

private:
    bool processors_ = false;
    bool devices_ = false;
};

/// The whole text, each line with "\n" at its end.
///
/// @param bars  whether loads have bars.
std::string report(const host_facts& host, const load_figures& now, const counters& known, bool bars);
} // namespace host_report
