#include "KFramework/socket/frame.h"

#include "KFramework/socket/payload_zlib.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <new>

namespace kf::socket
{
namespace
{

constexpr std::size_t kLengthOffset = 1;
constexpr std::size_t kParameterOffset = 5;
constexpr std::size_t kCommandOffset = 9;

/// Deflate yields at most this many bytes for each byte it reads, and a small text on top.
constexpr std::uint64_t kMostInflatedPerByte = 1032;
constexpr std::uint64_t kMostInflatedExtra = 64;

std::uint32_t load_u32(const char* bytes) noexcept
{
    std::uint32_t value = 0;
    std::memcpy(&value, bytes, sizeof value);
    return value;
}

void store_u32(char* bytes, std::uint32_t value) noexcept
{
    std::memcpy(bytes, &value, sizeof value);
}

char* allocate(std::uint64_t bytes) noexcept
{
    return static_cast<char*>(std::malloc(static_cast<std::size_t>(bytes)));
}

char* allocate_zeroed(std::uint64_t bytes) noexcept
{
    return static_cast<char*>(std::calloc(static_cast<std::size_t>(bytes), 1));
}

/// The block cut to the bytes in use, or the block as it is when they nearly fill it or it cannot be cut.
char* without_spare(char* block, std::size_t room, std::size_t used) noexcept
{
    if (room - used <= kMostSpareBytes)
        return block;
    void* const cut = std::realloc(block, used);
    return cut != nullptr ? static_cast<char*>(cut) : block;
}

taken_payload take_raw(const char* payload, std::uint32_t payload_bytes) noexcept
{
    char* const content = allocate(std::uint64_t{payload_bytes} + 1);
    if (content == nullptr)
        return {};
    std::memcpy(content, payload, payload_bytes);
    content[payload_bytes] = '\0';
    return {true, content};
}

/// The sender's word for the text's length is not trusted: the block is never larger than the stream can fill.
taken_payload take_compressed(const char* payload, std::uint32_t payload_bytes) noexcept
{
    if (payload_bytes <= kTextLengthBytes)
        return {};
    const std::uint32_t text_bytes = load_u32(payload);
    if (text_bytes == 0)
        return {};
    const std::uint32_t stream_bytes = payload_bytes - static_cast<std::uint32_t>(kTextLengthBytes);
    const std::uint64_t limit =
        std::min<std::uint64_t>(text_bytes, stream_bytes * kMostInflatedPerByte + kMostInflatedExtra);

    // Zeroed: a stream that ends short of the limit must not let the heap's old bytes through.
    char* const content = allocate_zeroed(limit + 1);
    if (content == nullptr)
        return {};
    if (!inflate_payload(content, static_cast<std::uint32_t>(limit), payload + kTextLengthBytes,
                         stream_bytes))
    {
        free_block(content);
        return {};
    }
    return {true, content};
}

struct written_payload
{
    std::uint8_t type;
    std::size_t bytes;
};

written_payload write_payload(char* to, const char* text, std::size_t text_bytes) noexcept
{
    if (text_bytes == 0)
        return {kEmptyPayload, 0};
    if (text_bytes > kLongestRawText)
    {
        const std::size_t compressed =
            deflate_payload(to + kTextLengthBytes, text_bytes + kCompressedSlack, text, text_bytes);
        if (compressed != 0)
        {
            store_u32(to, static_cast<std::uint32_t>(text_bytes));
            return {kCompressedPayload, compressed + kTextLengthBytes};
        }
    }
    std::memcpy(to, text, text_bytes);
    return {kRawPayload, text_bytes};
}

} // namespace

void free_block(char* block) noexcept
{
    std::free(block);
}

frame_header read_header(const char* bytes) noexcept
{
    // KEPT[parameter-before-command]: the call names the command first, the wire carries the parameter first.
    return {static_cast<std::uint8_t>(bytes[0]), load_u32(bytes + kLengthOffset),
            load_u32(bytes + kParameterOffset), load_u32(bytes + kCommandOffset)};
}

bool holds_whole_frame(const char* bytes, std::uint64_t filled) noexcept
{
    return filled >= kFrameHeaderBytes && filled >= read_header(bytes).frame_bytes();
}

bool can_take_frame(const frame_header& header, std::uint64_t filled) noexcept
{
    // KEPT[negative-length]: completeness reads the length as unsigned, taking reads it as signed.
    return header.signed_payload_bytes() >= 0 && filled >= header.frame_bytes();
}

taken_payload take_payload(const frame_header& header, const char* payload) noexcept
{
    // KEPT[empty-any-type]: without payload bytes the type is not looked at, so an empty type 2 is an empty message.
    if (header.payload_bytes == 0)
        return {true, nullptr};
    // KEPT[unknown-type-raw]: whatever is not compressed is handed out as it is.
    if (header.type != kCompressedPayload)
        return take_raw(payload, header.payload_bytes);
    return take_compressed(payload, header.payload_bytes);
}

std::size_t encode_into(char* room, std::uint32_t command, const char* text, std::size_t text_bytes,
                        std::uint32_t parameter) noexcept
{
    const written_payload payload = write_payload(room + kFrameHeaderBytes, text, text_bytes);
    room[0] = static_cast<char>(payload.type);
    store_u32(room + kLengthOffset, static_cast<std::uint32_t>(payload.bytes));
    store_u32(room + kParameterOffset, parameter);
    store_u32(room + kCommandOffset, command);
    return payload.bytes;
}

encoded_frame encode_frame(std::uint32_t command, const char* text, std::uint32_t parameter)
{
    // KEPT[text-by-strlen]: the parameter is never a length; a zero byte ends the text.
    const std::size_t text_bytes = text == nullptr ? 0 : std::strlen(text);
    const std::size_t room = frame_room(text_bytes);
    char* const block = allocate(room);
    if (block == nullptr)
        throw std::bad_alloc();
    const std::size_t payload_bytes = encode_into(block, command, text, text_bytes, parameter);
    return {without_spare(block, room, kFrameHeaderBytes + payload_bytes), payload_bytes};
}

} // namespace kf::socket
