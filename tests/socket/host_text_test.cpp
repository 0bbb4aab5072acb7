#include "KFramework/socket/host_text.h"

#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <string>

using namespace kf::socket;

TEST(SplitZone, SplitsAtTheFirstPercentSign)
{
    EXPECT_EQ(split_zone("fe80::1%12").host, "fe80::1");
    EXPECT_EQ(split_zone("fe80::1%12").scope, "12");
    EXPECT_EQ(split_zone("a%b%c").host, "a");
    EXPECT_EQ(split_zone("a%b%c").scope, "b%c");
    EXPECT_EQ(split_zone("%").host, "");
    EXPECT_EQ(split_zone("%").scope, "");
}

TEST(SplitZone, GivesTheWholeTextWithoutAPercentSign)
{
    EXPECT_EQ(split_zone("127.0.0.1").host, "127.0.0.1");
    EXPECT_EQ(split_zone("127.0.0.1").scope, "");
    EXPECT_EQ(split_zone("").host, "");
}

TEST(CopyBounded, CutsWhatDoesNotFitAndTerminates)
{
    for (std::size_t room = 1; room <= 8; ++room)
    {
        const auto to = std::make_unique<char[]>(room); // the sanitizer watches the end
        std::memset(to.get(), 'x', room);
        copy_bounded(to.get(), room, "abcdef");
        EXPECT_EQ(std::string(to.get()), std::string("abcdef").substr(0, room - 1));
    }
}

TEST(CopyBounded, TakesAViewOfNothing)
{
    char to[] = "x";
    copy_bounded(to, sizeof to, split_zone("127.0.0.1").scope);
    EXPECT_STREQ(to, "");
}

TEST(EscapePercent, DoublesEveryPercentSign)
{
    EXPECT_EQ(escape_percent("fe80::1%12"), "fe80::1%%12");
    EXPECT_EQ(escape_percent("%%"), "%%%%");
    EXPECT_EQ(escape_percent("127.0.0.1"), "127.0.0.1");
    EXPECT_EQ(escape_percent(""), "");
}
