#pragma once
/// Frames as byte strings, put together and taken apart without the code under test where that matters.

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <vector>
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

struct worked_example
{
    std::int32_t command;
    std::uint32_t parameter;
    const char* text;
    std::string frame;
};

/// The examples of docs/wire-format.md.
inline std::vector<worked_example> worked_examples()
{
    using namespace std::string_literals;
    return {
        {3, 2'000'000'000, "", "\x00\x00\x00\x00\x00\x00\x94\x35\x77\x03\x00\x00\x00"s},
        {258, 7, "hello", "\x01\x05\x00\x00\x00\x07\x00\x00\x00\x02\x01\x00\x00\x68\x65\x6C\x6C\x6F"s},
        {-2, 0, "frame 1, frame 2, frame 3",
         "\x02\x1B\x00\x00\x00\x00\x00\x00\x00\xFE\xFF\xFF\xFF\x19\x00\x00\x00\x78\x9C"
         "\x4B\x2B\x4A\xCC\x4D\x55\x30\xD4\x51\x48\x03\x33\x8C\x60\x0C\x63\x00\x67\xAA\x07\xB0"s},
    };
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
