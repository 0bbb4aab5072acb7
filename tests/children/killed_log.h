#pragma once
/// What a program that is killed while it logs shares with the test that kills it.

#include <atomic>
#include <cstdint>
#include <string>

namespace kf::test
{
/// The logs that log_until_killed writes at the same time, all hourly.
enum killed_log_kind : int
{
    kPlainLog,    ///< direct, rotated files stay as they are
    kPackedLog,   ///< direct, rotated files are compressed
    kDetachedLog, ///< written in the background
    kKilledLogs
};

inline constexpr const char* kKilledLogFiles[kKilledLogs] = {"plain.log", "packed.log", "detached.log"};

/// One log, as its program last knew it. Memory that both processes map outlives the kill.
struct killed_log
{
    std::atomic<std::int32_t> first;    ///< number of this life's first line; set by the test
    std::atomic<std::int32_t> returned; ///< the last line whose AddLogEntry has returned
    std::atomic<std::int32_t>
        rotating; ///< 1 inside an entry that finds the period over; not for the detached log
    std::atomic<std::int32_t> rotations; ///< such entries that have returned, in all lives; as above
};

struct kill_record
{
    std::atomic<std::int32_t> life; ///< which program may open the logs; set by the test
    killed_log logs[kKilledLogs];
};

static_assert(std::atomic<std::int32_t>::is_always_lock_free);

/// The message of a line, different in every byte range from its neighbours', so that a torn or mixed one shows.
///
/// @param size  about so many characters.
inline std::string killed_message(int line, int size)
{
    std::string message = "line " + std::to_string(line) + " ";
    for (std::uint32_t state = static_cast<std::uint32_t>(line) * 2654435761u + 1;
         static_cast<int>(message.size()) < size;)
    {
        state = state * 1664525u + 1013904223u;
        message += "0123456789abcdef"[state >> 28];
    }
    return message + " end";
}

/// Short lines mostly; the compressed log's are long, so that it takes several reads and writes to compress.
inline std::string killed_message(killed_log_kind log, int line)
{
    return killed_message(line, log == kPackedLog ? 3000 : line % 29 == 0 ? 4000 : 20 + line % 180);
}
} // namespace kf::test
