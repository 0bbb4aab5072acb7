/// Sequence masks: a file's mask and frame give the file again, and no result is longer than its parts.
/// Input: a frame number in four bytes; the path or mask. A mask is as wide as it is long, so nothing here is costly.

#include "fuzz/target.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <string>

#include "KFramework/filesystem.h"

namespace fs = KFramework::KFileSystem;

namespace
{

constexpr int kUntouched = -77;

void check_path(const std::string& path)
{
    int frame = kUntouched;
    const std::string mask = fs::GetSequenceMask(path, true, frame);
    kf::fuzz::require(mask.size() == path.size(), "hashes are as many as the digits");
    kf::fuzz::require(mask == fs::GetSequenceMask(path), "both forms give the same mask");
    int same_frame = kUntouched;
    const std::string percent = fs::GetSequenceMask(path, false, same_frame);
    kf::fuzz::require(frame == same_frame, "the frame does not depend on the form");
    if (mask == path)
    {
        kf::fuzz::require(frame == kUntouched && percent == path, "a path without a run stays as it is");
        return;
    }

    const std::size_t begin =
        static_cast<std::size_t>(std::mismatch(path.begin(), path.end(), mask.begin()).first - path.begin());
    std::size_t end = begin;
    while (end < path.size() && mask[end] == '#' && path[end] != '#')
        ++end;
    const std::string digits = path.substr(begin, end - begin);
    kf::fuzz::require(begin > 0 && digits.find_first_not_of("0123456789") == std::string::npos,
                      "only digits behind something else are replaced");
    kf::fuzz::require(path.find_first_of("0123456789/\\", end) == std::string::npos ||
                          path[path.find_first_of("0123456789/\\", end)] > '9' ||
                          path.find_first_of("0123456789", end) == std::string::npos,
                      "it is the last run");
    kf::fuzz::require(percent == path.substr(0, begin) + '%' + std::to_string(digits.size()) + 'd' +
                                     path.substr(end),
                      "the other form says how many digits there are");

    if (path.find('#') != std::string::npos)
        return; // the mask's own hashes and those of the path cannot be told apart
    kf::fuzz::require(fs::GetFileMaskPadding(mask) == static_cast<int>(digits.size()),
                      "the width is the run's");
    if (digits.size() <= 9)
        kf::fuzz::require(fs::GetFileFromMask(mask, frame) == path, "mask and frame give the file again");
}

void check_mask(const std::string& mask, int frame)
{
    const std::size_t first = mask.find('#');
    const std::size_t width = first == std::string::npos ? 0 : mask.rfind('#') - first + 1;
    kf::fuzz::require(fs::GetFileMaskPadding(mask) == static_cast<int>(width),
                      "from the first hash to the last");

    const std::string file = fs::GetFileFromMask(mask, frame);
    if (width == 0)
        kf::fuzz::require(file.empty(), "a mask without hashes gives nothing");
    else
    {
        const std::string number = std::to_string(frame);
        const std::string zeros(width - std::min(width, number.size()), '0');
        kf::fuzz::require(file == mask.substr(0, first) + zeros + number + mask.substr(first + width),
                          "the number stands in the hashes' place, zeros before it");
    }

    std::string stripped = mask;
    std::erase(stripped, '#');
    kf::fuzz::require(fs::StripeFileMask(mask) == stripped, "every hash is removed");
    const std::string folder = fs::GetLayerFolderFromPath(mask);
    kf::fuzz::require(mask.find(folder) != std::string::npos && folder.find('/') == std::string::npos,
                      "the folder is one component of the path");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const int frame = static_cast<int>(input.number());
    const std::string text(input.rest());
    check_path(text);
    check_mask(text, frame);
    return 0;
}
