#include <gtest/gtest.h>

#include "KFramework/services.h"

using namespace KFramework::KServices;

TEST(GetPowerSaveState, IsFalseUntilSomebodySetsIt)
{
    EXPECT_FALSE(GetPowerSaveState());
    SetPowerSaveState(true);
    EXPECT_TRUE(GetPowerSaveState());
    SetPowerSaveState(true);
    EXPECT_TRUE(GetPowerSaveState());
    SetPowerSaveState(false);
    EXPECT_FALSE(GetPowerSaveState());
}

// KEPT[fork-does-nothing]
TEST(ForkAndDaemon, IsTrueWhateverItIsGiven)
{
    for (const int given : {0, 1, -1})
        EXPECT_TRUE(ForkAndDaemon(given)) << given;
}
