#include "KFramework/string/base64.h"

#include <algorithm>
#include <array>
#include <cstdint>

#include "KFramework/string/base64_alphabet.h"

namespace
{
using kf::string::kBase64Alphabet;
using kf::string::kBase64Values;

/// The number a character stands for; 64 or more when it is none of the alphabet.
unsigned value_of(char c)
{
    return kBase64Values[static_cast<unsigned char>(c)];
}

bool is_letter(unsigned value)
{
    return value < kBase64Alphabet.size();
}

/// The four characters of up to three bytes.
std::array<char, 4> group_of(const char* in, std::size_t size)
{
    const auto byte = [&](std::size_t i) -> std::uint32_t
    { return i < size ? static_cast<unsigned char>(in[i]) : 0; };
    const std::uint32_t bits = byte(0) << 16 | byte(1) << 8 | byte(2);
    return {kBase64Alphabet[bits >> 18], kBase64Alphabet[bits >> 12 & 63],
            size > 1 ? kBase64Alphabet[bits >> 6 & 63] : '=', size > 2 ? kBase64Alphabet[bits & 63] : '='};
}

/// Takes whole groups for which there is room. Gives the bytes taken.
std::size_t encode_groups(const char* in, std::size_t size, char* out, std::size_t room)
{
    const std::size_t groups = std::min(size / 3, room / 4);
    for (std::size_t i = 0; i < groups; ++i)
    {
        const std::array<char, 4> group = group_of(in + 3 * i, 3);
        std::copy(group.begin(), group.end(), out + 4 * i);
    }
    return 3 * groups;
}

/// Takes groups of four letters for which there is room, up to the first other character. Gives the
/// characters taken.
std::size_t decode_groups(const char* in, std::size_t size, char* out, std::size_t room)
{
    const std::size_t groups = std::min(size / 4, room / 3);
    for (std::size_t i = 0; i < groups; ++i)
    {
        const char* const group = in + 4 * i;
        const unsigned a = value_of(group[0]), b = value_of(group[1]), c = value_of(group[2]),
                       d = value_of(group[3]);
        if (!is_letter(a | b | c | d))
            return 4 * i;
        const unsigned bits = a << 18 | b << 12 | c << 6 | d;
        out[3 * i] = static_cast<char>(bits >> 16);
        out[3 * i + 1] = static_cast<char>(bits >> 8);
        out[3 * i + 2] = static_cast<char>(bits);
    }
    return 4 * groups;
}

/// Bytes into a buffer of limited room.
class limited_bytes
{
public:
    limited_bytes(char* out, std::size_t room, std::size_t written)
        : out_(out), room_(room), written_(written)
    {
    }

    void add(unsigned byte)
    {
        // KEPT[base64-drops-beyond-room]: what finds no room is dropped; reading goes on.
        if (written_ < room_)
            out_[written_++] = static_cast<char>(byte);
    }

    std::size_t written() const { return written_; }

private:
    char* out_;
    std::size_t room_;
    std::size_t written_;
};

/// One group, which may be padded, cut or wrong. Gives whether all of it was consumed.
bool decode_group(const char* in, std::size_t size, limited_bytes& out)
{
    if (size < 2)
        return false;
    const unsigned a = value_of(in[0]), b = value_of(in[1]);
    if (!is_letter(a) || !is_letter(b))
        return false;
    out.add(a << 2 | b >> 4);
    if (size == 2)
        return false; // KEPT[base64-unpadded-false]: written, yet not consumed
    if (in[2] == '=')
        return size == 4 && in[3] == '=';

    const unsigned c = value_of(in[2]);
    if (!is_letter(c))
        return false;
    out.add(b << 4 | c >> 2);
    if (size == 3)
        return false; // KEPT[base64-unpadded-false]
    if (in[3] == '=')
        return size == 4;

    const unsigned d = value_of(in[3]);
    if (!is_letter(d))
        return false;
    out.add(c << 6 | d);
    return true;
}
} // namespace

namespace kf::string
{
void base64_encode(const base64_kernel& kernel, const char* in, std::size_t size, char* out, std::size_t room)
{
    std::size_t read = kernel.encode(in, size, out, room);
    std::size_t written = read / 3 * 4;
    read += encode_groups(in + read, size - read, out + written, room - written);
    written = read / 3 * 4;
    if (read < size && written < room)
    {
        const std::array<char, 4> last = group_of(in + read, size - read);
        const std::size_t fitting = std::min(last.size(), room - written);
        std::copy_n(last.begin(), fitting, out + written);
        written += fitting;
    }
    if (written < room)
        out[written] = '\0';
}

base64_decoded base64_decode(const base64_kernel& kernel, const char* in, std::size_t size, char* out,
                             std::size_t room)
{
    std::size_t read = kernel.decode(in, size, out, room);
    const std::size_t written = read / 4 * 3;
    read += decode_groups(in + read, size - read, out + written, room - written);
    limited_bytes bytes(out, room, read / 4 * 3);
    while (read < size && decode_group(in + read, size - read, bytes))
        read += 4;
    return {bytes.written(), read == size};
}
} // namespace kf::string
