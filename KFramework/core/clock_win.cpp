#include "KFramework/core.h"
#include "KFramework/core/state.h"
#include "KFramework/platform/windows_win.h"

#include <ctime>

namespace KFramework
{
void UpdateServerTime()
{
    const kf::core::global_lock lock;
    kf::core::state().server_time = ::_time64(nullptr);
}

long long GetServerTime()
{
    const kf::core::global_lock lock;
    const long long stored = kf::core::state().server_time;
    // KEPT[live-clock-not-stored]
    return stored != 0 ? stored : ::_time64(nullptr);
}

void MicroSleep(int ms)
{
    // KEPT[micro-sleep-unit]
    ::Sleep(static_cast<DWORD>(ms));
}

void LocalTime_R(long long* t, struct tm* out)
{
    const kf::core::global_lock lock;
    const struct tm* const converted = ::_localtime64(t);
    // Null for a time before 1970.
    *out = converted != nullptr ? *converted : tm{};
}
} // namespace KFramework
