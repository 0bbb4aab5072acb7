#include "job.h"

#include "numbers.h"

#include <KFramework/filesystem.h>
#include <KFramework/string.h>

#include <map>
#include <numeric>
#include <vector>

namespace farm
{
using namespace KFramework;

namespace
{
/// Far more than any job needs: who sends more is no server of ours.
constexpr std::size_t kLongestBundle = 2000;

using entry_map = std::map<std::string, std::string>;

/// The two numbers that stand around a separator.
struct number_pair
{
    int first;
    int second;
};

std::optional<number_pair> pair_around(const std::string& text, char separator, int lowest, int highest)
{
    const auto middle = text.find(separator);
    if (middle == std::string::npos)
        return std::nullopt;
    const auto first = number_between(std::string_view(text).substr(0, middle), lowest, highest);
    const auto second = number_between(std::string_view(text).substr(middle + 1), lowest, highest);
    if (!first || !second)
        return std::nullopt;
    return number_pair{*first, *second};
}

std::string frame_range(const job& value)
{
    std::vector<int> frames(static_cast<std::size_t>(value.frame_count));
    std::iota(frames.begin(), frames.end(), value.first_frame);
    return KStringHelper::IntVectorToPrintableRanges(&frames);
}

entry_map to_entries(const job& value)
{
    return {{"frames", frame_range(value)},
            {"limit", std::to_string(value.limit_seconds)},
            {"mask", value.mask},
            {"size", std::to_string(value.width) + "x" + std::to_string(value.height)}};
}

std::optional<job> from_entries(entry_map entries)
{
    std::string frames = entries["frames"];
    if (frames.find('-') == std::string::npos)
        frames += "-" + frames; // a single frame
    const auto range = pair_around(frames, '-', 0, kLargestNumber);
    const auto size = pair_around(entries["size"], 'x', 1, kLargestSide);
    const auto limit = number_between(entries["limit"], 1, kLargestNumber);
    const std::string mask = entries["mask"];
    if (!range || range->second < range->first || !size || !limit ||
        KFileSystem::GetFileMaskPadding(mask) == 0)
        return std::nullopt;
    return job{range->first, range->second - range->first + 1, size->first, size->second, *limit, mask};
}
} // namespace

std::string to_bundle(const job& value)
{
    return KStringHelper::EncodeFramesMasks(to_entries(value));
}

std::optional<job> parse_bundle(std::string_view bundle)
{
    if (bundle.size() > kLongestBundle)
        return std::nullopt;
    auto parsed = from_entries(KStringHelper::DecodeFramesMask(std::string(bundle)));
    // The decoder forgives much; what a server of ours sends comes back as it was.
    if (parsed && to_bundle(*parsed) != bundle)
        parsed.reset();
    return parsed;
}

std::string job_line(const job& value)
{
    return (value.frame_count == 1 ? "frame " : "frames ") + frame_range(value) + " of " + value.mask + ", " +
           std::to_string(value.width) + " x " + std::to_string(value.height) + ", up to " +
           std::to_string(value.limit_seconds) + " seconds each";
}

std::string frame_list(const std::set<int>& frames)
{
    if (frames.empty())
        return "no frames";
    return (frames.size() == 1 ? "frame " : "frames ") + KStringHelper::IntSetToPrintableRanges(&frames);
}
} // namespace farm
