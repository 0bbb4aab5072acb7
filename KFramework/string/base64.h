#pragma once

#include <cstddef>
#include <span>

namespace kf::string
{
/// A fast way through whole groups. Both functions read nothing behind in + size, write nothing behind
/// out + room and nothing but the results of what they take; they may take less than there is, or nothing.
struct base64_kernel
{
    const char* name;
    bool (*available)(); ///< asks the processor
    /// Takes groups of three bytes. Gives the bytes taken.
    std::size_t (*encode)(const char* in, std::size_t size, char* out, std::size_t room);
    /// Takes groups of four characters of the alphabet, up to the first other one. Gives the characters taken.
    std::size_t (*decode)(const char* in, std::size_t size, char* out, std::size_t room);
};

/// Every kernel there is, the fastest first; the last one is available everywhere.
std::span<const base64_kernel> base64_kernels();

/// The first one that this processor can run.
const base64_kernel& best_base64_kernel();

/// Writes the text of some bytes, at most room characters of it, and a terminating zero where room is left.
void base64_encode(const base64_kernel& kernel, const char* in, std::size_t size, char* out,
                   std::size_t room);

struct base64_decoded
{
    std::size_t written;
    bool whole; ///< the whole text was consumed
};

/// Reads a text; bytes beyond the room are dropped, and nothing behind the bytes written is touched.
base64_decoded base64_decode(const base64_kernel& kernel, const char* in, std::size_t size, char* out,
                             std::size_t room);
} // namespace kf::string
