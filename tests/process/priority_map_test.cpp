#include "KFramework/process/priority_map.h"

#include <gtest/gtest.h>

#include <climits>

using kf::process::priority_class;
using kf::process::priority_level;

TEST(PriorityClass, HasOneForEachLevel)
{
    EXPECT_EQ(priority_class(1), 0x40u);
    EXPECT_EQ(priority_class(2), 0x20u);
    EXPECT_EQ(priority_class(3), 0x80u);
    EXPECT_EQ(priority_class(4), 0x100u);
}

// KEPT[priority-levels]
TEST(PriorityClass, IsNormalForEveryOtherLevel)
{
    for (const int level : {0, -1, 5, 7, INT_MAX, INT_MIN})
        EXPECT_EQ(priority_class(level), 0x20u) << level;
}

TEST(PriorityLevel, IsReadBackFromItsClass)
{
    for (const int level : {1, 2, 3, 4})
        EXPECT_EQ(priority_level(priority_class(level)), level);
}

TEST(PriorityLevel, IsTwoForEveryOtherClass)
{
    for (const std::uint32_t other : {0u, 0x4000u, 0x8000u, 0x140u, ~0u})
        EXPECT_EQ(priority_level(other), 2) << other;
}
