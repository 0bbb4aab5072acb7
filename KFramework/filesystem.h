#pragma once
/// The file system: paths, folders, files, listings, sequence masks, gzip, and
/// the machine-wide lock that lets only one instance of a program run.
///
/// Paths are UTF-8 and reach the platform as UTF-16; the size and time
/// functions and the gzip functions pass theirs to the C runtime as they are.
/// The separator is the backslash; folders come back without one at the end.
///
/// Threads: everything here keeps no state and may be called from any thread.
/// Errors: reported by the result only; CompressFile and UncompressFile also
/// write one diagnostic to standard error. Nothing logs.
/// Ownership: a KDirectory is the caller's, its open search ends with
/// EnumDirClose; a lock handle ends with DeleteUniqueLock.

#include "KFramework/export.h"

#include <string>

namespace KFramework
{
/// Takes a named lock that one holder on this machine, in any session, can have.
///
/// @param name  UTF-8, without backslash; null gives null.
/// @return  the lock's handle, or null when somebody holds it (this process
///          counts too) or it cannot be made. For DeleteUniqueLock only.
/// @owns    the caller owns the handle; the end of the process ends it too.
/// @kept    second-lock-stays-open: a null result because of another holder
///          leaves this process sharing that holder's lock object until the
///          process ends, so the name stays taken as long.
KFRAMEWORK_API void* CreateUniqueLock(const char* name);

/// Gives a lock back.
///
/// @param handle  from CreateUniqueLock, not used again afterwards; null is allowed.
/// @param name    not used.
/// @return  false for null, else true.
/// @kept    lock-is-abandoned: the lock object is closed and never released;
///          the name is free when its last handle is closed.
KFRAMEWORK_API bool DeleteUniqueLock(void* handle, const char* name);
} // namespace KFramework

