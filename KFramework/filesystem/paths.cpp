#include "KFramework/filesystem.h"
#include "KFramework/string.h"

namespace KFramework::KFileSystem
{
std::string ToNativePath(const std::string& path)
{
    return KStringHelper::Replace(path, "/", "\\", true);
}

std::string GetFileExtension(const std::string& path)
{
    // KEPT[extension-of-whole-path]: a dot in a folder counts too.
    const std::size_t dot = path.rfind('.');
    return dot == std::string::npos ? std::string() : path.substr(dot + 1);
}

std::string GetFileFromPath(const std::string& path)
{
    // KEPT[backslash-only]: "/" is an ordinary byte until ToNativePath has been asked.
    const std::size_t separator = path.rfind('\\');
    return separator == std::string::npos ? path : path.substr(separator + 1);
}

std::string GetFilePath(const std::string& path)
{
    // KEPT[bare-name-is-its-folder]: without a backslash there is nothing to cut off.
    return path.substr(0, path.rfind('\\'));
}
} // namespace KFramework::KFileSystem
