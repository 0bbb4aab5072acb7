#pragma once

#include <cstdint>
#include <optional>

namespace kf::process
{
/// Most bytes a pipe reader takes at once.
inline constexpr std::uint32_t kChunkBytes = 16380;
/// The longest pause of a pipe reader, in milliseconds.
inline constexpr std::uint32_t kLongestPauseMs = 100;

/// How many bytes to read from a pipe in which `waiting` bytes wait, into `room`
/// bytes; none when there is nothing to read or nowhere to put it.
std::optional<std::uint32_t> bytes_to_read(std::uint32_t waiting, std::uint32_t room);

/// How long a pipe reader pauses between looks at an empty pipe.
class pause_plan
{
public:
    /// @param eager  look again at once after data, and back off; otherwise every
    ///               pause is the longest.
    explicit pause_plan(bool eager) : eager_(eager) {}

    /// Data came: the next pauses are short again.
    void reset() { looks_ = 0; }

    /// Milliseconds to pause now; 0 is a mere yield.
    std::uint32_t next();

private:
    bool eager_;
    std::uint32_t looks_ = kNever;

    static constexpr std::uint32_t kNever = UINT32_MAX; // no data yet: nothing to be eager about
};
} // namespace kf::process
