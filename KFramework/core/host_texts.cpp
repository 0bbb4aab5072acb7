#include "KFramework/core/host_texts.h"

#include "KFramework/core/messages.h"

#include <compare>
#include <cstdio>

namespace kf::core
{
namespace
{
struct version
{
    std::uint32_t major;
    std::uint32_t minor;
    std::uint32_t service_pack;

    auto operator<=>(const version&) const = default;
};

struct named_release
{
    version from;
    std::string_view workstation;
    std::string_view server;
};

// KEPT[platform-names]: each name ends in a blank, and 7 SP 1 is "R3" as a server.
constexpr named_release kReleases[] = {
    {{10, 0, 0}, "Windows 10+ ", "Windows Server 2016+ "},
    {{6, 3, 0}, "Windows 8.1 ", "Windows Server 2012 R2 "},
    {{6, 2, 0}, "Windows 8 ", "Windows Server 2012 "},
    {{6, 1, 1}, "Windows 7 SP 1 ", "Windows Server 2008 R3 "},
    {{6, 1, 0}, "Windows 7 ", "Windows Server 2008 R2 "},
    {{6, 0, 0}, "Windows Vista ", "Windows Server 2008 "},
    {{5, 1, 0}, "Windows XP ", "Windows Server 2003 "},
};

constexpr std::size_t kGuidRoom = 50;
} // namespace

std::string mac_text(std::span<const mac_address> addresses)
{
    std::string text;
    for (const mac_address& address : addresses)
    {
        if (!text.empty())
            text += '|'; // KEPT[mac-groups]
        char group[2 * std::tuple_size_v<mac_address> + 1];
        std::snprintf(group, sizeof group, "%2.2x%2.2x%2.2x%2.2x%2.2x%2.2x", address[0], address[1],
                      address[2], address[3], address[4], address[5]);
        text += group;
    }
    return text;
}

std::string_view platform_name(const windows_release& release)
{
    const version running{release.major, release.minor, release.service_pack};
    for (const named_release& named : kReleases)
    {
        if (running >= named.from)
            return release.server ? named.server : named.workstation;
    }
    return kUndefined;
}

std::string guid_text(const std::array<int, 4>& drawn, std::int64_t time)
{
    // KEPT[guid-order]
    char text[kGuidRoom];
    std::snprintf(text, sizeof text, "%4.4X%4.4X%4.4X%4.4X%4.4X", static_cast<unsigned>(drawn[3]),
                  static_cast<unsigned>(drawn[2]), static_cast<unsigned>(drawn[1]),
                  static_cast<unsigned>(drawn[0]), static_cast<unsigned>(static_cast<std::uint64_t>(time)));
    return text;
}
} // namespace kf::core
