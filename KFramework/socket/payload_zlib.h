#pragma once
/// The compressed payload of a frame. zlib states are kept between calls: making one costs more than a short text.

#include <cstddef>
#include <cstdint>

namespace kf::socket
{

/// Compresses as zlib's compress() does, byte for byte.
///
/// @param room  room_bytes writable; undefined on failure.
/// @return  compressed bytes; 0 when they do not fit into the room, or when zlib or memory fails.
[[nodiscard]] std::size_t deflate_payload(char* room, std::size_t room_bytes, const char* text,
                                          std::size_t text_bytes) noexcept;

/// Inflates as zlib's uncompress() does: true when the whole stream fits; bytes behind its end are ignored.
///
/// @param room  room_bytes writable; at least 1.
[[nodiscard]] bool inflate_payload(char* room, std::uint32_t room_bytes, const char* stream,
                                   std::uint32_t stream_bytes) noexcept;

} // namespace kf::socket
