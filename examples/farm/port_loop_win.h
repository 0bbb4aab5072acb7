#pragma once
/// A completion-port loop as a host writes it: docs/hosting.md tells why each step stands where it does.

#include <KFramework/socket.h>

#include "protocol.h"

#include <KFramework/process.h>

#include <atomic>
#include <string>
#include <vector>

namespace farm
{
/// One connection. The garbage collector deletes it some time after its last release,
/// so that completions which arrive late still find it.
class connection : public KFramework::KSocket::CKSocketStream
{
public:
    explicit connection(int id) : id_(id) {}

    /// Names this connection in logs and tables; never used twice.
    int id() const { return id_; }

    /// True while more than half of the send buffer is taken. Who has much to say waits then, so that a
    /// slow peer slows it down instead of overflowing the buffer; not on a port thread, which empties it.
    bool crowded();

    /// Queues a message at once; false when the connection has ended.
    bool send(command what, const std::string& text, unsigned int parameter);

private:
    friend class port_loop;
    int id_;
    std::atomic<bool> ended_ = false;  // the close record has come
    std::atomic<bool> let_go_ = false; // the loop has given its reference back
};

/// What the loop tells its host, on the loop's threads and in parallel for several connections.
class connection_handler
{
public:
    virtual ~connection_handler() = default;

    /// The port has taken the connection; called once, before its first message, on the thread that
    /// called serve().
    virtual void on_opened(connection& /*opened*/) {}

    /// Bytes have come, and so many wait now to be messages; false ends the connection before they are looked at.
    virtual bool on_received(connection& /*from*/, unsigned long long /*waiting*/) { return true; }

    /// One whole message; false ends the connection. One connection's messages come one at a time and in
    /// order, but on_closed may come on another thread meanwhile, and a last message right after it.
    virtual bool on_message(connection& from, command what, const std::string& text,
                            unsigned int parameter) = 0;

    /// The connection has ended; called once. Forget it: the collector deletes it some time later.
    virtual void on_closed(connection& ended) = 0;
};

/// The port and its threads.
class port_loop
{
public:
    port_loop(int threads, connection_handler& handler);

    /// Ends the threads and takes what is still on the port.
    ~port_loop();
    port_loop(const port_loop&) = delete;
    port_loop& operator=(const port_loop&) = delete;

    /// False when the port or one of the threads could not be made, so that messages may wait for ever.
    bool started() const;

    /// Starts to serve a connected stream, which the loop retains until on_closed.
    /// False when the port does not take it; the stream is closed and released then.
    bool serve(connection* stream);

private:
    static unsigned int thread_routine(void* start);
    bool serve_one(unsigned long milliseconds);
    void handle(connection& stream, KFramework::KSocket::CKSocketOverlappedStruct* record, bool success,
                unsigned long bytes);
    void received(connection& stream, KFramework::KSocket::CKSocketOverlappedStruct& record,
                  unsigned long bytes);
    bool deliver_messages(connection& stream);
    static void let_go(connection& stream);

    connection_handler& handler_;
    void* port_;
    std::vector<KFramework::KProcesses::KThreadObject*> threads_;
};
} // namespace farm
