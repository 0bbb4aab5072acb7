#include <vector>

#include <gtest/gtest.h>

#include "KFramework/platform/windows_win.h"
#include "KFramework/services.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KServices;
using kf::test::import_hook;
using states = std::vector<EXECUTION_STATE>;

namespace
{
states asked;

EXECUTION_STATE WINAPI note_state(EXECUTION_STATE state)
{
    asked.push_back(state);
    return ES_CONTINUOUS;
}

EXECUTION_STATE WINAPI refuse_away_mode(EXECUTION_STATE state)
{
    asked.push_back(state);
    return (state & ES_AWAYMODE_REQUIRED) != 0 ? 0 : ES_CONTINUOUS;
}

EXECUTION_STATE WINAPI refuse_every_state(EXECUTION_STATE state)
{
    asked.push_back(state);
    return 0;
}

states asked_by(bool keep_awake, EXECUTION_STATE(WINAPI* replacement)(EXECUTION_STATE))
{
    asked.clear();
    const import_hook hook("SetThreadExecutionState", replacement);
    SetSystemSleepStatus(keep_awake);
    return asked;
}
} // namespace

// KEPT[away-mode-first]
TEST(SetSystemSleepStatus, AsksForAwayModeAndWithoutItWhereThatIsRefused)
{
    EXPECT_EQ(asked_by(true, &note_state), states({0x80000041}));
    EXPECT_EQ(asked_by(true, &refuse_away_mode), states({0x80000041, 0x80000001}));
    EXPECT_EQ(asked_by(true, &refuse_every_state), states({0x80000041, 0x80000001}));
}

TEST(SetSystemSleepStatus, ClearsEveryRequirementOnce)
{
    EXPECT_EQ(asked_by(false, &note_state), states({0x80000000}));
    EXPECT_EQ(asked_by(false, &refuse_every_state), states({0x80000000}));
}

TEST(SetSystemSleepStatus, HoldsForTheCallingThread)
{
    SetSystemSleepStatus(true);
    // Asking for nothing gives what was in force.
    EXPECT_EQ(::SetThreadExecutionState(ES_CONTINUOUS) & 0x41u, 0x41u);
    SetSystemSleepStatus(true);
    SetSystemSleepStatus(false);
    EXPECT_EQ(::SetThreadExecutionState(ES_CONTINUOUS) & 0x41u, 0u);
}

// KEPT[power-flag-only]
TEST(SetPowerSaveState, AsksTheSystemForNothing)
{
    asked.clear();
    const import_hook hook("SetThreadExecutionState", &note_state);
    SetPowerSaveState(true);
    SetPowerSaveState(false);
    EXPECT_EQ(asked, states());
}
