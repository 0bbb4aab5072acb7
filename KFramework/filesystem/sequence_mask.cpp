#include "KFramework/filesystem.h"
#include "KFramework/string.h"

#include <cstdlib>
#include <vector>

namespace KFramework::KFileSystem
{
namespace
{
/// The place of the frame number in a text.
struct span
{
    std::size_t begin = 0;
    std::size_t size = 0; // 0: there is none
};

bool is_digit(char byte)
{
    return byte >= '0' && byte <= '9';
}

/// The last run of digits in the last component. A run that nothing stands before does not count.
span last_run(const std::string& path)
{
    std::size_t end = path.size();
    while (end > 0 && !is_digit(path[end - 1]))
    {
        if (path[end - 1] == '\\' || path[end - 1] == '/')
            return {};
        --end;
    }
    std::size_t begin = end;
    while (begin > 0 && is_digit(path[begin - 1]))
        --begin;
    if (begin == 0)
        return {}; // KEPT[leading-digits-no-frame]: "0042.exr" alone is no sequence.
    return {begin, end - begin};
}

/// KEPT[padding-spans-hashes]: from the first hash to the last, whatever lies between.
span hash_span(const std::string& mask)
{
    const std::size_t first = mask.find('#');
    return first == std::string::npos ? span{} : span{first, mask.rfind('#') - first + 1};
}
} // namespace

std::string GetSequenceMask(const std::string& path, bool useHashes, int& firstFrame)
{
    const span run = last_run(path);
    if (run.size == 0)
        return path; // KEPT[frame-untouched]: firstFrame keeps what the caller put there.

    firstFrame = std::atoi(path.substr(run.begin, run.size).c_str());
    // KEPT[printf-mask-no-zero]: "%4d", not "%04d".
    const std::string placeholder =
        useHashes ? std::string(run.size, '#') : "%" + KStringHelper::FromSizet(run.size) + "d";
    return path.substr(0, run.begin) + placeholder + path.substr(run.begin + run.size);
}

std::string GetSequenceMask(const std::string& path)
{
    int discarded = 0;
    return GetSequenceMask(path, true, discarded);
}

int GetFileMaskPadding(const std::string& mask)
{
    return static_cast<int>(hash_span(mask).size);
}

std::string GetFileFromMask(const std::string& mask, int frame)
{
    const span hashes = hash_span(mask);
    if (hashes.size == 0)
        return {}; // KEPT[no-hash-no-file]: not the mask itself.
    std::string number = KStringHelper::FromInt(frame);
    if (number.size() < hashes.size)
        number.insert(0, hashes.size - number.size(), '0'); // KEPT[padding-before-sign]: -5 gives "00-5".
    return mask.substr(0, hashes.begin) + number + mask.substr(hashes.begin + hashes.size);
}

std::string StripeFileMask(const std::string& mask)
{
    return KStringHelper::Replace(mask, "#", "", true);
}

std::string GetLayerFolderFromPath(const std::string& path)
{
    // KEPT[slash-beats-backslash]: a path that "/" splits is not split at backslashes.
    std::vector<std::string> names = KStringHelper::TokenizeString(path, "/");
    if (names.size() < 2)
        names = KStringHelper::TokenizeString(path, "\\");
    return names.size() < 2 ? std::string() : names[names.size() - 2];
}
} // namespace KFramework::KFileSystem
