#pragma once
/// The steps of one rotation, over what they need of the outside.

#include <cstdint>
#include <ctime>
#include <optional>
#include <string>

namespace kf::logger
{
/// Where a log lies.
struct log_location
{
    std::string folder;
    std::string file;

    [[nodiscard]] std::string path() const { return folder + "\\" + file; }
};

/// What a rotation asks for. No step reports: whatever fails, the steps go on.
class rotation_port
{
public:
    rotation_port() = default;
    rotation_port(const rotation_port&) = delete;
    rotation_port& operator=(const rotation_port&) = delete;
    virtual ~rotation_port() = default;

    virtual bool exists(const std::string& path) = 0;
    virtual void close_log() = 0;
    virtual void move(const std::string& from, const std::string& to) = 0;
    virtual void compress(const std::string& from, const std::string& to) = 0;
    virtual void remove(const std::string& path) = 0;
    virtual void open_log(const std::string& path) = 0;
};

/// What decides about a rotation.
struct rotation_request
{
    int mode;
    bool compress;
    std::tm start;               ///< local time at which the log was started
    std::tm now;                 ///< local time of server_seconds
    std::int64_t server_seconds; ///< since 1970-01-01 UTC
};

/// Rotates the log when its period is over and the rotated name is free.
///
/// @return  full path of the rotated file, the compressed one if it is compressed; nothing when the log stayed.
std::optional<std::string> rotate(rotation_port& port, const log_location& log,
                                  const rotation_request& request);
} // namespace kf::logger
