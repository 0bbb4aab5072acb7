#include "KFramework/filesystem.h"
#include "KFramework/filesystem/directory_steps.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

namespace KFramework::KFileSystem
{
namespace
{
/// Opens for its identity only, which no sharing mode refuses. Links are followed: a link and its target are one.
kf::platform::unique_file open_for_identity(const std::wstring& path)
{
    return kf::platform::unique_file(
        ::CreateFileW(path.c_str(), 0, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                      OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
}

/// Whether both paths lead to one file: deleting the one would destroy the other.
bool is_same_file(const std::wstring& a, const std::wstring& b)
{
    if (a == b)
        return true; // known even where no identity can be read
    const auto file_a = open_for_identity(a);
    const auto file_b = open_for_identity(b);
    BY_HANDLE_FILE_INFORMATION facts_a{};
    BY_HANDLE_FILE_INFORMATION facts_b{};
    return file_a && file_b && ::GetFileInformationByHandle(file_a.get(), &facts_a) &&
           ::GetFileInformationByHandle(file_b.get(), &facts_b) &&
           facts_a.dwVolumeSerialNumber == facts_b.dwVolumeSerialNumber &&
           facts_a.nFileIndexHigh == facts_b.nFileIndexHigh && facts_a.nFileIndexLow == facts_b.nFileIndexLow;
}

/// KEPT[exactly-one]: any other answer of the platform, even another true one, counts as failed.
bool is_one(BOOL answer)
{
    return answer == 1;
}

bool make_one_directory(const std::string& path)
{
    return is_one(::CreateDirectoryW(KStringHelper::Utf8StringToWideString(path).c_str(), nullptr));
}
} // namespace

bool MvFile(const std::string& source, const std::string& destination)
{
    const std::wstring from = KStringHelper::Utf8StringToWideString(source);
    const std::wstring to = KStringHelper::Utf8StringToWideString(destination);
    if (CheckFile(destination) && CheckFile(source) && !is_same_file(from, to))
        ::DeleteFileW(to.c_str());
    return is_one(::MoveFileW(from.c_str(), to.c_str()));
}

bool CopyFileW(const std::string& source, const std::string& destination)
{
    const std::wstring from = KStringHelper::Utf8StringToWideString(source);
    const std::wstring to = KStringHelper::Utf8StringToWideString(destination);
    if (CheckFile(source) && CheckFile(destination))
    {
        if (is_same_file(from, to))
            return false;
        ::DeleteFileW(to.c_str());
    }
    return is_one(::CopyFileW(from.c_str(), to.c_str(), FALSE));
}

bool RemoveFile(const std::string& path)
{
    return ::DeleteFileW(KStringHelper::Utf8StringToWideString(path).c_str()) != FALSE;
}

bool MakeDirectory(const std::string& path, bool recursive)
{
    if (!recursive)
        return make_one_directory(path); // KEPT[existing-folder-is-false]
    bool made = false;
    for (kf::filesystem::directory_steps steps(path); steps.next();)
        made = make_one_directory(steps.folder());
    return made; // KEPT[last-attempt-counts]: false also when the whole path was there before.
}
} // namespace KFramework::KFileSystem
