/// Writes the three logs of killed_log.h, one thread each, and rotates them every few lines until it is killed.
///
/// usage: log_until_killed RECORD LIFE FOLDER
///
/// It opens the logs once the record's life has become LIFE, and ends with 3 when that takes too long.

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "KFramework/string.h"
#include "tests/children/killed_log.h"

#include <cstdlib>
#include <string>
#include <thread>

using namespace KFramework;
using namespace KFramework::KLogger;
using namespace kf::test;

namespace
{
constexpr int kWaitMs = 60'000;

/// The next entry belongs to another period, and the rotated file gets a name of its own.
void end_period(CKLoggerInstance& logger, int line)
{
    KProcesses::LockMutex(logger.writeMutex);
    logger.logStartTime.tm_year = line;
    KProcesses::UnlockMutex(logger.writeMutex);
}

[[noreturn]] void write_log(killed_log_kind kind, const std::string& folder, killed_log& shared)
{
    CKLoggerInstance logger;
    SetLoggerBasePath(&logger, folder);
    SetLoggerFile(&logger, kKilledLogFiles[kind]);
    CreateLogger(&logger, 2, 4);
    SetLoggerRotation(&logger, 1);
    SetLoggerRotationCompress(&logger, kind == kPackedLog);
    SetLoggerDetachedStatus(&logger, kind == kDetachedLog);

    constexpr int kLinesPerFile[kKilledLogs] = {4, 12, 64};
    for (int line = shared.first;; ++line)
    {
        const std::string message = killed_message(kind, line);
        const bool rotates = line % kLinesPerFile[kind] == 0;
        if (rotates)
            end_period(logger, line);
        shared.rotating = rotates && kind != kDetachedLog ? 1 : 0;
        AddLogEntry(&logger, 2, "Test", "%s", message.c_str());
        shared.returned = line;
        shared.rotations += shared.rotating.exchange(0);
        if (kind == kDetachedLog && line % 16 == 0)
            ::Sleep(1); // only queues its lines, and would take the processor from the others
    }
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 4)
        return 2;
    HANDLE const mapping = ::OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, arguments[1]);
    auto* const record =
        static_cast<kill_record*>(::MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, sizeof(kill_record)));
    if (record == nullptr)
        return 2;
    const int life = _wtoi(arguments[2]);
    const std::string folder = KStringHelper::WideStringToUtf8String(arguments[3]);
    InitializeLibrary(nullptr);

    for (int waited = 0; record->life != life; ++waited)
    {
        if (waited == kWaitMs)
            return 3;
        ::Sleep(1);
    }
    UpdateServerTime();
    std::thread packed([&] { write_log(kPackedLog, folder, record->logs[kPackedLog]); });
    std::thread detached([&] { write_log(kDetachedLog, folder, record->logs[kDetachedLog]); });
    write_log(kPlainLog, folder, record->logs[kPlainLog]);
}
