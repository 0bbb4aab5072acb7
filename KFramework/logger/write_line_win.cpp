#include "KFramework/logger/write_line_win.h"

#include "KFramework/logger/rotation_win.h"
#include "KFramework/platform/windows_win.h"

#include <cstdio>
#include <utility>

namespace kf::logger
{
namespace
{
void echo(open_line line, bool flush)
{
    line.text[line.size] = '\n'; // KEPT[line-endings]
    std::fwrite(line.text, 1, line.size + 1, stdout);
    if (flush)
        std::fflush(stdout);
}

void append_to_file(HANDLE file, open_line line)
{
    line.text[line.size] = '\r';
    line.text[line.size + 1] = '\n';
    // KEPT[one-write]: one call for the whole line, so that a killed process leaves no half line.
    DWORD written = 0;
    ::WriteFile(file, line.text, static_cast<DWORD>(line.size + 2), &written, nullptr);
}
} // namespace

void write_line(CKLoggerInstance& logger, open_line line, bool flush_console)
{
    const mutex_lock lock(logger.writeMutex);
    if (wants_console(logger))
        echo(line, flush_console);
    if (wants_file(logger) && logger.fileHandle != nullptr)
    {
        rotate_if_due(logger);
        append_to_file(logger.fileHandle, line);
        write_parked_lines(logger, flush_console);
    }
}

void write_parked_lines(CKLoggerInstance& logger, bool flush_console)
{
    // No rotation check: a parked line belongs to the file that was just begun, and cannot make the callback log
    // another one without end.
    for (std::string& parked : std::exchange(logger.hidden->parked_lines, {}))
    {
        const std::size_t size = parked.size();
        parked.resize(size + 2);
        const open_line line{parked.data(), size};
        if (wants_console(logger))
            echo(line, flush_console);
        if (wants_file(logger))
            append_to_file(logger.fileHandle, line);
    }
}
} // namespace kf::logger
