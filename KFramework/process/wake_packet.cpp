#include "KFramework/process/wake_packet.h"

#include <algorithm>
#include <cstdlib>

namespace kf::process
{
namespace
{
constexpr std::size_t kAddressBytes = 6;
constexpr std::size_t kLeadBytes = 6;
constexpr unsigned char kLead = 0xFF;

unsigned char read_pair(char first, char second)
{
    // KEPT[wake-loose-digits]: strtol's own rules, blanks and a plus sign in front included.
    const char pair[] = {first, second, '\0'};
    return static_cast<unsigned char>(std::strtol(pair, nullptr, 16));
}
} // namespace

std::optional<wake_packet> make_wake_packet(std::string mac)
{
    std::erase(mac, ':');
    std::erase(mac, '-');
    if (mac.size() != 2 * kAddressBytes)
        return std::nullopt;

    std::array<unsigned char, kAddressBytes> address{};
    for (std::size_t i = 0; i < kAddressBytes; ++i)
        address[i] = read_pair(mac[2 * i], mac[2 * i + 1]);

    wake_packet packet;
    auto end = std::fill_n(packet.begin(), kLeadBytes, kLead);
    while (end != packet.end())
        end = std::copy(address.begin(), address.end(), end);
    return packet;
}
} // namespace kf::process
