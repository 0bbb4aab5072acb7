#include <algorithm>

#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"
#include "KFramework/string/text_blocks.h"

namespace
{
/// One system call reads several blocks; a short read can only be the last one of a file.
constexpr DWORD kReadBytes = 32 * kf::string::kBlockBytes;
/// The most that one call is asked to write.
constexpr std::size_t kWriteBytes = std::size_t{1} << 30;

// The sharing that the C runtime's files have; the handle is not inherited by children.
kf::platform::unique_file open_file(const std::string& path, DWORD access, DWORD disposition)
{
    const std::wstring wide = KFramework::KStringHelper::Utf8StringToWideString(path);
    return kf::platform::unique_file(::CreateFileW(wide.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                                   nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}
} // namespace

namespace KFramework::KStringHelper
{
// KEPT[file-argument-order]: content and path here, destination and path below.
bool SaveFileFromString(const std::string& content, const std::string& path)
{
    const kf::platform::unique_file file = open_file(path, GENERIC_WRITE, CREATE_ALWAYS);
    if (!file)
        return false;
    // KEPT[save-stops-at-nul]
    std::string_view left = kf::string::up_to_nul(content);
    while (!left.empty())
    {
        const auto size = static_cast<DWORD>(std::min(left.size(), kWriteBytes));
        DWORD written = 0;
        if (::WriteFile(file.get(), left.data(), size, &written, nullptr) == FALSE || written != size)
            return false;
        left.remove_prefix(size);
    }
    return true;
}

bool LoadFileIntoString(std::string& content, const std::string& path)
{
    const kf::platform::unique_file file = open_file(path, GENERIC_READ, OPEN_EXISTING);
    content.clear(); // not before: the path may be the same string
    if (!file)
        return false;
    std::string buffer(kReadBytes, '\0');
    DWORD read = 0;
    while (::ReadFile(file.get(), buffer.data(), kReadBytes, &read, nullptr) != FALSE && read != 0)
        kf::string::append_blocks(content, std::string_view(buffer.data(), read));
    return true;
}
} // namespace KFramework::KStringHelper
