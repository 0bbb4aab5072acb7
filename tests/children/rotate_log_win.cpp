/// Logs numbered lines and rotates the log every few of them. After each line it writes the line's number and "\n"
/// to standard output, in one call.
///
/// usage: rotate_log FOLDER FIRST COUNT LINES_PER_FILE COMPRESS(0|1)

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <cstdlib>
#include <string>

using namespace KFramework;
using namespace KFramework::KLogger;

int wmain(int count, wchar_t** arguments)
{
    if (count != 6)
        return 2;
    const int first = _wtoi(arguments[2]);
    const int end = first + _wtoi(arguments[3]);
    const int lines_per_file = _wtoi(arguments[4]);

    InitializeLibrary(nullptr);
    CKLoggerInstance logger;
    SetLoggerBasePath(&logger, KStringHelper::WideStringToUtf8String(arguments[1]));
    CreateLogger(&logger, 2, 4);
    SetLoggerRotation(&logger, 3);
    SetLoggerRotationCompress(&logger, _wtoi(arguments[5]) != 0);

    for (int line = first; line < end; ++line)
    {
        if (line % lines_per_file == 0)
            logger.logStartTime.tm_year = line; // another period, and a name of its own
        AddLogEntry(&logger, 2, "Test", "line %d of the log that is rotated", line);
        const std::string done = std::to_string(line) + "\n";
        DWORD written = 0;
        ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), done.data(), static_cast<DWORD>(done.size()), &written,
                    nullptr);
    }
    DestroyLogger(&logger);
    ShutdownLibrary();
    return 0;
}
