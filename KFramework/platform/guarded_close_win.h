#pragma once

#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// Makes a call and swallows the structured exception that it may end in; false then.
///
/// @param call  owns nothing: what it holds when it raises is not destroyed. It throws nothing either.
bool guarded_call(void (*call)(void* argument), void* argument) noexcept;

/// Closes a handle and swallows the structured exception that the system raises
/// for a bad one under a debugger or a strict-handle policy. False when the
/// close failed or raised.
bool guarded_close(HANDLE handle) noexcept;
} // namespace kf::platform
