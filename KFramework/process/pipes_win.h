#pragma once

#include "KFramework/process.h"

#include <cstdint>
#include <optional>

namespace kf::process
{
/// Bytes waiting in a pipe; none when it cannot be asked (broken, not a pipe).
std::optional<std::uint32_t> bytes_waiting(void* pipe);

/// Closes a pipe end and forgets it, so that nobody closes the number again when
/// it belongs to something else; nothing for null.
void close_end(void*& end);

/// Closes the ends that belong to the child, after it was started or could not be.
void close_child_ends(KFramework::KProcesses::KPipesHandles& pipes);
} // namespace kf::process
