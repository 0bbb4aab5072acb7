#pragma once
/// Inputs for the gzip tests, and gzip members made without the library.

#include <cstddef>
#include <random>
#include <string>

#include <zlib.h>

namespace kf::filesystem::test
{

/// Sizes around the chunk of 16,384 bytes that files are read in.
inline constexpr std::size_t kSizes[] = {0, 1, 16383, 16384, 16385, 32768, 100000};

/// Bytes that hardly shrink, the same ones each time.
inline std::string noise(std::size_t size)
{
    std::mt19937 generator(4711);
    std::string bytes(size, '\0');
    for (char& byte : bytes)
        byte = static_cast<char>(generator());
    return bytes;
}

/// Log lines, which shrink well and hold no NUL.
inline std::string lines(std::size_t size)
{
    std::string bytes;
    for (int i = 0; bytes.size() < size; ++i)
        bytes += "line " + std::to_string(i) + " of the log\r\n";
    bytes.resize(size);
    return bytes;
}

/// One gzip member of zlib's default settings, fed in pieces of 16,384 bytes.
inline std::string gzip_member(const std::string& bytes)
{
    z_stream stream{};
    std::string result(bytes.size() + bytes.size() / 100 + 1000, '\0');
    if (deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, 31, 8, Z_DEFAULT_STRATEGY) != Z_OK)
        return {};
    stream.next_out = reinterpret_cast<Bytef*>(result.data());
    stream.avail_out = static_cast<uInt>(result.size());
    std::size_t done = 0;
    do
    {
        const std::string piece = bytes.substr(done, 16384);
        done += piece.size();
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(piece.data()));
        stream.avail_in = static_cast<uInt>(piece.size());
        deflate(&stream, piece.size() < 16384 ? Z_FINISH : Z_NO_FLUSH);
        if (piece.size() < 16384)
            break;
    } while (true);
    result.resize(stream.total_out);
    deflateEnd(&stream);
    return result;
}

} // namespace kf::filesystem::test
