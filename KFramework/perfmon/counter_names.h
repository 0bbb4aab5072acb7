#pragma once
/// The counters' names, which a localised system translates, and the paths made of them.

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace kf::perfmon
{
/// Names of objects and of their counters; English until they are looked up.
struct counter_names
{
    std::u16string processor = u"Processor";
    std::u16string processor_time = u"% Processor Time";
    std::u16string network_interface = u"Network Interface";
    std::u16string bytes_total = u"Bytes Total/sec";
    std::u16string bytes_sent = u"Bytes Sent/sec";
    std::u16string bandwidth = u"Current Bandwidth";
    // KEPT[physical-disk-name]: with a blank, unlike the English system's own name.
    std::u16string physical_disk = u"Physical Disk";
    std::u16string disk_time = u"% Disk Time";
    std::u16string disk_read_time = u"% Disk Read Time";
    std::u16string disk_write_time = u"% Disk Write Time";
};

/// A name's local text by its index, which is the same on every system.
using name_lookup = std::function<std::optional<std::u16string>(std::uint32_t index)>;

/// Looks every name up once; where that fails the English one stays.
counter_names local_names(const name_lookup& look_up);

/// \object(instance)\counter
std::u16string counter_path(std::u16string_view object, std::u16string_view instance,
                            std::u16string_view counter);

/// The instance of the processor object that is a core, counted from 0.
std::u16string core_instance(int core);

/// The texts of a list in which a zero ends each, and an empty text or the end of the room the list.
std::vector<std::u16string> listed_texts(std::u16string_view list);
} // namespace kf::perfmon
