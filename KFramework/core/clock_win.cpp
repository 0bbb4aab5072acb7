#include "KFramework/core.h"
#include "KFramework/core/state_win.h"
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
    return stored != 0 ? stored : ::_time64(nullptr);
}

void MicroSleep(int ms)
{
    ::Sleep(static_cast<DWORD>(ms));
}

void LocalTime_R(long long* t, struct tm* out)
{
    const kf::core::global_lock lock;
    const struct tm* const converted = ::_localtime64(t);
    *out = converted != nullptr ? *converted : tm{};
}
} // namespace KFramework
