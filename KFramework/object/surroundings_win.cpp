#include "KFramework/core.h"
#include "KFramework/object/surroundings.h"
#include "KFramework/process.h"

namespace kf::object
{
std::uint64_t current_thread()
{
    return KFramework::KProcesses::GetCurrentThread();
}

std::int64_t server_time()
{
    return KFramework::GetServerTime();
}
} // namespace kf::object
