#pragma once

#include "KFramework/export.h"

#include <string>

namespace KFramework
{
KFRAMEWORK_API void* CreateUniqueLock(const char* name);
KFRAMEWORK_API bool DeleteUniqueLock(void* handle, const char* name);
} // namespace KFramework

namespace KFramework::KFileSystem
{
struct KDirectory
{
    void* handle = reinterpret_cast<void*>(-1);
    std::string name;
    std::string path;
    bool isDirectory = false;
};

KFRAMEWORK_API std::string GetAppSettingsFolder(bool roaming);
KFRAMEWORK_API std::string GetHomeFolder();
KFRAMEWORK_API std::string GetTemporaryFolder();

KFRAMEWORK_API std::string ToNativePath(const std::string& path);
KFRAMEWORK_API std::string GetFileExtension(const std::string& path);
KFRAMEWORK_API std::string GetFileFromPath(const std::string& path);
KFRAMEWORK_API std::string GetFilePath(const std::string& path);
KFRAMEWORK_API std::string GetFirstFileWithPrefix(const std::string& pathAndPrefix);

KFRAMEWORK_API bool CheckFile(const std::string& path);
KFRAMEWORK_API bool CheckDirectory(const std::string& path);
KFRAMEWORK_API long long GetFileSize(const std::string& path);
KFRAMEWORK_API long long GetFileLastMod(const std::string& path);
KFRAMEWORK_API long long GetFileCreation(const std::string& path);

KFRAMEWORK_API bool MvFile(const std::string& source, const std::string& destination);
KFRAMEWORK_API bool CopyFileW(const std::string& source, const std::string& destination);
KFRAMEWORK_API bool RemoveFile(const std::string& path);
KFRAMEWORK_API bool MakeDirectory(const std::string& path, bool recursive);

KFRAMEWORK_API bool EnumDirFirstFile(KDirectory* directory, bool exeOnly, bool includeDirectories, bool includeHidden,
                                     bool includeDotNames);
KFRAMEWORK_API bool EnumDirNextFile(KDirectory* directory, bool exeOnly, bool includeDirectories, bool includeHidden,
                                    bool includeDotNames);
KFRAMEWORK_API bool EnumDirGetFirstDir(KDirectory* directory);
KFRAMEWORK_API bool EnumDirGetNextDir(KDirectory* directory);
KFRAMEWORK_API bool EnumDirClose(KDirectory* directory);

KFRAMEWORK_API std::string GetSequenceMask(const std::string& path, bool useHashes, int& firstFrame);
KFRAMEWORK_API std::string GetSequenceMask(const std::string& path);
KFRAMEWORK_API std::string GetFileFromMask(const std::string& mask, int frame);
KFRAMEWORK_API int GetFileMaskPadding(const std::string& mask);
KFRAMEWORK_API std::string StripeFileMask(const std::string& mask);
KFRAMEWORK_API std::string GetLayerFolderFromPath(const std::string& path);

KFRAMEWORK_API bool CompressFile(const char* sourcePath, const char* destinationPath);
KFRAMEWORK_API bool UncompressFile(const char* sourcePath, const char* destinationPath);
KFRAMEWORK_API bool UncompressFileToText(const char* sourcePath, std::string& text);
KFRAMEWORK_API bool UncompressBufferToText(const char* data, unsigned long long length, std::string& text);
} // namespace KFramework::KFileSystem
