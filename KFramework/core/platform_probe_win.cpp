#include "KFramework/core/probes_win.h"
#include "KFramework/platform/windows_win.h"

// The version helpers answer for the program's manifest; this call does not. The
// SDK declares it for drivers only.
extern "C" __declspec(dllimport) LONG WINAPI RtlGetVersion(OSVERSIONINFOEXW* information);

namespace kf::core
{
windows_release probe_windows_release()
{
    OSVERSIONINFOEXW system = {};
    system.dwOSVersionInfoSize = sizeof system;
    if (::RtlGetVersion(&system) != 0)
        return {};
    return {system.dwMajorVersion, system.dwMinorVersion, system.wServicePackMajor,
            system.wProductType != VER_NT_WORKSTATION};
}
} // namespace kf::core
