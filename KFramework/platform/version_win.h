#pragma once

#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// Whether the system has this version or a later one, as far as it tells this program.
inline bool version_is_at_least(DWORD major, DWORD minor) noexcept
{
    OSVERSIONINFOEXW wanted{};
    wanted.dwOSVersionInfoSize = sizeof wanted;
    wanted.dwMajorVersion = major;
    wanted.dwMinorVersion = minor;
    DWORDLONG at_least = 0;
    at_least = ::VerSetConditionMask(at_least, VER_MAJORVERSION, VER_GREATER_EQUAL);
    at_least = ::VerSetConditionMask(at_least, VER_MINORVERSION, VER_GREATER_EQUAL);
    at_least = ::VerSetConditionMask(at_least, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    return ::VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                                at_least) != FALSE;
}
} // namespace kf::platform
