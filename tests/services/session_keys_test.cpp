#include "KFramework/services/session_keys.h"

#include <gtest/gtest.h>

#include <vector>

using kf::services::may_be_user_key;
using kf::services::read_identifier;
using numbers = std::vector<std::uint32_t>;

namespace
{
/// The count, and as many sub-authorities; empty for no identifier.
numbers subs_of(const std::string& name)
{
    const auto parts = read_identifier(name);
    if (!parts)
        return {};
    numbers all{parts->count};
    all.insert(all.end(), parts->sub_authorities.begin(), parts->sub_authorities.begin() + parts->count);
    return all;
}
} // namespace

TEST(MayBeUserKey, LeavesOutDefaultInAnyCaseAndClasses)
{
    EXPECT_FALSE(may_be_user_key(".default"));
    EXPECT_FALSE(may_be_user_key(".DEFAULT"));
    EXPECT_FALSE(may_be_user_key("S-1-5-21-1_Classes"));
    EXPECT_TRUE(may_be_user_key("S-1-5-21-1_classes"));
    EXPECT_TRUE(may_be_user_key(".default2"));
    EXPECT_TRUE(may_be_user_key("S-1-5-18"));
    EXPECT_TRUE(may_be_user_key(""));
}

TEST(ReadIdentifier, CountsItsSubAuthorities)
{
    EXPECT_EQ(subs_of("S-1-5-18"), numbers({1, 18}));
    EXPECT_EQ(subs_of("S-1-5-21-4294967295-2-3-1000"), numbers({5, 21, 4294967295u, 2, 3, 1000}));
    EXPECT_EQ(subs_of("S-1-5-1-2-3-4-5-6-7-8"), numbers({8, 1, 2, 3, 4, 5, 6, 7, 8}));
}

TEST(ReadIdentifier, LeavesOutWhatFollowsTheEighthAndWhatIsNoNumber)
{
    EXPECT_EQ(subs_of("S-1-5-1-2-3-4-5-6-7-8-9"), numbers({8, 1, 2, 3, 4, 5, 6, 7, 8}));
    EXPECT_EQ(subs_of("S-1-5-21-7 and more"), numbers({2, 21, 7}));
    EXPECT_EQ(subs_of("S-1-5-21-"), numbers({1, 21}));
    EXPECT_EQ(subs_of("S-1-5-21-x-3"), numbers({1, 21}));
}

TEST(ReadIdentifier, NeedsASubAuthority)
{
    for (const char* name : {"", "S", "S-", "S-1", "S-1-", "S-1-5", "S-1-5-", "S-1-5-x", "s-1-5-21",
                             "X-1-5-21", "S1-5-21", "S--", ".DEFAULT"})
        EXPECT_FALSE(read_identifier(name)) << name;
}

TEST(ReadIdentifier, ReadsTheAuthorityAsHexadecimalIntoItsLastFourBytes)
{
    using authority = std::array<std::uint8_t, 6>;
    EXPECT_EQ(read_identifier("S-1-5-18")->authority, authority({0, 0, 0, 0, 0, 5}));
    EXPECT_EQ(read_identifier("S-1-12-18")->authority, authority({0, 0, 0, 0, 0, 0x12}));
    EXPECT_EQ(read_identifier("S-1-0xA1B2C3D4-18")->authority, authority({0, 0, 0xA1, 0xB2, 0xC3, 0xD4}));
}
