#include "KFramework/filesystem.h"
#include "KFramework/filesystem/entry_filter.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

namespace KFramework::KFileSystem
{
namespace
{
using kf::filesystem::entry_filter;

bool is_directory(const WIN32_FIND_DATAW& found)
{
    return (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

/// Opens the search and gives its first entry. False leaves the invalid handle.
bool open_search(KDirectory& directory, const wchar_t* pattern, WIN32_FIND_DATAW& found)
{
    const std::wstring whole = KStringHelper::Utf8StringToWideString(directory.path) + pattern;
    directory.handle = ::FindFirstFileW(whole.c_str(), &found);
    return directory.handle != INVALID_HANDLE_VALUE;
}

/// KEPT[search-stays-open]: the end of the entries closes nothing.
bool fetch(const KDirectory& directory, WIN32_FIND_DATAW& found)
{
    return directory.handle != INVALID_HANDLE_VALUE && ::FindNextFileW(directory.handle, &found);
}

void take(KDirectory& directory, WIN32_FIND_DATAW& found)
{
    directory.isDirectory = is_directory(found);
    directory.name = KStringHelper::WideStringToUtf8String(found.cFileName);
}

/// Makes the entry current and judges it. KEPT[rejected-entry-shows]: name and kind are set either way.
bool take_if_accepted(KDirectory& directory, WIN32_FIND_DATAW& found, const entry_filter& filter)
{
    take(directory, found);
    return filter.accepts(
        {directory.isDirectory, (found.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0, directory.name});
}

/// A listing that is closed on every way out.
struct closing_listing : KDirectory
{
    closing_listing() = default;
    closing_listing(const closing_listing&) = delete;
    closing_listing& operator=(const closing_listing&) = delete;
    ~closing_listing() { EnumDirClose(this); }
};
} // namespace

bool EnumDirFirstFile(KDirectory* directory, bool exeOnly, bool includeDirectories, bool includeHidden,
                      bool includeDotNames)
{
    WIN32_FIND_DATAW found;
    if (!open_search(*directory, exeOnly ? L"\\*.exe" : L"\\*", found))
        return false;
    if (take_if_accepted(*directory, found, {includeDirectories, includeHidden, includeDotNames}))
        return true;
    return EnumDirNextFile(directory, exeOnly, includeDirectories, includeHidden, includeDotNames);
}

bool EnumDirNextFile(KDirectory* directory, bool /*exeOnly*/, bool includeDirectories, bool includeHidden,
                     bool includeDotNames)
{
    // KEPT[pattern-fixed-when-opened]: exeOnly no longer matters here.
    const entry_filter filter{includeDirectories, includeHidden, includeDotNames};
    WIN32_FIND_DATAW found;
    while (fetch(*directory, found))
    {
        if (take_if_accepted(*directory, found, filter))
            return true;
    }
    return false;
}

bool EnumDirGetFirstDir(KDirectory* directory)
{
    WIN32_FIND_DATAW found;
    if (!open_search(*directory, L"\\*", found))
        return false;
    if (!is_directory(found))
        return EnumDirGetNextDir(directory);
    take(*directory, found); // KEPT[dot-folders-listed]: "." and ".." are folders like any other.
    return true;
}

bool EnumDirGetNextDir(KDirectory* directory)
{
    WIN32_FIND_DATAW found;
    while (fetch(*directory, found))
    {
        if (is_directory(found))
        {
            take(*directory, found);
            return true;
        }
    }
    return false;
}

bool EnumDirClose(KDirectory* directory)
{
    if (directory->handle == INVALID_HANDLE_VALUE)
        return false;
    ::FindClose(directory->handle); // KEPT[handle-not-reset]: the caller closes exactly once.
    return true;
}

std::string GetFirstFileWithPrefix(const std::string& pathAndPrefix)
{
    const std::string wanted = ToNativePath(pathAndPrefix);
    if (GetFileFromPath(wanted).empty())
        return {};

    closing_listing directory;
    directory.path = GetFilePath(wanted); // KEPT[prefix-without-folder]: "pre" lists the folder "pre".
    // KEPT[first-in-folder-order]: the platform's order and the exact bytes decide.
    for (bool more = EnumDirFirstFile(&directory, false, false, true, true); more;
         more = EnumDirNextFile(&directory, false, false, true, true))
    {
        std::string candidate = directory.path + "\\" + directory.name;
        if (candidate.starts_with(wanted))
            return candidate;
    }
    return {};
}
} // namespace KFramework::KFileSystem
