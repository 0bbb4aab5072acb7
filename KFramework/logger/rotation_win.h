#pragma once
/// Rotation of a logger's file, and the thread that is inside the rotation callback.

#include "KFramework/logger/instance_state.h"

namespace kf::logger
{
/// Rotates the log when its period is over and calls the callback. The caller holds the write mutex.
void rotate_if_due(CKLoggerInstance& logger);

/// Whether the calling thread is inside this logger's rotation callback, and so holds its mutexes.
[[nodiscard]] bool in_rotation_callback(CKLoggerInstance& logger) noexcept;
} // namespace kf::logger
