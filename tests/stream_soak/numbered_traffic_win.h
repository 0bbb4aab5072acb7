#pragma once
/// Numbered messages whose text both sides can compute, sent and checked.

#include "tests/stream/port_loop_win.h"

#include <atomic>
#include <cstdint>

namespace kf::test
{

/// The text of message number of a seed: 95 % under 2 KB, the rest up to 60,000 bytes, half of them compressible.
std::string numbered_text(unsigned int seed, unsigned int number);

/// One end of the traffic: sends its own messages and checks the other end's.
class numbered_end
{
public:
    /// @param count  messages in each direction.
    /// @param slow   sleep a little now and then while reading.
    numbered_end(unsigned int own_seed, unsigned int other_seed, unsigned int count, bool slow);

    /// The handler for the loop.
    void receive(const port_loop::message& one);

    /// Sends everything, waiting while the send buffer has no room, and says that it is done.
    ///
    /// @return  false when the stream refuses a message.
    bool send(CKSocketStream& stream) const;

    /// Whether everything has come, and word that the other end has everything too.
    [[nodiscard]] bool complete() const noexcept { return other_done_; }
    [[nodiscard]] bool received_all() const noexcept { return next_ == count_; }
    [[nodiscard]] unsigned int received() const noexcept { return next_; }
    /// Messages out of order, lost, doubled or damaged.
    [[nodiscard]] unsigned int wrong() const noexcept { return wrong_; }

    /// Says that everything has come.
    static bool confirm(CKSocketStream& stream);

private:
    static constexpr unsigned int kNumbered = 1;
    static constexpr unsigned int kConfirmed = 2;

    unsigned int own_seed_;
    unsigned int other_seed_;
    unsigned int count_;
    bool slow_;
    std::atomic<unsigned int> next_ = 0;
    std::atomic<unsigned int> wrong_ = 0;
    std::atomic<bool> other_done_ = false;
};

/// Waits for room for this many bytes, then queues; false when the stream refuses.
bool add_when_room(CKSocketStream& stream, unsigned int command, const std::string& text,
                   unsigned int parameter);

} // namespace kf::test
