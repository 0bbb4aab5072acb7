#pragma once
/// A host's completion-port loop with every duty that docs/hosting.md names, and connected streams to run on it.

#include "KFramework/socket.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace kf::test
{

using KFramework::KSocket::CKSocketOverlappedStruct;
using KFramework::KSocket::CKSocketStream;

/// A connected pair of sockets on loopback, blocking or not; each end is closed unless released.
class socket_pair
{
public:
    explicit socket_pair(bool blocking = true);
    ~socket_pair();
    socket_pair(const socket_pair&) = delete;
    socket_pair& operator=(const socket_pair&) = delete;

    [[nodiscard]] SOCKET first() const noexcept { return ends_[0]; }
    [[nodiscard]] SOCKET second() const noexcept { return ends_[1]; }
    SOCKET release_first() noexcept { return std::exchange(ends_[0], INVALID_SOCKET); }
    SOCKET release_second() noexcept { return std::exchange(ends_[1], INVALID_SOCKET); }
    void close_second() noexcept;

private:
    SOCKET ends_[2] = {INVALID_SOCKET, INVALID_SOCKET};
};

/// Sends all of it over a blocking socket; false when the connection breaks.
bool send_all(SOCKET socket, const std::string& bytes);

/// Receives exactly this many bytes from a blocking socket; fewer when the connection ends.
std::string receive_exactly(SOCKET socket, std::size_t count);

/// One frame as bytes.
std::string frame(unsigned int command, const std::string& text, unsigned int parameter = 0);

/// A frame of exactly this many bytes in all, with a payload that no compression shortens.
std::string frame_of_size(std::size_t bytes, unsigned int command = 1);

/// Printable text that zlib cannot shorten below its length.
std::string incompressible_text(std::size_t length, unsigned int seed);

/// Runs streams on a completion port with threads of its own until it is destroyed, which closes every stream,
/// lets the outstanding operations end and only then lets go of the streams.
class port_loop
{
public:
    /// A message as the host sees it.
    struct message
    {
        unsigned int command;
        unsigned int parameter;
        std::string text;
    };
    using handler = std::function<void(CKSocketStream&, message)>;

    explicit port_loop(handler on_message, unsigned int threads = 2);
    ~port_loop();
    port_loop(const port_loop&) = delete;
    port_loop& operator=(const port_loop&) = delete;

    /// Takes a connected stream in and posts its first receive.
    CKSocketStream& add(std::unique_ptr<CKSocketStream> stream);

    /// The same for a socket.
    CKSocketStream& add(SOCKET socket);

    [[nodiscard]] void* port() const noexcept { return port_; }
    /// Close records handled so far, for all streams or for one.
    [[nodiscard]] int close_records() const noexcept { return close_records_; }
    [[nodiscard]] int close_records(const CKSocketStream& stream);

    /// Closes all streams and stops the threads; afterwards nothing is outstanding and the port is drained.
    void stop();

private:
    void run();
    void handle_read(CKSocketStream& stream, unsigned int bytes, bool good);
    void handle_write(CKSocketStream& stream, unsigned int bytes, bool good);
    void handle_close(CKSocketStream& stream, CKSocketOverlappedStruct* record);
    void handle(CKSocketStream& stream, CKSocketOverlappedStruct* record, unsigned int bytes, bool good);
    void drain();

    handler on_message_;
    HANDLE port_ = nullptr;
    std::vector<std::unique_ptr<CKSocketStream>> streams_;
    std::mutex mutex_;
    std::map<const CKSocketStream*, int> closes_; // guarded by mutex_
    std::atomic<int> close_records_ = 0;
    std::vector<std::thread> threads_;
};

} // namespace kf::test
