#include <cstdint>

#include <gtest/gtest.h>

#include "KFramework/object/reference_count.h"

using namespace kf::object;

TEST(ReferenceCountRelease, IsTrueForTheLastReferenceOnly)
{
    std::uint32_t count = 2;
    EXPECT_FALSE(release(count));
    EXPECT_TRUE(release(count));
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(release(count));
    EXPECT_EQ(count, 0xFFFFFFFFu);
}

TEST(ReleaseUnlessLast, LeavesTheLastReference)
{
    std::uint32_t count = 2;
    EXPECT_TRUE(release_unless_last(count));
    EXPECT_EQ(count, 1u);
    EXPECT_FALSE(release_unless_last(count));
    EXPECT_EQ(count, 1u);
    count = 0;
    EXPECT_TRUE(release_unless_last(count));
    EXPECT_EQ(count, 0xFFFFFFFFu);
}

TEST(MarkDyingIfUnreferenced, RefusesReferencedObjects)
{
    std::uint32_t count = 1;
    EXPECT_FALSE(mark_dying_if_unreferenced(count));
    EXPECT_EQ(count, 1u);
    count = 0;
    EXPECT_TRUE(mark_dying_if_unreferenced(count));
    EXPECT_FALSE(mark_dying_if_unreferenced(count)) << "it dies once";
}

TEST(IsDying, HoldsThroughEveryRetainAndReleaseAndForNoLiveCount)
{
    std::uint32_t count = 0;
    mark_dying(count);
    EXPECT_TRUE(is_dying(count));
    for (int i = 0; i < 1000; ++i)
        EXPECT_FALSE(release(count));
    EXPECT_TRUE(is_dying(count));
    for (int i = 0; i < 2000; ++i)
        retain(count);
    EXPECT_TRUE(is_dying(count));
    for (std::uint32_t live : {0u, 1u, 1000000u, 0xFFFFFFFFu, 0xFFFFFF00u})
        EXPECT_FALSE(is_dying(live)) << live;
}
