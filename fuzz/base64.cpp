/// Every Base64 kernel against the plain code, from blocks and into blocks of exactly their size. Input: the room, as
/// a byte that is added to or taken from what is needed; the bytes, which are also taken for a text.

#include "fuzz/target.h"

#include <memory>
#include <string>

#include "KFramework/string/base64.h"

namespace
{

using kf::string::base64_kernel;

constexpr char kUntouched = '\x5A';

struct written
{
    std::string buffer; ///< all of it, bytes that were not touched included
    std::size_t bytes;
    bool whole;

    bool operator==(const written&) const = default;
};

std::unique_ptr<char[]> copy_of(std::string_view bytes)
{
    std::unique_ptr<char[]> copy(new char[bytes.size()]);
    bytes.copy(copy.get(), bytes.size());
    return copy;
}

std::string encoded(const base64_kernel& kernel, std::string_view bytes, std::size_t room)
{
    const std::unique_ptr<char[]> in = copy_of(bytes), out = copy_of(std::string(room, kUntouched));
    kf::string::base64_encode(kernel, in.get(), bytes.size(), out.get(), room);
    return {out.get(), room};
}

written decoded(const base64_kernel& kernel, std::string_view text, std::size_t room)
{
    const std::unique_ptr<char[]> in = copy_of(text), out = copy_of(std::string(room, kUntouched));
    const auto [bytes, whole] = kf::string::base64_decode(kernel, in.get(), text.size(), out.get(), room);
    return {{out.get(), room}, bytes, whole};
}

/// A size and some more, or less but not below nothing.
std::size_t changed(std::size_t size, int change)
{
    return change >= 0 ? size + static_cast<std::size_t>(change)
                       : size - std::min(size, static_cast<std::size_t>(-change));
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const int change = static_cast<std::int8_t>(input.byte());
    const std::string_view bytes = input.rest();
    const std::size_t length = (bytes.size() + 2) / 3 * 4;
    const base64_kernel& plain = kf::string::base64_kernels().back();

    for (const base64_kernel& kernel : kf::string::base64_kernels())
    {
        if (!kernel.available())
            continue;
        const std::string text = encoded(kernel, bytes, length);
        const written back = decoded(kernel, text, bytes.size());
        kf::fuzz::require(back.whole && back.bytes == bytes.size() && back.buffer == bytes, "a round trip");

        std::size_t room = changed(length, change);
        kf::fuzz::require(encoded(kernel, bytes, room) == encoded(plain, bytes, room), "one text for all");
        room = changed(bytes.size() / 4 * 3, change);
        const written read = decoded(kernel, bytes, room);
        kf::fuzz::require(read == decoded(plain, bytes, room), "one reading for all");
        kf::fuzz::require(read.buffer.find_first_not_of(kUntouched, read.bytes) == std::string::npos,
                          "nothing is touched behind the bytes");
        if (read.whole && bytes.size() % 4 != 0)
            kf::fuzz::require(false, "only texts of whole groups are read to their end");
    }
    return 0;
}
