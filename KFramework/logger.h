#pragma once
/// Logging: one line per entry, to a file, to standard output, or both.
///
/// Order: default-construct a CKLoggerInstance; SetLoggerFile and SetLoggerBasePath if wanted; CreateLogger; the
/// other setters if wanted; AddLogEntry as often as wanted; DestroyLogger. The record is the caller's throughout
/// and stays in its place. InitializeLibrary comes first, and a host whose log rotates calls UpdateServerTime before
/// CreateLogger and every second from then on: rotation goes by the server time.
///
/// Threads: AddLogEntry and FlushDetachedThread from any; the others as each says. Nobody may hold the global mutex
/// while logging. Errors: none is reported; a file that cannot be opened or written costs only the file's lines.
/// Ownership: a logger's pointer passed here is never null, except to AddLogEntry.

#include "KFramework/export.h"

#include <cstdint>
#include <ctime>
#include <deque>
#include <string>

namespace boost
{
class mutex;
}

namespace kf::logger
{
struct instance_state;
}

namespace KFramework::KProcesses
{
struct KConditional;
struct KThreadObject;
} // namespace KFramework::KProcesses

namespace KFramework::KLogger
{
/// One log. A program may read every field; it sets them through the functions below.
struct CKLoggerInstance
{
    std::int32_t level = 0;             ///< highest level that is written; may be stored any time
    std::int32_t outputFlags = 0;       ///< 2: standard output, 4: file; other bits mean nothing
    bool rotationCompress = false;      ///< rotated files become gzip files
    void* fileHandle = nullptr;         ///< guarded by writeMutex; null when no file is open
    std::string fileName;               ///< CreateLogger turns "" into "default.log"
    std::string basePath;               ///< CreateLogger turns "" into the program's folder
    std::string identifier;             ///< "TZFRAMEWORK"
    boost::mutex* writeMutex = nullptr; ///< orders what is written; taken after queueMutex
    boost::mutex* queueMutex = nullptr; ///< taken before writeMutex
    KProcesses::KConditional* flushConditional = nullptr; ///< signalled when the queue is empty
    KProcesses::KThreadObject* writerThread = nullptr;    ///< null unless detached; guarded by writeMutex
    std::int32_t rotationMode = 0;                        ///< 0 none, 1 hourly, 2 daily, 3 monthly
    struct tm logStartTime = {};                          ///< local time; guarded by writeMutex
    bool detached = false;                                ///< a background thread writes
    bool stopRequested = false;                           ///< that thread is to end
    void* rotationCallback = nullptr;                     ///< void (*)(const char* path), or null
    std::deque<std::string> pendingLines;                 ///< without endings; guarded by queueMutex
    kf::logger::instance_state* hidden = nullptr;         ///< the library's own
};

/// Names the log file.
///
/// @param fileName  UTF-8, without folder, not null; copied. Takes effect in the next CreateLogger.
/// @threads not while CreateLogger runs.
KFRAMEWORK_API void SetLoggerFile(CKLoggerInstance* logger, const char* fileName);

/// Names the folder of the log file.
///
/// @param folder  UTF-8, without a separator at its end; copied. Takes effect in the next CreateLogger.
/// @threads not while CreateLogger runs.
KFRAMEWORK_API void SetLoggerBasePath(CKLoggerInstance* logger, const std::string& folder);

/// Makes a logger ready and opens its file for appending; others may read it meanwhile, not write it.
///
/// A log that already has lines keeps its period: its start time is read back from its first line, or is now.
/// Only the last folder of the path is created. A logger is destroyed before it is created again.
///
/// @param level  entries up to this level are written.
/// @param flags  2: standard output, 4: file, 6: both.
/// @owns    mutexes, conditionals and the file belong to the logger until DestroyLogger.
/// @threads one thread, before any other use of the logger.
/// @kept    folder-always: the folder is created whatever the flags.
/// @kept    identifier: always "TZFRAMEWORK", whatever the program.
/// @kept    start-needs-20-bytes: the start time is read only from a file of 20 characters or more, a line ending
///          counting as one, and only digits of the widths MM/DD/YYYY HH:MM:SS; a shorter file starts now.
/// @kept    start-weekday: the start time read back has no day of the week (0, a Sunday), so an hourly log may
///          rotate at the first line after a restart.
/// @kept    create-keeps-rotation: the rotation callback is cleared; rotation mode and compression are not.
KFRAMEWORK_API void CreateLogger(CKLoggerInstance* logger, int level, int flags);

/// Chooses the period after which the log is moved aside: 1 hour, 2 day, 3 month; any other number never.
///
/// @threads any.
KFRAMEWORK_API void SetLoggerRotation(CKLoggerInstance* logger, int mode);

/// Chooses whether rotated logs become gzip files. Compression runs inside the entry that finds the period over,
/// and every other entry waits for it.
///
/// @threads any.
/// @kept    failed-compression: the plain file is removed and the ".gz" path reported even when compressing failed,
///          for example on a full disk. Its lines are then lost; keep room on the volume.
KFRAMEWORK_API void SetLoggerRotationCompress(CKLoggerInstance* logger, bool compress);

/// Names the function that is told of each rotated file.
///
/// It runs on the thread whose entry found the period over (the background writer of a detached logger), with the
/// logger locked. It may log to this logger: such lines are written right after that entry. It must not wait for
/// another thread that logs. SetLoggerDetachedStatus, FlushDetachedThread and CheckLogRotation do nothing inside it.
///
/// @param callback  a void (*)(const char* path), called with the full path of the rotated file, which lives as long
///                  as the call; null for none.
/// @threads any.
/// @kept    callback-result: what the function returns, if it returns anything, is ignored.
KFRAMEWORK_API void SetLoggerRotationCallback(CKLoggerInstance* logger, void* callback);

/// Starts or stops writing in the background. Nothing changes when it is so already.
///
/// Detached, AddLogEntry only queues its line; it waits when 256 lines are pending until all of them are written.
/// When the thread cannot be started the logger goes on writing directly.
///
/// @threads any that holds neither mutex of the logger; of two that stop at once the second returns before the
///          writer has ended.
/// @kept    stop-leaves-lines: stopping does not write what is still queued; it stays in pendingLines until the
///          next start. Call FlushDetachedThread first.
KFRAMEWORK_API void SetLoggerDetachedStatus(CKLoggerInstance* logger, bool detached);

/// Writes one entry: "MM/DD/YYYY HH:MM:SS - [TAG] [module] message", in local time, 24 hours.
///
/// The tags of levels 1 to 4 are SEVR, INFO, EXTD and DEBG. Line breaks in the message are written as they are:
/// text from outside is passed as an argument to "%s", never as format, and without breaks.
///
///   level 2, "KFramework", "x"  =>  03/05/2024 07:08:09 - [INFO] [KFramework] x
///
/// @param logger  null: see no-logger. Works before InitializeLibrary only then.
/// @param level   written when it is at most the logger's level; nothing is formatted otherwise.
/// @param module  name of the class or namespace that reports; any length, not null.
/// @param format  printf's, not null; one that cannot be expanded gives an empty message.
/// @threads any that holds neither mutex of the logger, but see SetLoggerRotationCallback. Lines are whole and each
///          thread's stay in order.
/// @kept    severe-tag: every level other than 2, 3 and 4 is tagged SEVR, 0 and 7 too.
/// @kept    signed-level: levels are compared with their sign, so 0 and negative levels are written by any logger.
/// @kept    month-first: the month stands before the day.
/// @kept    message-limit: the message alone is cut, to 4,095 characters; prefix and module are not counted.
/// @kept    line-endings: lines end in "\r\n" in the file, in "\n" on standard output.
/// @kept    one-write: a line reaches the file in one write, so that a killed program leaves no half line.
/// @kept    no-logger: a null logger sends the bare message and "\n" to standard error, whatever the level.
KFRAMEWORK_API void AddLogEntry(CKLoggerInstance* logger, int level, const char* module, const char* format,
                                ...) __attribute__((format(gnu_printf, 4, 5)));

/// Moves the log aside when its period is over, as every write to the file does first.
///
/// The rotated file is "folder\T.suffix.file", T being the server time in seconds; with compression ".gz" follows.
/// A name that exists, or cannot be looked up, is never overwritten: the log then goes on in its file until the name
/// is free. When the file cannot be moved, lines go on into it too, and the callback is called all the same.
///
///   hourly 10.15.2024.07   daily 10.15.2024   monthly 10.2024   =>  1728975600.10.15.2024.default.log
///
/// @threads any that holds writeMutex, or one while nobody else logs.
/// @kept    hourly-weekday: hourly rotation compares hour, day of the week, month and year, not the day of the
///          month: the same hour a week later in the same month is the same period.
/// @kept    period-that-ends: the suffix tells when the rotated log was started, not when it was rotated.
/// @kept    rotation-clock: server time decides and names, the live clock starts the next period. A host that does
///          not call UpdateServerTime rotates at odd times or never.
KFRAMEWORK_API void CheckLogRotation(CKLoggerInstance* logger);

/// Waits until every line queued before the call is written, or another thread has stopped the background writer;
/// returns at once when the logger is not detached.
///
/// @threads any that holds neither mutex of the logger.
KFRAMEWORK_API void FlushDetachedThread(CKLoggerInstance* logger);

/// Writes what a detached logger has queued, ends its thread, closes the file and releases what CreateLogger made.
/// The record stays the caller's and can be created again.
///
/// @threads one thread, when no other uses the logger any more.
/// @kept    destroy-leaves-lines: lines left in pendingLines by SetLoggerDetachedStatus(logger, false) are not
///          written.
KFRAMEWORK_API void DestroyLogger(CKLoggerInstance* logger);
} // namespace KFramework::KLogger