namespace KFramework::KFileSystem
{
/// A listing of one folder. Set path, call a first function once and its next
/// function until false, then EnumDirClose. One thread at a time; no listing
/// function takes null.
struct KDirectory
{
    void* handle = reinterpret_cast<void*>(-1); ///< the open search; all bits set means none
    std::string name;                           ///< the current entry, without folder
    std::string path;                           ///< the folder to list, without a final backslash
    bool isDirectory = false;                   ///< the current entry is a folder
};

// --- well-known folders ----------------------------------------------------

/// The user's folder for application data, made if it is missing.
///
/// @param roaming  the data that follows the user; else what stays on this machine.
/// @return  the folder; GetHomeFolder() when the platform names none.
KFRAMEWORK_API std::string GetAppSettingsFolder(bool roaming);

/// The profile folder of the user this process runs as; empty on failure.
KFRAMEWORK_API std::string GetHomeFolder();

/// The folder for temporary files; empty when the platform names none.
///
/// @kept    temporary-cut-by-length: the final backslash is looked for where the
///          length that the platform told first puts it, and nowhere else.
KFRAMEWORK_API std::string GetTemporaryFolder();

// --- paths -------------------------------------------------------------------

/// The path with every slash turned into a backslash.
KFRAMEWORK_API std::string ToNativePath(const std::string& path);

/// What follows the last dot; empty when there is none.
///
/// @kept    extension-of-whole-path: folders are searched too.
///
///   archive.tar.gz    =>  gz
///   name.             =>  (empty)
///   c:\v1.2\readme    =>  2\readme
KFRAMEWORK_API std::string GetFileExtension(const std::string& path);

/// What follows the last backslash; the whole path when there is none.
///
/// @kept    backslash-only: a slash is no separator here and in GetFilePath;
///          ask ToNativePath first.
///
///   c:\jobs\a.exr  =>  a.exr
///   c:\jobs\       =>  (empty)
///   jobs/a.exr     =>  jobs/a.exr
KFRAMEWORK_API std::string GetFileFromPath(const std::string& path);

/// What stands before the last backslash.
///
/// @kept    bare-name-is-its-folder: without a backslash it is the whole path.
///
///   c:\jobs\a.exr  =>  c:\jobs
///   c:\jobs\       =>  c:\jobs
///   a.exr          =>  a.exr
KFRAMEWORK_API std::string GetFilePath(const std::string& path);

/// Finds a file by the beginning of its name; folders do not count, hidden
/// files and names that begin with a dot do.
///
/// @param pathAndPrefix  folder, separator and beginning of the name, as in
///                       "c:\jobs\frame_"; slashes do too.
/// @return  the file's whole path; empty when no file matches, the folder
///          cannot be listed or nothing follows the last separator.
/// @kept    first-in-folder-order: of several matches the one that the
///          platform lists first, not the first by name; letter case counts.
/// @kept    prefix-without-folder: a prefix alone names the folder to list as
///          well, so "pre" finds any file of the folder "pre".
KFRAMEWORK_API std::string GetFirstFileWithPrefix(const std::string& pathAndPrefix);

// --- files -------------------------------------------------------------------

/// Whether the path exists and is no folder.
KFRAMEWORK_API bool CheckFile(const std::string& path);

/// Whether the path exists and is a folder.
KFRAMEWORK_API bool CheckDirectory(const std::string& path);

/// The size of a file in bytes; -1 when it cannot be told.
///
/// @param path  in the process's code page.
/// @kept    narrow-stat: this function and the two times take the path as the C
///          runtime does, so a non-ASCII UTF-8 path gives -1 or another file.
KFRAMEWORK_API long long GetFileSize(const std::string& path);

/// When a file was last written, in seconds since 1970 UTC; -1 as GetFileSize.
KFRAMEWORK_API long long GetFileLastMod(const std::string& path);

/// When a file was made, in seconds since 1970 UTC; -1 as GetFileSize.
KFRAMEWORK_API long long GetFileCreation(const std::string& path);

/// Moves or renames a file or a folder. When both are files, an existing
/// destination is deleted first; not atomic: another process can make the
/// destination in between.
///
/// @return  whether the source is now at destination. On false the source is
///          untouched; the destination may be gone. A destination that is a
///          folder, or is the source itself under another name, is never deleted.
/// @kept    exactly-one: this function, CopyFileW and MakeDirectory take only a
///          platform result of exactly 1 for success.
KFRAMEWORK_API bool MvFile(const std::string& source, const std::string& destination);

/// Copies a file; an existing destination file is deleted first. Not atomic.
///
/// @return  whether the copy was made; false also when both paths lead to the
///          same file, which then stays as it is.
KFRAMEWORK_API bool CopyFileW(const std::string& source, const std::string& destination);

/// Deletes a file. False when it cannot be deleted or does not exist.
KFRAMEWORK_API bool RemoveFile(const std::string& path);

/// Makes a folder.
///
/// @param recursive  make the missing folders above it too.
/// @return  whether the folder was made by this call; to know whether it
///          exists ask CheckDirectory.
/// @kept    existing-folder-is-false: a folder that is there already was not made.
/// @kept    last-attempt-counts: a recursive call gives the result of its last
///          attempt, whatever became of the folders above.
/// @kept    leading-slash-doubled: recursive creation of "/a" tries "//a".
KFRAMEWORK_API bool MakeDirectory(const std::string& path, bool recursive);

// --- listings ----------------------------------------------------------------

/// Opens a listing and goes to its first accepted entry.
///
/// @param directory           with path set. A listing it already has open is lost.
/// @param exeOnly             list only names that end in ".exe".
/// @param includeDirectories  accept folders.
/// @param includeHidden       accept entries with the hidden attribute.
/// @param includeDotNames     accept names that begin with a dot, "." and ".." among them.
/// @return  whether an accepted entry is current. On false the listing must
///          still be closed, unless the folder could not be opened: then its
///          handle is invalid and closing it does nothing.
/// @kept    rejected-entry-shows: entries that are passed over set name and
///          isDirectory too, so after false both tell of the last one seen.
KFRAMEWORK_API bool EnumDirFirstFile(KDirectory* directory, bool exeOnly, bool includeDirectories,
                                     bool includeHidden, bool includeDotNames);

/// Goes on to the next accepted entry, with the flags of the first call.
///
/// @return  false at the end of the folder, and when no listing is open.
/// @kept    pattern-fixed-when-opened: exeOnly is not looked at any more.
/// @kept    search-stays-open: the end of the folder does not close the listing.
KFRAMEWORK_API bool EnumDirNextFile(KDirectory* directory, bool exeOnly, bool includeDirectories,
                                    bool includeHidden, bool includeDotNames);

/// Opens a listing of folders and goes to the first one; false as EnumDirFirstFile.
///
/// @kept    dot-folders-listed: ".", ".." and hidden folders are listed too.
KFRAMEWORK_API bool EnumDirGetFirstDir(KDirectory* directory);

/// Goes on to the next folder. False when there is none left or no listing is open.
KFRAMEWORK_API bool EnumDirGetNextDir(KDirectory* directory);

/// Closes a listing.
///
/// @return  false when none is open.
/// @kept    handle-not-reset: the handle field keeps its old value, so a
///          listing is closed exactly once.
KFRAMEWORK_API bool EnumDirClose(KDirectory* directory);

// --- sequence masks ------------------------------------------------------------

/// The mask of the sequence that a file belongs to: the last run of digits of
/// the file name replaced by a placeholder of the same width.
///
/// @param path        the file, with or without folders; either separator.
/// @param useHashes   "####", else "%4d".
/// @param firstFrame  receives the file's frame number; of a run that an int cannot
///                    hold, whatever the C runtime's atoi makes.
/// @return  the mask; the path unchanged when it has no such run.
/// @kept    frame-untouched: firstFrame keeps its value when there is no run.
/// @kept    leading-digits-no-frame: digits that begin the whole path are no run.
/// @kept    printf-mask-no-zero: the other form is "%4d", never "%04d".
///
///   a\shot12_v3.0042.exr          =>  a\shot12_v3.####.exr, 42
///   a\render.0042.exr, no hashes  =>  a\render.%4d.exr, 42
///   a7\render.exr                 =>  a7\render.exr
///   0042.exr                      =>  0042.exr
KFRAMEWORK_API std::string GetSequenceMask(const std::string& path, bool useHashes, int& firstFrame);

/// The mask in hash form, without the frame number.
KFRAMEWORK_API std::string GetSequenceMask(const std::string& path);

/// The file of one frame of a hash mask.
///
/// @param frame  0 or more; written with at least as many digits as the mask is wide.
/// @return  the file name; digits beyond the width are kept.
/// @kept    no-hash-no-file: a mask without hashes gives an empty text.
/// @kept    padding-before-sign: frame -5 at width 4 gives "00-5".
///
///   a.####.exr, 7       =>  a.0007.exr
///   a.####.exr, 123456  =>  a.123456.exr
///   #a#, 7              =>  007
KFRAMEWORK_API std::string GetFileFromMask(const std::string& mask, int frame);

/// The width of a hash mask; 0 when it has no hash.
///
/// @kept    padding-spans-hashes: counted from the first to the last hash, with
///          whatever lies between; GetFileFromMask replaces all of that.
///
///   a.####.exr  =>  4
///   #a#         =>  3
KFRAMEWORK_API int GetFileMaskPadding(const std::string& mask);

/// The mask without its hashes: "render.####.exr" gives "render..exr".
KFRAMEWORK_API std::string StripeFileMask(const std::string& mask);

/// The name of the folder that holds the last component of a path; empty when
/// there is none. A final separator ends the last component: it adds no empty one.
///
/// @kept    slash-beats-backslash: when slashes split the path, backslashes do not.
///
///   jobs/shot/layer1/img.exr  =>  layer1
///   jobs/shot/                =>  jobs
///   /img.exr                  =>  (empty)
KFRAMEWORK_API std::string GetLayerFolderFromPath(const std::string& path);

// --- gzip ----------------------------------------------------------------------

/// Compresses a file into a gzip file. The two must not be the same file.
///
/// @param sourcePath, destinationPath  in the process's code page; null counts as a
///                                     file that cannot be opened.
/// @return  false when a file cannot be opened, read or written or memory runs
///          out; the destination keeps what was written so far. Standard error
///          gets "zlib: " and the reason, but nothing when a file cannot be opened.
/// @kept    narrow-gzip-paths: paths go to the C runtime as they are here and in
///          the two functions below.
/// @kept    destination-cut-first: the destination is emptied even when the
///          source cannot be opened.
/// @kept    standard-stream-flags: the diagnostic for a failed read or write is
///          "zlib: " and then speaks of standard input and output, each only if
///          that stream has its error flag set.
KFRAMEWORK_API bool CompressFile(const char* sourcePath, const char* destinationPath);

/// Decompresses a gzip file; as CompressFile otherwise. The size of the result
/// has no limit.
///
/// @return  false also when the source is no gzip file, is damaged or ends early.
/// @kept    first-member-only: what follows the first member of the file is not
///          looked at.
KFRAMEWORK_API bool UncompressFile(const char* sourcePath, const char* destinationPath);

/// Decompresses a gzip file into a text of less than 2 GiB, by way of a
/// temporary file. Writes no diagnostic.
///
/// @param sourcePath  in the process's code page; null counts as a file that cannot be opened.
/// @param text        receives the content; untouched when the source or the
///                    temporary file cannot be opened or read back.
/// @return  whether the whole first member was decompressed.
/// @kept    text-set-on-failure: a stream that is damaged or ends early gives
///          false and the text up to there.
/// @kept    text-ends-at-nul: the text ends before the first NUL byte.
KFRAMEWORK_API bool UncompressFileToText(const char* sourcePath, std::string& text);

/// Decompresses a buffer; as UncompressFileToText otherwise.
///
/// @param data    the gzip bytes; stays the caller's; may be null when length is 0.
/// @param length  in bytes; 0 gives false.
KFRAMEWORK_API bool UncompressBufferToText(const char* data, unsigned long long length, std::string& text);
} // namespace KFramework::KFileSystem
