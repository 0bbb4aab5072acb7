#include "KFramework/filesystem/gzip_files.h"

#include "KFramework/filesystem.h"
#include "KFramework/filesystem/gzip_stream.h"

#include <algorithm>
#include <cstddef>
#include <new>
#include <optional>
#include <string>
#include <utility>

namespace kf::filesystem
{
namespace
{
constexpr std::size_t kWriteBytes = std::size_t{1} << 20; // the runtime may count one call in 32 bits

using stream_function = stream_result (*)(std::FILE*, std::FILE*);

/// KEPT[narrow-gzip-paths]: no conversion.
c_file open_narrow(const char* path, const char* mode)
{
    return c_file(path == nullptr ? nullptr : std::fopen(path, mode));
}

bool run_between(stream_function run, c_file source, c_file destination)
{
    if (!source || !destination)
        return false;
    const stream_result result = run(source.get(), destination.get());
    source.reset();
    destination.reset();
    if (result == stream_result::done)
        return true;
    // Standard error, never the log: rotation comes here with a logger locked.
    std::fputs(diagnostic(result, std::ferror(stdin) != 0, std::ferror(stdout) != 0).c_str(), stderr);
    return false;
}

/// Everything in a temporary file, up to the first NUL; nothing when it cannot be read back whole.
std::optional<std::string> read_back(std::FILE* file)
{
    if (std::fseek(file, 0, SEEK_END) != 0)
        return std::nullopt;
    const long length = std::ftell(file);
    if (length < 0)
        return std::nullopt; // longer than the runtime can tell
    std::rewind(file);
    try
    {
        std::string text(static_cast<std::size_t>(length), '\0');
        if (std::fread(text.data(), 1, text.size(), file) != text.size())
            return std::nullopt;
        // KEPT[text-ends-at-nul]: the result is a C text.
        text.resize(std::min(text.find('\0'), text.size()));
        return text;
    }
    catch (const std::bad_alloc&)
    {
        return std::nullopt;
    }
}

bool uncompress_to_text(std::FILE* source, std::string& text)
{
    const c_file plain(std::tmpfile());
    if (!plain)
        return false;
    const stream_result result = inflate_stream(source, plain.get());
    std::optional<std::string> content = read_back(plain.get());
    if (!content)
        return false;
    // KEPT[text-set-on-failure]: what came out before a failure is handed over too.
    text = std::move(*content);
    return result == stream_result::done;
}

bool write_all(std::FILE* file, const char* data, unsigned long long length)
{
    while (length > 0)
    {
        const auto piece = static_cast<std::size_t>(std::min<unsigned long long>(length, kWriteBytes));
        if (std::fwrite(data, 1, piece, file) != piece)
            return false;
        data += piece;
        length -= piece;
    }
    return std::fflush(file) == 0;
}
} // namespace

bool compress_between(c_file source, c_file destination)
{
    return run_between(&deflate_stream, std::move(source), std::move(destination));
}
} // namespace kf::filesystem

namespace KFramework::KFileSystem
{
using namespace kf::filesystem;

bool CompressFile(const char* sourcePath, const char* destinationPath)
{
    c_file source = open_narrow(sourcePath, "rb");
    // KEPT[destination-cut-first]: truncated even when there is nothing to read from.
    c_file destination = open_narrow(destinationPath, "wb");
    return compress_between(std::move(source), std::move(destination));
}

bool UncompressFile(const char* sourcePath, const char* destinationPath)
{
    c_file source = open_narrow(sourcePath, "rb");
    // KEPT[destination-cut-first]
    c_file destination = open_narrow(destinationPath, "wb");
    return run_between(&inflate_stream, std::move(source), std::move(destination));
}

bool UncompressFileToText(const char* sourcePath, std::string& text)
{
    const c_file source = open_narrow(sourcePath, "rb");
    return source && uncompress_to_text(source.get(), text);
}

bool UncompressBufferToText(const char* data, unsigned long long length, std::string& text)
{
    const c_file packed(std::tmpfile());
    if (!packed || !write_all(packed.get(), data, length))
        return false;
    std::rewind(packed.get());
    return uncompress_to_text(packed.get(), text);
}
} // namespace KFramework::KFileSystem
