#include <gtest/gtest.h>

#include "KFramework/filesystem/entry_filter.h"

namespace
{
using kf::filesystem::entry_filter;
using kf::filesystem::folder_entry;
} // namespace

TEST(EntryFilter, TakesPlainVisibleFilesWhateverTheFlags)
{
    for (const int flags : {0, 1, 2, 3, 4, 5, 6, 7})
    {
        const entry_filter filter{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0};
        EXPECT_TRUE(filter.accepts({false, false, "a.txt"})) << flags;
        EXPECT_TRUE(filter.accepts({false, false, "a."})) << flags;
    }
}

TEST(EntryFilter, TakesWhatIsOddInOneWayOnlyWithTheFlagForIt)
{
    for (const int flags : {0, 1, 2, 3, 4, 5, 6, 7})
    {
        const entry_filter filter{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0};
        EXPECT_EQ(filter.accepts({true, false, "a"}), (flags & 1) != 0) << flags;
        EXPECT_EQ(filter.accepts({false, true, "a"}), (flags & 2) != 0) << flags;
        EXPECT_EQ(filter.accepts({false, false, ".a"}), (flags & 4) != 0) << flags;
    }
}

TEST(EntryFilter, WantsEveryFlagThatAnEntryNeeds)
{
    for (const int flags : {0, 1, 2, 3, 4, 5, 6, 7})
    {
        const entry_filter filter{(flags & 1) != 0, (flags & 2) != 0, (flags & 4) != 0};
        EXPECT_EQ(filter.accepts({true, true, ".."}), flags == 7) << flags;
    }
}
