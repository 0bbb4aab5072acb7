#pragma once
/// A completion port whose completions a test takes one by one, and one stream on it.

#include "tests/stream/port_loop_win.h"
#include "tests/support/captured_log_win.h"
#include "tests/support/winsock_session_win.h"

#include <gtest/gtest.h>
#include <optional>

namespace kf::test
{

struct completion
{
    CKSocketStream* stream;
    CKSocketOverlappedStruct* record;
    unsigned int bytes;
    bool good;
};

class manual_port
{
public:
    manual_port();
    ~manual_port();
    manual_port(const manual_port&) = delete;
    manual_port& operator=(const manual_port&) = delete;

    [[nodiscard]] void* get() const noexcept { return port_; }

    /// The next completion; nothing when none comes in time. The default waits until the common deadline.
    [[nodiscard]] std::optional<completion> next(DWORD milliseconds = 20000);

    /// Takes and frees the close records that wait now; fails the test at anything else.
    [[nodiscard]] int take_close_records();

private:
    HANDLE port_;
};

/// One stream on one end of a pair, registered with a port; the other end is a blocking socket.
class OnPort : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    std::string number() const { return std::to_string(static_cast<int>(socket_)); }

    /// Queues by force until a send stays outstanding because the peer does not read; gives all bytes queued.
    std::string fill_pipe();

    /// Handles the next completion, which must be a good one of the send event, as a host does.
    void complete_send();

    /// Handles the next completion, which must be a good one of the read event, without posting the next receive.
    void complete_read();

    winsock_session winsock_;
    captured_log log_;
    manual_port port_;
    socket_pair pair_;
    SOCKET socket_ = INVALID_SOCKET;
    std::unique_ptr<CKSocketStream> stream_;
};

} // namespace kf::test
