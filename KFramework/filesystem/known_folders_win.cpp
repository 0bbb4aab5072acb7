#include "KFramework/filesystem.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <vector>

#include <shlobj.h>
#include <userenv.h>

namespace KFramework::KFileSystem
{
std::string GetAppSettingsFolder(bool roaming)
{
    wchar_t folder[MAX_PATH] = {};
    const int id = roaming ? CSIDL_APPDATA : CSIDL_LOCAL_APPDATA;
    if (!::SHGetSpecialFolderPathW(nullptr, folder, id, TRUE))
        return GetHomeFolder();
    return KStringHelper::WideStringToUtf8String(folder);
}

std::string GetHomeFolder()
{
    kf::platform::unique_handle token;
    if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, token.put()))
        return {};
    DWORD length = 0;                                          // with the terminator
    ::GetUserProfileDirectoryW(token.get(), nullptr, &length); // answers "too small", with the length
    if (length == 0)
        return {};
    std::vector<wchar_t> folder(length);
    if (!::GetUserProfileDirectoryW(token.get(), folder.data(), &length))
        return {};
    return KStringHelper::WideStringToUtf8String(folder.data());
}

std::string GetTemporaryFolder()
{
    const DWORD length = ::GetTempPathW(0, nullptr); // with the terminator
    if (length < 2)
        return {};
    std::vector<wchar_t> folder(length + 1);
    ::GetTempPathW(length, folder.data());
    // KEPT[temporary-cut-by-length]: the first answer says where the last character stands.
    if (folder[length - 2] == L'\\')
        folder[length - 2] = L'\0';
    return KStringHelper::WideStringToUtf8String(folder.data());
}
} // namespace KFramework::KFileSystem
