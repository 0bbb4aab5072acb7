/// Stands in for surroundings_win.cpp in native programs.

#include "tests/support/object_surroundings.h"

#include <atomic>
#include <optional>

#include "KFramework/object/surroundings.h"

namespace
{

std::atomic<std::int64_t> stored_time{1};
thread_local std::optional<std::uint32_t> identity;

} // namespace

namespace kf::test
{

void set_server_time(std::int64_t seconds)
{
    stored_time = seconds;
}

thread_identity::thread_identity(std::uint32_t id)
{
    identity = id;
}

thread_identity::~thread_identity()
{
    identity.reset();
}

} // namespace kf::test

namespace kf::object
{

std::uint64_t current_thread()
{
    thread_local const char own = 0;
    return identity ? *identity : reinterpret_cast<std::uintptr_t>(&own);
}

std::int64_t server_time()
{
    return stored_time;
}

} // namespace kf::object
