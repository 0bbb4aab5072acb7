#pragma once

#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// Closes a handle and swallows the structured exception that the system raises
/// for a bad one under a debugger or a strict-handle policy. False when the
/// close failed or raised.
bool guarded_close(HANDLE handle) noexcept;
} // namespace kf::platform
