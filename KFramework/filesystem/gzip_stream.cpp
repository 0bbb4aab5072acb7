#include "KFramework/filesystem/gzip_stream.h"

#include "KFramework/filesystem/messages.h"
#include "KFramework/platform/unique_resource.h"

#include <zlib.h>

#include <array>
#include <cstddef>

namespace kf::filesystem
{
namespace
{
constexpr char kZlibVersion[] = "1.2.11";
constexpr int kGzipWindowBits = 15 + 16; // 16 asks for the gzip wrapper
constexpr int kMemoryLevel = 8;
constexpr std::size_t kChunkBytes = 16384;

using chunk = std::array<Bytef, kChunkBytes>;

/// Null means none: a started compression.
struct deflate_traits
{
    using value_type = z_stream*;
    static z_stream* none() noexcept { return nullptr; }
    static bool valid(z_stream* stream) noexcept { return stream != nullptr; }
    static void close(z_stream* stream) noexcept { ::deflateEnd(stream); }
};
using unique_deflate = platform::unique_resource<deflate_traits>;

/// Null means none: a started decompression.
struct inflate_traits
{
    using value_type = z_stream*;
    static z_stream* none() noexcept { return nullptr; }
    static bool valid(z_stream* stream) noexcept { return stream != nullptr; }
    static void close(z_stream* stream) noexcept { ::inflateEnd(stream); }
};
using unique_inflate = platform::unique_resource<inflate_traits>;

std::size_t read_chunk(std::FILE* source, chunk& input, z_stream& stream)
{
    const std::size_t count = std::fread(input.data(), 1, input.size(), source);
    stream.next_in = input.data();
    stream.avail_in = static_cast<uInt>(count);
    return count;
}

void give_room(chunk& output, z_stream& stream)
{
    stream.next_out = output.data();
    stream.avail_out = static_cast<uInt>(output.size());
}

/// Writes what zlib left in output. False when not all of it could be written.
bool write_chunk(std::FILE* destination, const chunk& output, const z_stream& stream)
{
    const std::size_t count = output.size() - stream.avail_out;
    return std::fwrite(output.data(), 1, count, destination) == count && std::ferror(destination) == 0;
}

/// What the runtime still holds back may fail to reach the disk: that is a failed write too, and only here can it
/// still be told.
stream_result flushed(std::FILE* destination)
{
    return std::fflush(destination) == 0 ? stream_result::done : stream_result::file_failed;
}
} // namespace

stream_result deflate_stream(std::FILE* source, std::FILE* destination)
{
    z_stream stream{};
    const int started = ::deflateInit2_(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, kGzipWindowBits,
                                        kMemoryLevel, Z_DEFAULT_STRATEGY, kZlibVersion, sizeof stream);
    if (started != Z_OK)
        return static_cast<stream_result>(started);
    const unique_deflate ends_with_us(&stream);

    chunk input;
    chunk output;
    for (;;)
    {
        const std::size_t count = read_chunk(source, input, stream);
        const bool last = std::feof(source) != 0;
        if (std::ferror(source) != 0 || (count < input.size() && !last))
            return stream_result::file_failed;
        do
        {
            give_room(output, stream);
            if (::deflate(&stream, last ? Z_FINISH : Z_NO_FLUSH) == Z_STREAM_ERROR)
                return stream_result::call_refused;
            if (!write_chunk(destination, output, stream))
                return stream_result::file_failed;
        } while (stream.avail_out == 0);
        if (last)
            return flushed(destination);
    }
}

stream_result inflate_stream(std::FILE* source, std::FILE* destination)
{
    z_stream stream{};
    const int started = ::inflateInit2_(&stream, kGzipWindowBits, kZlibVersion, sizeof stream);
    if (started != Z_OK)
        return static_cast<stream_result>(started);
    const unique_inflate ends_with_us(&stream);

    chunk input;
    chunk output;
    int state = Z_OK;
    // KEPT[first-member-only]: the end of a member ends the work, whatever follows it.
    while (state != Z_STREAM_END)
    {
        const std::size_t count = read_chunk(source, input, stream);
        if (std::ferror(source) != 0)
            return stream_result::file_failed;
        if (count == 0)
            return stream_result::bad_data;
        do
        {
            give_room(output, stream);
            state = ::inflate(&stream, Z_NO_FLUSH);
            // Z_BUF_ERROR only says that the input ran out; all else that is negative ends the stream.
            if (state == Z_NEED_DICT || state == Z_DATA_ERROR)
                return stream_result::bad_data;
            if (state == Z_MEM_ERROR || state == Z_STREAM_ERROR)
                return static_cast<stream_result>(state);
            if (!write_chunk(destination, output, stream))
                return stream_result::file_failed;
        } while (stream.avail_out == 0);
    }
    return flushed(destination);
}

std::string diagnostic(stream_result result, bool input_failed, bool output_failed)
{
    std::string text = kZlibPrefix;
    switch (result)
    {
    case stream_result::done:
        break;
    case stream_result::file_failed:
        // KEPT[standard-stream-flags]: the process's own streams are asked, not the files that failed.
        if (input_failed)
            text += kReadingInput;
        if (output_failed)
            text += kWritingOutput;
        break;
    case stream_result::call_refused:
        text += kInvalidLevel;
        break;
    case stream_result::bad_data:
        text += kInvalidData;
        break;
    case stream_result::out_of_memory:
        text += kOutOfMemory;
        break;
    case stream_result::version_mismatch:
        text += kVersionMismatch;
        break;
    }
    return text;
}
} // namespace kf::filesystem
