#pragma once
/// Writing one line to the console and to the file.

#include "KFramework/logger/entry_text.h"
#include "KFramework/logger/instance_state.h"

namespace kf::logger
{
/// The write-line step: takes the write mutex, rotates when due, then writes what was logged meanwhile by a
/// rotation callback.
///
/// @param line           gets its ending; its contents are lost.
/// @param flush_console  whether standard output is flushed, if the line goes there.
void write_line(CKLoggerInstance& logger, open_line line, bool flush_console);

/// Writes what the rotation callback logged. The caller holds the write mutex.
void write_parked_lines(CKLoggerInstance& logger, bool flush_console);
} // namespace kf::logger
