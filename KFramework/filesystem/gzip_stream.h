#pragma once
/// One gzip stream between two C files that are already open in binary. How they
/// were opened is the caller's business: narrow, wide or as temporary files.

#include <cstdio>
#include <string>

namespace kf::filesystem
{
/// How a stream ended; the values are zlib's.
enum class stream_result : int
{
    done = 0,
    file_failed = -1,
    call_refused = -2,
    bad_data = -3,
    out_of_memory = -4,
    version_mismatch = -6
};

/// Compresses everything from source's position to its end into one gzip
/// member at destination's position and flushes destination. Both files stay
/// open and the caller's. Memory use does not depend on the size.
///
/// @return  done; file_failed when a read, a write or the flush failed;
///          otherwise zlib's own refusal. What was written stays written.
[[nodiscard]] stream_result deflate_stream(std::FILE* source, std::FILE* destination);

/// Decompresses the first gzip member at source's position into destination
/// and flushes it; whatever follows the member is not looked at.
///
/// @return  as deflate_stream; bad_data also when source ends too early.
[[nodiscard]] stream_result inflate_stream(std::FILE* source, std::FILE* destination);

/// The text that reports a failed stream on standard error.
///
/// @param result         what the stream gave.
/// @param input_failed   the process's standard input has its error flag set.
/// @param output_failed  the same of its standard output.
std::string diagnostic(stream_result result, bool input_failed, bool output_failed);
} // namespace kf::filesystem
