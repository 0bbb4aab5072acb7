#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <optional>

#include <sys/stat.h>

namespace KFramework::KFileSystem
{
namespace
{
std::optional<DWORD> attributes(const std::string& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (!::GetFileAttributesExW(KStringHelper::Utf8StringToWideString(path).c_str(), GetFileExInfoStandard,
                                &data))
        return std::nullopt;
    return data.dwFileAttributes;
}

/// KEPT[narrow-stat]: the path goes to the runtime in its own code page.
std::optional<struct _stat64> narrow_stat(const std::string& path)
{
    struct _stat64 facts = {};
    if (::_stat64(path.c_str(), &facts) != 0)
        return std::nullopt;
    return facts;
}
} // namespace

bool CheckFile(const std::string& path)
{
    const auto found = attributes(path);
    return found && (*found & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

bool CheckDirectory(const std::string& path)
{
    const auto found = attributes(path);
    return found && (*found & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

long long GetFileSize(const std::string& path)
{
    const auto facts = narrow_stat(path);
    return facts ? facts->st_size : -1;
}

long long GetFileLastMod(const std::string& path)
{
    const auto facts = narrow_stat(path);
    return facts ? facts->st_mtime : -1;
}

long long GetFileCreation(const std::string& path)
{
    const auto facts = narrow_stat(path);
    return facts ? facts->st_ctime : -1;
}
} // namespace KFramework::KFileSystem
