#pragma once
/// IsSomeoneLogged's two counters as one value.

#include <ostream>

#include <gtest/gtest.h>

#include "KFramework/services.h"

namespace kf::services::test
{
struct counters
{
    int console = 0, remote = 0;
    bool operator==(const counters&) const = default;
};

inline std::ostream& operator<<(std::ostream& out, const counters& counted)
{
    return out << counted.console << " at the console and " << counted.remote << " remote";
}

/// What one call adds to counters of 0.
inline counters counted(bool expected = true)
{
    counters now;
    EXPECT_EQ(KFramework::KServices::IsSomeoneLogged(&now.console, &now.remote), expected);
    return now;
}
} // namespace kf::services::test
