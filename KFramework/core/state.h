#pragma once

#include <cstdint>
#include <string>

namespace boost
{
class mutex;
} // namespace boost

namespace KFramework::KLogger
{
struct CKLoggerInstance;
}

namespace kf::core
{
/// The library's process-wide state. Everything is empty until InitializeLibrary;
/// the host facts lie in host_facts_win.
struct process_state
{
    std::string module_base_path;
    std::string module_full_path;
    boost::mutex* seed_mutex = nullptr;
    boost::mutex* global_mutex = nullptr;
    std::int64_t server_time = 0;   // guarded by global_mutex
    std::uint32_t seed_counter = 0; // guarded by seed_mutex
    KFramework::KLogger::CKLoggerInstance* default_logger = nullptr;
    const char* context_name = nullptr;
    void* context_data = nullptr;
};

process_state& state() noexcept;

/// Holds the global mutex over a scope. Nothing before InitializeLibrary.
class global_lock
{
public:
    global_lock();
    ~global_lock();
    global_lock(const global_lock&) = delete;
    global_lock& operator=(const global_lock&) = delete;
};
} // namespace kf::core
