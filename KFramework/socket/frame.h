#pragma once
/// The frame that peers exchange: 13 bytes of header, then the payload.
///
///   offset 0  payload type    1 byte   0 empty, 1 raw text, 2 compressed text
///   offset 1  payload bytes   4 bytes
///   offset 5  parameter       4 bytes
///   offset 9  command         4 bytes
///   offset 13 payload; of type 2: the text's length in 4 bytes, then a zlib stream
///
/// Integers are in the machine's own order. docs/wire-format.md has the whole format.

#include <cstddef>
#include <cstdint>

namespace kf::socket
{

inline constexpr std::size_t kFrameHeaderBytes = 13;
inline constexpr std::uint8_t kEmptyPayload = 0;
inline constexpr std::uint8_t kRawPayload = 1;
inline constexpr std::uint8_t kCompressedPayload = 2;

/// KEPT[raw-up-to-ten]: texts up to this length are never compressed.
inline constexpr std::size_t kLongestRawText = 10;
/// The text's length in front of the zlib stream.
inline constexpr std::size_t kTextLengthBytes = 4;
/// KEPT[compressed-threshold]: compressed bytes are kept while they are at most the text's length plus this, so
/// that a compressed payload may be up to 7 bytes longer than the text. Peers compare frames byte for byte.
inline constexpr std::size_t kCompressedSlack = 3;

/// Frees a payload or an encoded frame; null is ignored.
void free_block(char* block) noexcept;

struct frame_header
{
    std::uint8_t type = kEmptyPayload;
    std::uint32_t payload_bytes = 0;
    std::uint32_t parameter = 0;
    std::uint32_t command = 0;

    /// The payload length as the reader of messages sees it: from 2^31 on it is negative.
    [[nodiscard]] std::int32_t signed_payload_bytes() const noexcept
    {
        return static_cast<std::int32_t>(payload_bytes);
    }

    /// Header and payload together.
    [[nodiscard]] std::uint64_t frame_bytes() const noexcept
    {
        return std::uint64_t{payload_bytes} + kFrameHeaderBytes;
    }
};

/// Reads a header.
///
/// @param bytes  at least kFrameHeaderBytes readable.
[[nodiscard]] frame_header read_header(const char* bytes) noexcept;

/// Whether a buffer holds at least one whole frame, the payload length taken as unsigned.
///
/// @param bytes   begins at a frame boundary; read only when filled is at least kFrameHeaderBytes.
/// @param filled  bytes in the buffer.
[[nodiscard]] bool holds_whole_frame(const char* bytes, std::uint64_t filled) noexcept;

/// Whether a frame can be taken out of a buffer, the payload length taken as signed: a negative one never completes.
///
/// @param filled  bytes in the buffer, the header included.
[[nodiscard]] bool can_take_frame(const frame_header& header, std::uint64_t filled) noexcept;

struct taken_payload
{
    /// False when the payload is damaged or no memory was to be had: the frame is consumed, its message lost.
    bool delivered = false;
    /// Zero-terminated; null when not delivered, and for an empty payload. The taker frees it with free_block.
    char* content = nullptr;
};

/// Turns the payload of a whole frame into the text to hand out; nothing is consumed.
///
/// @param header   of a frame for which can_take_frame() is true.
/// @param payload  header.payload_bytes readable.
[[nodiscard]] taken_payload take_payload(const frame_header& header, const char* payload) noexcept;

/// The room that encode_into() may use for a text of this length.
[[nodiscard]] constexpr std::size_t frame_room(std::size_t text_bytes) noexcept
{
    const std::size_t growth = text_bytes > kLongestRawText ? kTextLengthBytes + kCompressedSlack : 0;
    return kFrameHeaderBytes + text_bytes + growth;
}

/// Writes one frame.
///
/// @param room        frame_room(text_bytes) writable; bytes behind the frame are left undefined.
/// @param text        text_bytes readable and free of zero bytes; may be null when text_bytes is 0.
/// @param text_bytes  at most 2^31 - 8, so that the longest payload is one that readers take.
/// @return  the payload's length; the frame's is kFrameHeaderBytes more.
std::size_t encode_into(char* room, std::uint32_t command, const char* text, std::size_t text_bytes,
                        std::uint32_t parameter) noexcept;

/// A block that would hold more bytes behind its frame is cut to it: callers may keep frames for long.
inline constexpr std::size_t kMostSpareBytes = 4096;

struct encoded_frame
{
    /// Freed with free_block.
    char* block = nullptr;
    std::size_t payload_bytes = 0;
};

/// Encodes into a block of its own, which is at most kMostSpareBytes longer than the frame.
///
/// @param text  zero-terminated, or null for none.
/// @throws std::bad_alloc.
[[nodiscard]] encoded_frame encode_frame(std::uint32_t command, const char* text, std::uint32_t parameter);

} // namespace kf::socket
