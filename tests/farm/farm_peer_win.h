#pragma once
/// A worker that the test plays.

#include "KFramework/socket.h" // before <windows.h>

#include "protocol.h"

#include <string>

namespace farm_test
{
class peer
{
public:
    explicit peer(const std::string& port);
    ~peer() { close(); }
    peer(const peer&) = delete;
    peer& operator=(const peer&) = delete;

    /// Says hello with the farm's password, and waits until it is let in.
    void join(const std::string& name);

    void send(farm::command what, const std::string& message, unsigned int parameter = 0);

    /// Reads messages up to one of this kind.
    bool receive(farm::command expected);

    /// A sign of life; nothing once the server has ended the connection.
    void beat();

    void close() { stream_.Close(); }

    unsigned int ticket = 0; ///< of the last message received
    std::string text;        ///< of it

private:
    KFramework::KSocket::CKSocketStream stream_;
};
} // namespace farm_test
