#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core/host_texts.h"

using namespace kf::core;

// KEPT[mac-groups]
TEST(MacText, JoinsGroupsOfTwelveLowerCaseDigits)
{
    const std::vector<mac_address> two{{0x00, 0x1A, 0x2B, 0x3C, 0x4D, 0x5E}, {0xFF, 0, 0, 0, 0, 0x0F}};
    EXPECT_EQ(mac_text(two), "001a2b3c4d5e|ff000000000f");
    EXPECT_EQ(mac_text(std::vector<mac_address>{two[0]}), "001a2b3c4d5e");
    EXPECT_EQ(mac_text({}), "");
}

// KEPT[platform-names]
TEST(PlatformName, FollowsTheTableForWorkstationsAndServers)
{
    struct row
    {
        windows_release release;
        const char* workstation;
        const char* server;
    };
    const row rows[] = {
        {{11, 0, 0}, "Windows 10+ ", "Windows Server 2016+ "},
        {{10, 0, 0}, "Windows 10+ ", "Windows Server 2016+ "},
        {{6, 4, 0}, "Windows 8.1 ", "Windows Server 2012 R2 "},
        {{6, 3, 0}, "Windows 8.1 ", "Windows Server 2012 R2 "},
        {{6, 2, 0}, "Windows 8 ", "Windows Server 2012 "},
        {{6, 1, 2}, "Windows 7 SP 1 ", "Windows Server 2008 R3 "},
        {{6, 1, 1}, "Windows 7 SP 1 ", "Windows Server 2008 R3 "},
        {{6, 1, 0}, "Windows 7 ", "Windows Server 2008 R2 "},
        {{6, 0, 2}, "Windows Vista ", "Windows Server 2008 "},
        {{6, 0, 0}, "Windows Vista ", "Windows Server 2008 "},
        {{5, 2, 0}, "Windows XP ", "Windows Server 2003 "},
        {{5, 1, 0}, "Windows XP ", "Windows Server 2003 "},
        {{5, 0, 4}, "Undefined", "Undefined"},
        {{0, 0, 0}, "Undefined", "Undefined"},
    };
    for (const row& expected : rows)
    {
        windows_release release = expected.release;
        EXPECT_EQ(platform_name(release), expected.workstation) << release.major << '.' << release.minor;
        release.server = true;
        EXPECT_EQ(platform_name(release), expected.server) << release.major << '.' << release.minor;
    }
}

// KEPT[guid-order]
TEST(GuidText, PrintsTheLastDrawFirstAndTheLowHalfOfTheTimeLast)
{
    EXPECT_EQ(guid_text({1, 2, 3, 0x7FFF}, 0x65A0B1C2), "7FFF00030002000165A0B1C2");
    EXPECT_EQ(guid_text({0, 0, 0, 0}, 0x1234567890ABCDEF), "000000000000000090ABCDEF");
}

TEST(GuidText, GivesFewDigitsFourPlacesAndManyTheirOwn)
{
    EXPECT_EQ(guid_text({0xA, 0xB, 0xC, 0xD}, 1), "000D000C000B000A0001");
    EXPECT_EQ(guid_text({-1, -1, -1, -1}, -1), std::string(40, 'F'));
}
