#pragma once
/// Reads frames out of a byte string as a stream reads them out of its buffer, with the library's portable rules.

#include <string>

#include "tests/socket/portable_frames.h"

namespace kf::test
{

class frame_reader
{
public:
    void feed(const std::string& bytes) { buffer_ += bytes; }

    /// Whether next() would consume a frame.
    [[nodiscard]] bool ready() const
    {
        return buffer_.size() >= socket::kFrameHeaderBytes &&
               socket::can_take_frame(socket::read_header(buffer_.data()), buffer_.size());
    }

    /// Consumes one frame; undelivered when it is damaged or not whole yet.
    taken next()
    {
        if (!ready())
            return {false, false, ""};
        // A copy of its exact size, so that the sanitizer sees every step beyond the frame.
        const std::size_t length =
            static_cast<std::size_t>(socket::read_header(buffer_.data()).frame_bytes());
        const taken result = take(buffer_.substr(0, length));
        buffer_.erase(0, length);
        return result;
    }

    [[nodiscard]] bool empty() const { return buffer_.empty(); }

private:
    std::string buffer_;
};

} // namespace kf::test
