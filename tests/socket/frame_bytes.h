#pragma once
/// Frames as byte strings, put together and taken apart without the code under test where that matters.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <zlib.h>

namespace kf::test
{

inline std::string u32_bytes(std::uint32_t value)
{
    return {static_cast<char>(value), static_cast<char>(value >> 8), static_cast<char>(value >> 16),
            static_cast<char>(value >> 24)};
}

/// A header whose length field says what the test wants.
inline std::string header_bytes(std::uint8_t type, std::uint32_t length, std::uint32_t parameter,
                                std::uint32_t command)
{
    return static_cast<char>(type) + u32_bytes(length) + u32_bytes(parameter) + u32_bytes(command);
}

inline std::string frame_with(std::uint8_t type, std::uint32_t parameter, std::uint32_t command,
                              const std::string& payload)
{
    return header_bytes(type, static_cast<std::uint32_t>(payload.size()), parameter, command) + payload;
}

inline std::uint32_t header_command(std::string_view frame)
{
    std::uint32_t command = 0;
    for (int i = 3; i >= 0; --i)
        command = command << 8 | static_cast<unsigned char>(frame[9 + static_cast<std::size_t>(i)]);
    return command;
}

/// What zlib's own compress() makes of a text.
inline std::string zlib_bytes(std::string_view text)
{
    uLongf size = ::compressBound(static_cast<uLong>(text.size()));
    std::string bytes(size, '\0');
    ::compress(reinterpret_cast<Bytef*>(bytes.data()), &size, reinterpret_cast<const Bytef*>(text.data()),
               static_cast<uLong>(text.size()));
    bytes.resize(size);
    return bytes;
}

/// A compressed payload that claims the given length for its text.
inline std::string zlib_payload(std::string_view text, std::uint32_t claimed)
{
    return u32_bytes(claimed) + zlib_bytes(text);
}

inline std::string zlib_payload(std::string_view text)
{
    return zlib_payload(text, static_cast<std::uint32_t>(text.size()));
}
} // namespace kf::test
