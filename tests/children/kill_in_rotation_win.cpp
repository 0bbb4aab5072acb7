/// Logs some lines, lets the hour end, and logs the line that rotates the log; ends itself at a chosen call of that
/// entry. Without one it prints the names of the calls, one a line.
///
/// usage: kill_in_rotation FOLDER COMPRESS(0|1) CALL(-1 for none)

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/string.h"
#include "tests/children/call_trap_win.h"
#include "tests/children/killed_rotation.h"
#include "tests/logger/clocks_win.h"

#include <cstdio>
#include <cstdlib>

using namespace KFramework;
using namespace KFramework::KLogger;
using namespace kf::test;

int wmain(int count, wchar_t** arguments)
{
    if (count != 4)
        return 2;
    InitializeLibrary(nullptr);
    held_clock clock(kKilledRotationStart);
    CKLoggerInstance logger;
    SetLoggerBasePath(&logger, KStringHelper::WideStringToUtf8String(arguments[1]));
    CreateLogger(&logger, 2, 4);
    SetLoggerRotation(&logger, 1);
    SetLoggerRotationCompress(&logger, _wtoi(arguments[2]) != 0);
    for (int line = 0; line < kLinesBeforeRotation; ++line)
        AddLogEntry(&logger, 2, "Test", "%s", killed_rotation_message(line).c_str());

    clock.set(kKilledRotationStart + kHourSeconds);
    const std::string message = killed_rotation_message(kLinesBeforeRotation);
    // The runtime's own calls to the system beneath fopen, fwrite and the others count too.
    if (!trap_calls_of("KFramework.dll") || !trap_calls_of("msvcrt.dll"))
        return 3;
    arm_trap(_wtoi(arguments[3]));
    AddLogEntry(&logger, 2, "Test", "%s", message.c_str());
    for (const std::string& name : disarm_trap())
        std::printf("%s\n", name.c_str());
    DestroyLogger(&logger);
    return 0;
}
