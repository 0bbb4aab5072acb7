#pragma once
/// The portable encoder and decoder, called on strings.

#include "KFramework/socket/frame.h"

#include <cstdint>
#include <string>

namespace kf::test
{

inline std::string encode_text(const char* text, std::uint32_t command, std::uint32_t parameter)
{
    const socket::encoded_frame frame = socket::encode_frame(command, text, parameter);
    std::string bytes(frame.block, frame.payload_bytes + socket::kFrameHeaderBytes);
    socket::free_block(frame.block);
    return bytes;
}

struct taken
{
    bool delivered;
    bool has_content;
    /// Up to the first zero byte, as a caller reads it.
    std::string text;
};

/// Takes the payload of the frame at the front; the frame must be whole.
inline taken take(const std::string& frame)
{
    const socket::frame_header header = socket::read_header(frame.data());
    const socket::taken_payload payload =
        socket::take_payload(header, frame.data() + socket::kFrameHeaderBytes);
    const taken result{payload.delivered, payload.content != nullptr,
                       payload.content == nullptr ? "" : payload.content};
    socket::free_block(payload.content);
    return result;
}

} // namespace kf::test
