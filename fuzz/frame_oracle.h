#pragma once
/// The wire format read by hand and by zlib's own uncompress(), for the targets that take frames apart.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <zlib.h>

namespace kf::fuzz
{

struct wire_frame
{
    std::uint8_t type = 0;
    std::uint32_t payload_bytes = 0;
    std::uint32_t parameter = 0;
    std::uint32_t command = 0;

    static constexpr std::size_t kHeaderBytes = 13;
};

inline std::uint32_t wire_number(std::string_view bytes, std::size_t at)
{
    std::uint32_t value = 0;
    for (std::size_t i = 4; i-- > 0;)
        value = value << 8 | static_cast<unsigned char>(bytes[at + i]);
    return value;
}

/// The header at the front, when it is whole.
inline std::optional<wire_frame> wire_header(std::string_view bytes)
{
    if (bytes.size() < wire_frame::kHeaderBytes)
        return std::nullopt;
    return wire_frame{static_cast<std::uint8_t>(bytes[0]), wire_number(bytes, 1), wire_number(bytes, 5),
                      wire_number(bytes, 9)};
}

/// What a payload says, up to the first NUL; nothing when it is damaged.
inline std::optional<std::string> wire_text(std::uint8_t type, std::string_view payload)
{
    constexpr std::uint8_t kCompressed = 2;
    if (type != kCompressed || payload.empty())
        return std::string(payload.substr(0, payload.find('\0')));
    if (payload.size() <= 4 || wire_number(payload, 0) == 0)
        return std::nullopt;
    // More than deflate can yield, so that only the room for a wildly wrong claim is spared.
    const std::string_view stream = payload.substr(4);
    uLongf bytes = std::min<uLongf>(wire_number(payload, 0), 1100 * stream.size() + 1000);
    std::string text(bytes, '\0');
    if (::uncompress(reinterpret_cast<Bytef*>(text.data()), &bytes,
                     reinterpret_cast<const Bytef*>(stream.data()), stream.size()) != Z_OK)
        return std::nullopt;
    text.resize(std::min<std::size_t>(bytes, text.find('\0')));
    return text;
}

} // namespace kf::fuzz
