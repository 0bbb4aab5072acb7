#pragma once
/// What the object family takes for the server time and for the calling thread, on every platform.

#include <cstdint>

namespace kf::test
{

/// Sets the library's server time; it stands still until the next call.
///
/// @param seconds  since 1970; not 0.
void set_server_time(std::int64_t seconds);

/// Gives the calling thread another identifier while it lives.
class thread_identity
{
public:
    explicit thread_identity(std::uint32_t id);
    thread_identity(const thread_identity&) = delete;
    thread_identity& operator=(const thread_identity&) = delete;
    ~thread_identity();
};

} // namespace kf::test
