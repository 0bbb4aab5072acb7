#pragma once
/// What is to be drawn, as the server tells its workers and its console. Portable.

#include <optional>
#include <set>
#include <string>
#include <string_view>

namespace farm
{
/// The largest frame number, number of frames and time limit that a peer may name.
inline constexpr int kLargestNumber = 1'000'000;
/// Pixels; the largest width and height.
inline constexpr int kLargestSide = 8192;

struct job
{
    int first_frame = 1;
    int frame_count = 24;
    int width = 320;        ///< pixels
    int height = 180;       ///< pixels
    int limit_seconds = 60; ///< for one frame on a worker
    std::string mask = "frame.####.png";

    int last_frame() const { return first_frame + frame_count - 1; }
    bool covers(int frame) const { return frame >= first_frame && frame <= last_frame(); }
};

/// The job as one frame-mask bundle: "frames" as a range, "limit", "mask" and "size".
std::string to_bundle(const job& value);

/// The job that a bundle describes, or none unless `to_bundle` writes exactly this bundle for a job in range. Peers
/// are not trusted.
std::optional<job> parse_bundle(std::string_view bundle);

/// One line for a console, for example `frames 1-24 of frame.####.png, 320 x 180, up to 60 seconds each`.
std::string job_line(const job& value);

/// Frames as ranges: `frames 1-24,30`, `frame 7` or `no frames`.
std::string frame_list(const std::set<int>& frames);
} // namespace farm
