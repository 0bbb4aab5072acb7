#include "KFramework/process/account_name.h"

#include <gtest/gtest.h>

using kf::process::split_account;

TEST(SplitAccount, GivesNoDomainWithoutAnAt)
{
    const auto name = split_account("render");
    EXPECT_EQ(name.account, "render");
    EXPECT_FALSE(name.domain);
}

// KEPT[user-first-at]
TEST(SplitAccount, SplitsAtTheFirstAt)
{
    const auto name = split_account("a@b@c");
    EXPECT_EQ(name.account, "a");
    EXPECT_EQ(name.domain, "b@c");
}

TEST(SplitAccount, GivesEmptyPartsAtTheEnds)
{
    EXPECT_EQ(split_account("a@").account, "a");
    EXPECT_EQ(split_account("a@").domain, "");
    EXPECT_EQ(split_account("@b").account, "");
    EXPECT_EQ(split_account("@b").domain, "b");
    EXPECT_EQ(split_account("").account, "");
    EXPECT_FALSE(split_account("").domain);
}
