/// Frames: any payload gives what zlib's own functions make of it, and an encoded text comes back. Input: the payload
/// type in one byte; the payload, which is also taken for a text to encode.

#include "fuzz/target.h"

#include <cstring>
#include <memory>
#include <string>

#include "KFramework/socket/frame.h"
#include "fuzz/frame_oracle.h"

namespace
{

struct block_free
{
    void operator()(char* block) const { kf::socket::free_block(block); }
};
using block = std::unique_ptr<char, block_free>;

/// Takes a payload out of a block of its exact size, so that a step beyond it is seen.
kf::socket::taken_payload take(std::uint8_t type, std::string_view payload)
{
    const std::string exact(payload);
    kf::socket::frame_header header;
    header.type = type;
    header.payload_bytes = static_cast<std::uint32_t>(payload.size());
    return kf::socket::take_payload(header, exact.data());
}

void check_payload(std::uint8_t type, std::string_view payload)
{
    const kf::socket::taken_payload taken = take(type, payload);
    const block content(taken.content);
    const auto expected = kf::fuzz::wire_text(type, payload);
    kf::fuzz::require(taken.delivered == expected.has_value(), "what zlib takes is delivered, and only that");
    kf::fuzz::require((content != nullptr) == (taken.delivered && !payload.empty()),
                      "only an empty payload has none");
    if (content != nullptr)
        kf::fuzz::require(content.get() == *expected, "the text is what zlib gives");
}

void check_encoding(const std::string& text, std::uint32_t command, std::uint32_t parameter)
{
    const kf::socket::encoded_frame encoded = kf::socket::encode_frame(command, text.c_str(), parameter);
    const block bytes(encoded.block);
    const std::size_t text_bytes = std::strlen(text.c_str());
    const std::size_t frame_bytes = encoded.payload_bytes + kf::socket::kFrameHeaderBytes;
    kf::fuzz::require(frame_bytes <= kf::socket::frame_room(text_bytes), "a frame fits into its room");

    const auto header = kf::fuzz::wire_header({bytes.get(), frame_bytes});
    kf::fuzz::require(header && header->payload_bytes == encoded.payload_bytes &&
                          header->command == command && header->parameter == parameter,
                      "the header says what was asked");
    kf::fuzz::require(header->type <= kf::socket::kCompressedPayload, "the type is one of three");
    kf::fuzz::require(header->type != kf::socket::kCompressedPayload ||
                          text_bytes > kf::socket::kLongestRawText,
                      "a short text is never compressed");
    const std::string_view payload(bytes.get() + kf::socket::kFrameHeaderBytes, encoded.payload_bytes);
    kf::fuzz::require(kf::fuzz::wire_text(header->type, payload) == text.c_str(),
                      "zlib reads what was encoded");
    check_payload(header->type, payload);
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::uint8_t type = input.byte();
    const std::string payload(input.rest());
    check_payload(type, payload);
    check_encoding(payload, std::uint32_t{type} << 24, static_cast<std::uint32_t>(size));
    return 0;
}
