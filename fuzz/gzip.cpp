/// UncompressBufferToText against zlib in memory, and files that were compressed by us, whole, cut and damaged. Input: a
/// byte of flags and a place in four bytes; the gzip bytes, or the text to compress. Deflate yields at most 1,032 bytes
/// for one: 4,096 bytes of input bound what a run can unpack to 4 MB.

#include "fuzz/target.h"

#include <algorithm>
#include <cstdio>
#include <memory>
#include <string>
#include <zlib.h>

#include "KFramework/filesystem.h"
#include "KFramework/filesystem/gzip_stream.h"

using KFramework::KFileSystem::UncompressBufferToText;

namespace
{

constexpr std::size_t kMostInput = 4096;
constexpr std::size_t kMostPerByte = 1032;

struct unpacked
{
    /// The first member ended in order.
    bool whole = false;
    std::string text;
};

/// One call of zlib into memory.
unpacked unpacked_in_memory(const std::string& packed)
{
    unpacked result;
    result.text.resize(kMostPerByte * packed.size() + 64);
    z_stream stream{};
    constexpr int kGzipOnly = 15 + 16;
    kf::fuzz::require(::inflateInit2(&stream, kGzipOnly) == Z_OK, "zlib starts");
    std::string input = packed;
    stream.next_in = reinterpret_cast<Bytef*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = reinterpret_cast<Bytef*>(result.text.data());
    stream.avail_out = static_cast<uInt>(result.text.size());
    result.whole = ::inflate(&stream, Z_FINISH) == Z_STREAM_END;
    result.text.resize(stream.total_out);
    ::inflateEnd(&stream);
    return result;
}

std::string up_to_nul(const std::string& text)
{
    return text.substr(0, text.find('\0'));
}

void check_unpacking(const std::string& packed)
{
    const unpacked expected = unpacked_in_memory(packed);
    std::string text = "kept";
    const bool whole = UncompressBufferToText(packed.data(), packed.size(), text);
    kf::fuzz::require(whole == expected.whole, "a member is whole for us when it is for zlib");
    if (whole)
        kf::fuzz::require(text == up_to_nul(expected.text), "the text is zlib's, up to its first NUL");
    else
        kf::fuzz::require(expected.text.starts_with(text), "a failure gives what came out before it");
}

struct file_close
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using file = std::unique_ptr<std::FILE, file_close>;

std::string compressed(const std::string& text)
{
    const file plain(std::tmpfile());
    const file packed(std::tmpfile());
    kf::fuzz::require(plain && packed, "there are temporary files");
    std::fwrite(text.data(), 1, text.size(), plain.get());
    std::rewind(plain.get());
    using kf::filesystem::stream_result;
    kf::fuzz::require(kf::filesystem::deflate_stream(plain.get(), packed.get()) == stream_result::done,
                      "it packs");
    std::string bytes(static_cast<std::size_t>(std::ftell(packed.get())), '\0');
    std::rewind(packed.get());
    kf::fuzz::require(std::fread(bytes.data(), 1, bytes.size(), packed.get()) == bytes.size(),
                      "it is read back");
    return bytes;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::uint8_t flags = input.byte();
    const std::size_t place = input.number();
    const std::string bytes(input.bytes(kMostInput));
    if ((flags & 1) == 0)
    {
        check_unpacking(bytes);
        return 0;
    }

    std::string packed = compressed(bytes);
    const unpacked back = unpacked_in_memory(packed);
    kf::fuzz::require(back.whole && back.text == bytes, "what we pack zlib unpacks");
    std::string text;
    kf::fuzz::require(UncompressBufferToText(packed.data(), packed.size(), text) && text == up_to_nul(bytes),
                      "what we pack we unpack");
    if ((flags & 2) != 0)
        packed.resize(place % packed.size());
    else
        packed[place % packed.size()] ^= static_cast<char>(flags | 1);
    check_unpacking(packed);
    return 0;
}
