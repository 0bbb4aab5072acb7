/// A program's log from its first line to its last: in a folder of the program's choice, rotated daily, compressed,
/// and written in the background.
///
/// usage: logging_example FOLDER

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/string.h"

using namespace KFramework;
using namespace KFramework::KLogger;

static CKLoggerInstance log_file; // outlives every thread that logs

static void on_rotation(const char* path)
{
    AddLogEntry(&log_file, 2, "example", "finished log: %s", path);
}

int wmain(int count, wchar_t** arguments)
{
    if (count != 2)
        return 2;
    InitializeLibrary(nullptr); // first of all; also stores the first server time

    SetLoggerBasePath(&log_file, KStringHelper::WideStringToUtf8String(arguments[1]));
    SetLoggerFile(&log_file, "example.log");
    CreateLogger(&log_file, 3, 2 | 4); // up to EXTD, to the console and to the file
    SetLoggerRotation(&log_file, 2);   // daily
    SetLoggerRotationCompress(&log_file, true);
    // After CreateLogger, which clears it.
    SetLoggerRotationCallback(&log_file, reinterpret_cast<void*>(&on_rotation));
    SetLoggerDetachedStatus(&log_file, true);
    SetDefaultLogger(&log_file); // the library's own entries go here too

    for (int job = 1; job <= 3; ++job)
    {
        UpdateServerTime(); // a real host does so every second: rotation goes by it
        AddLogEntry(GetDefaultLogger(), 2, "example", "job %d is done", job);
        AddLogEntry(GetDefaultLogger(), 4, "example", "not written: DEBG is above EXTD");
    }
    FlushDetachedThread(&log_file); // now everything above is in the file

    RemoveDefaultLogger(); // from here on nobody finds it
    DestroyLogger(&log_file);
    ShutdownLibrary(); // last of all
    return 0;
}
