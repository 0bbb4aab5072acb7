/// Adding an entry: filter, compose, then write, queue or park the line.

#include "KFramework/core.h"
#include "KFramework/logger/detached_lines.h"
#include "KFramework/logger/rotation_win.h"
#include "KFramework/logger/write_line_win.h"
#include "KFramework/platform/file_time_win.h"
#include "KFramework/platform/windows_win.h"

#include <cstdarg>
#include <cstdio>

namespace kf::logger
{
namespace
{
/// The seconds that _time64 gives, from the system call beneath it: called for every entry.
long long live_seconds() noexcept
{
    constexpr long long kTicksPerSecond = 10'000'000;
    constexpr long long kEpochTicks = 116'444'736'000'000'000; // 1601-01-01 to 1970-01-01
    FILETIME now;
    ::GetSystemTimeAsFileTime(&now);
    return (static_cast<long long>(platform::units_of(now)) - kEpochTicks) / kTicksPerSecond;
}

void write_bare_message(const char* format, std::va_list arguments)
{
    char message[kMessageRoom];
    std::size_t size = expand_message(message, format, arguments);
    message[size++] = '\n'; // over the terminator
    std::fwrite(message, 1, size, stderr);
    std::fflush(stderr);
}

void add_entry(CKLoggerInstance& logger, int level, const char* module, const char* format,
               std::va_list arguments)
{
    long long seconds = live_seconds();
    std::tm local;
    KFramework::LocalTime_R(&seconds, &local);
    entry_text entry(local, level, module);
    entry.expand(format, arguments);

    if (in_rotation_callback(logger))
    {
        logger.hidden->parked_lines.push_back(entry.copy());
        return;
    }
    if (load(logger.detached))
    {
        std::string line = entry.copy();
        if (queue_line(logger, line))
            return;
    }
    write_line(logger, entry.open(), true);
}
} // namespace
} // namespace kf::logger

namespace KFramework::KLogger
{
void AddLogEntry(CKLoggerInstance* logger, int level, const char* module, const char* format, ...)
{
    // KEPT[signed-level]. The filter comes first: an entry above the level costs nothing more.
    if (logger != nullptr && level > kf::logger::load(logger->level))
        return;

    std::va_list arguments;
    va_start(arguments, format);
    if (logger == nullptr)
        kf::logger::write_bare_message(format, arguments); // KEPT[no-logger]
    else
        kf::logger::add_entry(*logger, level, module, format, arguments);
    va_end(arguments);
}
} // namespace KFramework::KLogger
