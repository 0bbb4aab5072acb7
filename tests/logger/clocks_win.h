#pragma once
/// The clocks that the library asks, set by a test. One of each kind at a time.

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"

#include <atomic>

namespace kf::test
{
/// What a clock of the library says while the test holds it.
class held_clock
{
public:
    explicit held_clock(long long seconds)
    {
        now_ = seconds;
        KFramework::UpdateServerTime();
    }
    ~held_clock() { now_ = 0; }
    held_clock(const held_clock&) = delete;
    held_clock& operator=(const held_clock&) = delete;

    /// Moves the live clock and, unless told otherwise, the server time with it.
    void set(long long seconds, bool also_server_time = true)
    {
        now_ = seconds;
        if (also_server_time)
            KFramework::UpdateServerTime();
    }

private:
    static inline std::atomic<long long> now_{0};

    static long long __cdecl answer_time64(long long* out)
    {
        if (out != nullptr)
            *out = now_;
        return now_;
    }

    static void WINAPI answer_file_time(FILETIME* out)
    {
        const long long ticks =
            (now_ + 11'644'473'600) * 10'000'000 + 9'999'999; // the last tick of the second
        out->dwLowDateTime = static_cast<DWORD>(ticks);
        out->dwHighDateTime = static_cast<DWORD>(ticks >> 32);
    }

    import_hook<long long(long long*)> time64_{"_time64", &answer_time64};
    import_hook<void WINAPI(FILETIME*)> file_time_{"GetSystemTimeAsFileTime", &answer_file_time};
};

/// Stores a server time and leaves the live clock alone.
inline void store_server_time(long long seconds)
{
    const held_clock clock(seconds);
}
} // namespace kf::test
