#include "tests/support/object_surroundings.h"

#include <atomic>
#include <ctime>
#include <optional>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

namespace
{

std::atomic<std::int64_t> wanted_time{1};
thread_local std::optional<std::uint32_t> identity;

__time64_t give_wanted_time(__time64_t* out)
{
    if (out != nullptr)
        *out = wanted_time;
    return wanted_time;
}

DWORD WINAPI give_identity()
{
    return identity ? *identity : ::GetCurrentThreadId();
}

} // namespace

namespace kf::test
{

void set_server_time(std::int64_t seconds)
{
    wanted_time = seconds;
    const import_hook hook("_time64", &give_wanted_time);
    KFramework::UpdateServerTime();
}

thread_identity::thread_identity(std::uint32_t id)
{
    // Stays for the rest of the program: other threads may be inside it when this object goes.
    static const import_hook hook("GetCurrentThreadId", &give_identity);
    identity = id;
}

thread_identity::~thread_identity()
{
    identity.reset();
}

} // namespace kf::test
