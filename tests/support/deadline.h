#pragma once
/// The one upper bound on anything a test waits for.

#include <chrono>
#include <thread>

namespace kf::test
{

/// Generous: it is reached only by a failing test.
inline constexpr std::chrono::seconds kDeadline{20};

/// Asks until the answer is yes or kDeadline has passed.
///
/// @param condition  called about every 2 ms, at least once.
/// @return  the last answer.
template <class Condition>
[[nodiscard]] bool wait_until(Condition condition)
{
    const auto end = std::chrono::steady_clock::now() + kDeadline;
    while (!condition())
    {
        if (std::chrono::steady_clock::now() >= end)
            return condition();
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
    }
    return true;
}

} // namespace kf::test
