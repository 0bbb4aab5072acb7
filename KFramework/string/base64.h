#pragma once

#include <cstddef>

namespace kf::string
{
/// Writes the text of some bytes, at most room characters of it, and a terminating zero where room is left.
void base64_encode(const char* in, std::size_t size, char* out, std::size_t room);

struct base64_decoded
{
    std::size_t written;
    bool whole; ///< the whole text was consumed
};

/// Reads a text; bytes beyond the room are dropped, and nothing behind the bytes written is touched.
base64_decoded base64_decode(const char* in, std::size_t size, char* out, std::size_t room);
} // namespace kf::string
