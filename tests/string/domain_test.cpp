#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace
{
std::string domain_of(std::string account)
{
    const std::string before = account;
    std::string domain = KFramework::KStringHelper::GetDomain(account);
    EXPECT_EQ(account, before);
    return domain;
}
} // namespace

TEST(GetDomain, GivesTheTextAfterTheLastAt)
{
    EXPECT_EQ(domain_of("user@domain"), "domain");
    EXPECT_EQ(domain_of("a@b@c"), "c");
    EXPECT_EQ(domain_of("user@"), "");
    EXPECT_EQ(domain_of("@domain"), "domain");
}

TEST(GetDomain, GivesTheWholeTextWithoutAnAt)
{
    EXPECT_EQ(domain_of("user"), "user");
    EXPECT_EQ(domain_of(""), "");
}
