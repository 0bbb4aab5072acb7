/// A receiving session: bytes arrive in pieces, the buffer grows by the streams' rules, frames are taken as soon as they
/// are whole. Whatever the pieces, the messages are those of the wire read in one go. Input: a byte of flags, a seed for
/// the pieces, the limit in four bytes; then the wire as it is, or one message a line: a repeat count and a text.

#include "fuzz/target.h"

#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "KFramework/socket/frame.h"
#include "KFramework/socket/stream_buffer.h"
#include "fuzz/frame_oracle.h"

namespace
{

struct message
{
    std::uint32_t command = 0;
    std::uint32_t parameter = 0;
    bool delivered = false;
    std::string text;

    bool operator==(const message&) const = default;
};
using messages = std::vector<message>;

/// Every whole frame of a wire, read by hand; a length of 2^31 or more never completes.
messages read_at_once(std::string_view wire)
{
    messages read;
    while (const auto header = kf::fuzz::wire_header(wire))
    {
        const std::string_view behind = wire.substr(kf::fuzz::wire_frame::kHeaderBytes);
        if (header->payload_bytes > behind.size() || header->payload_bytes > 0x7FFFFFFFu)
            break;
        const auto text = kf::fuzz::wire_text(header->type, behind.substr(0, header->payload_bytes));
        read.push_back({header->command, header->parameter, text.has_value(), text.value_or("")});
        wire = behind.substr(header->payload_bytes);
    }
    return read;
}

/// A stream's receive buffer, without the socket.
class session
{
public:
    session(bool on_port, kf::socket::size_limit limit)
        : on_port_(on_port), limit_(limit), buffer_(blocks_.make(kf::socket::kInitialCapacity))
    {
    }

    /// Makes room as a receive does. False when the connection ends.
    bool make_room()
    {
        using kf::socket::verdict;
        const kf::socket::growth wanted = on_port_ ? kf::socket::port_growth(fill_, capacity_, limit_)
                                                   : kf::socket::polled_growth(fill_, capacity_, limit_);
        if (wanted.what == verdict::overflow)
        {
            kf::fuzz::require(limit_.enforced, "without a limit no buffer overflows");
            kf::fuzz::require(wanted.capacity == capacity_, "an overflow leaves the capacity");
            return false;
        }
        kf::fuzz::require((wanted.what == verdict::grow) == (wanted.capacity > capacity_),
                          "growing means a step");
        if (!blocks_.has_room(buffer_, wanted.capacity))
        {
            char* const larger = blocks_.make_larger(buffer_, wanted.capacity);
            std::memcpy(larger, buffer_, fill_);
            blocks_.release(buffer_, false);
            buffer_ = larger;
        }
        capacity_ = wanted.capacity;
        kf::fuzz::require(capacity_ - fill_ >= kf::socket::kLeastRoom, "there is room for a receive");
        kf::fuzz::require(blocks_.count() == 1, "old blocks are not kept");
        return true;
    }

    /// What one receive takes.
    std::size_t most_bytes() const
    {
        return on_port_ ? capacity_ - fill_ - 1 : static_cast<std::size_t>(kf::socket::kPolledReceiveBytes);
    }

    void receive(std::string_view bytes)
    {
        std::memcpy(buffer_ + fill_, bytes.data(), bytes.size());
        fill_ += bytes.size();
    }

    void take_all(messages& taken)
    {
        while (kf::socket::holds_whole_frame(buffer_, fill_))
        {
            const kf::socket::frame_header header = kf::socket::read_header(buffer_);
            if (!kf::socket::can_take_frame(header, fill_))
                return;
            const kf::socket::taken_payload payload =
                kf::socket::take_payload(header, buffer_ + kf::socket::kFrameHeaderBytes);
            taken.push_back({header.command, header.parameter, payload.delivered,
                             payload.content == nullptr ? "" : payload.content});
            kf::socket::free_block(payload.content);
            fill_ -= header.frame_bytes();
            std::memmove(buffer_, buffer_ + header.frame_bytes(), fill_);
        }
    }

private:
    bool on_port_;
    kf::socket::size_limit limit_;
    kf::socket::block_store blocks_;
    char* buffer_;
    std::size_t fill_ = 0;
    std::uint64_t capacity_ = kf::socket::kInitialCapacity;
};

/// One message a line, its text repeated up to 255 times, so that short inputs make long messages too.
std::string encoded_lines(kf::fuzz::input& input)
{
    constexpr std::size_t kMostBytes = 400'000; // six times the first capacity: enough steps, little time
    std::string wire;
    for (std::uint32_t command = 0; !input.empty() && wire.size() < kMostBytes; ++command)
    {
        const unsigned repeats = input.byte();
        const std::string_view line = input.line();
        std::string text;
        for (unsigned i = 0; i < repeats; ++i)
            text += line;
        const kf::socket::encoded_frame frame = kf::socket::encode_frame(command, text.c_str(), repeats);
        wire.append(frame.block, frame.payload_bytes + kf::socket::kFrameHeaderBytes);
        kf::socket::free_block(frame.block);
    }
    return wire;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::uint8_t flags = input.byte();
    std::minstd_rand pieces(1u + input.byte());
    kf::socket::size_limit limit;
    limit.maximum = input.number() % 1'000'000;
    limit.enforced = (flags & 2) != 0;
    const std::string wire = (flags & 4) != 0 ? encoded_lines(input) : std::string(input.rest());

    session stream((flags & 1) != 0, limit);
    messages taken;
    bool whole = true;
    for (std::size_t sent = 0; sent < wire.size() && whole;)
    {
        whole = stream.make_room();
        if (!whole)
            break;
        const std::size_t most = (pieces() % 8 == 0) ? 65536 : 1 + pieces() % 64;
        const std::string_view piece =
            std::string_view(wire).substr(sent, std::min(most, stream.most_bytes()));
        stream.receive(piece);
        sent += piece.size();
        stream.take_all(taken);
    }

    messages expected = read_at_once(wire);
    if (!whole) // the connection ended before everything arrived
        expected.resize(std::min(expected.size(), taken.size()));
    kf::fuzz::require(taken == expected, "the messages do not depend on the pieces");
    return 0;
}
