#include "KFramework/process/wake_packet.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <vector>

using kf::process::make_wake_packet;
using bytes = std::vector<int>;

namespace
{
/// The address that a packet carries; empty for no packet.
bytes address_of(const std::string& mac)
{
    const auto packet = make_wake_packet(mac);
    return packet ? bytes(packet->begin() + 6, packet->begin() + 12) : bytes();
}
} // namespace

TEST(WakePacket, IsSixBytesOfFFAndTheAddressSixteenTimes)
{
    const auto packet = make_wake_packet("00:11:22:33:44:5F");
    ASSERT_TRUE(packet);
    bytes expected(6, 0xFF);
    for (int i = 0; i < 16; ++i)
        expected.insert(expected.end(), {0x00, 0x11, 0x22, 0x33, 0x44, 0x5F});
    EXPECT_EQ(bytes(packet->begin(), packet->end()), expected);
    EXPECT_EQ(expected.size(), 102u);
}

TEST(WakePacket, DropsColonsAndHyphensWhereverTheyStand)
{
    const auto packet = make_wake_packet("001122334455");
    ASSERT_TRUE(packet);
    EXPECT_EQ(make_wake_packet("00:11:22:33:44:55"), packet);
    EXPECT_EQ(make_wake_packet("00-11-22-33-44-55"), packet);
    EXPECT_EQ(make_wake_packet(":-0-:01122334455--"), packet);
}

TEST(WakePacket, NeedsExactlyTwelveCharacters)
{
    for (const char* mac : {"", ":", "0011223344", "00112233445", "0011223344556", "00.11.22.33.44.55"})
        EXPECT_FALSE(make_wake_packet(mac)) << mac;
}

// KEPT[wake-loose-digits]
TEST(WakePacket, ReadsEachPairAsFarAsItIsAHexadecimalNumber)
{
    EXPECT_EQ(address_of("zz1122334455"), bytes({0, 0x11, 0x22, 0x33, 0x44, 0x55}));
    EXPECT_EQ(address_of(" 1+f1zg10xAa"), bytes({1, 15, 1, 0, 0, 0xAA}));
    EXPECT_EQ(address_of("\t7.9aBfF\xC3\xA9\x31 "), bytes({7, 0, 0xAB, 0xFF, 0, 1}));
    EXPECT_EQ(address_of(std::string("\0"
                                     "11\0"
                                     "22334455",
                                     12)),
              bytes({0, 1, 0x22, 0x33, 0x44, 0x55}));
}
