#include "KFramework/process/read_plan.h"

namespace kf::process
{
namespace
{
struct pause_step
{
    std::uint32_t until_look;
    std::uint32_t pause_ms;
};
/// A writer at full speed fills the pipe again within the yields.
constexpr pause_step kSteps[] = {{64, 0}, {72, 1}, {80, 4}};
} // namespace

std::optional<std::uint32_t> bytes_to_read(std::uint32_t waiting, std::uint32_t room)
{
    if (waiting == 0 || room == 0)
        return std::nullopt;
    // KEPT[read-pipe-room]: a fuller pipe leaves room for a terminator, an equally full one does not.
    return waiting > room ? room - 1 : waiting;
}

std::uint32_t pause_plan::next()
{
    if (!eager_)
        return kLongestPauseMs;
    for (const pause_step& step : kSteps)
    {
        if (looks_ >= step.until_look)
            continue;
        ++looks_;
        return step.pause_ms;
    }
    return kLongestPauseMs;
}
} // namespace kf::process
