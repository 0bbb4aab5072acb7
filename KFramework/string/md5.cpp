#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>
#include <utility>

#include "KFramework/string.h"

namespace
{
using word = std::uint32_t;
static_assert(sizeof(word) == sizeof(unsigned int));

constexpr std::size_t kBlockBytes = 64;
constexpr std::size_t kLengthBytes = 8;
constexpr std::size_t kSteps = 64;

/// The whole part of 2^32 times the sine of each step's number, counted from 1.
constexpr std::array<word, kSteps> kSines = {
    0xD76AA478, 0xE8C7B756, 0x242070DB, 0xC1BDCEEE, 0xF57C0FAF, 0x4787C62A, 0xA8304613, 0xFD469501,
    0x698098D8, 0x8B44F7AF, 0xFFFF5BB1, 0x895CD7BE, 0x6B901122, 0xFD987193, 0xA679438E, 0x49B40821,
    0xF61E2562, 0xC040B340, 0x265E5A51, 0xE9B6C7AA, 0xD62F105D, 0x02441453, 0xD8A1E681, 0xE7D3FBC8,
    0x21E1CDE6, 0xC33707D6, 0xF4D50D87, 0x455A14ED, 0xA9E3E905, 0xFCEFA3F8, 0x676F02D9, 0x8D2A4C8A,
    0xFFFA3942, 0x8771F681, 0x6D9D6122, 0xFDE5380C, 0xA4BEEA44, 0x4BDECFA9, 0xF6BB4B60, 0xBEBFBC70,
    0x289B7EC6, 0xEAA127FA, 0xD4EF3085, 0x04881D05, 0xD9D4D039, 0xE6DB99E5, 0x1FA27CF8, 0xC4AC5665,
    0xF4292244, 0x432AFF97, 0xAB9423A7, 0xFC93A039, 0x655B59C3, 0x8F0CCC92, 0xFFEFF47D, 0x85845DD1,
    0x6FA87E4F, 0xFE2CE6E0, 0xA3014314, 0x4E0811A1, 0xF7537E82, 0xBD3AF235, 0x2AD7D2BB, 0xEB86D391,
};

constexpr std::array<std::array<int, 4>, 4> kTurns = {
    {{7, 12, 17, 22}, {5, 9, 14, 20}, {4, 11, 16, 23}, {6, 10, 15, 21}}};

/// Any address will do.
word read_word(const unsigned char* from)
{
    return from[0] | word{from[1]} << 8 | word{from[2]} << 16 | word{from[3]} << 24;
}

void write_word(word value, unsigned char* to)
{
    for (unsigned i = 0; i < 4; ++i)
        to[i] = static_cast<unsigned char>(value >> 8 * i);
}

constexpr std::size_t input_of(std::size_t step)
{
    constexpr std::array<std::size_t, 4> factor = {1, 5, 3, 7}, offset = {0, 1, 5, 0};
    return (factor[step / 16] * step + offset[step / 16]) % 16;
}

/// One step. It changes only the first of its four words, so the roles turn from step to step.
template <std::size_t Step>
[[gnu::always_inline]] inline void step(std::array<word, 4>& words, const std::array<word, 16>& input)
{
    word& a = words[(kSteps - Step) % 4];
    const word b = words[(kSteps - Step + 1) % 4], c = words[(kSteps - Step + 2) % 4],
               d = words[(kSteps - Step + 3) % 4];
    a += input[input_of(Step)] + kSines[Step];
    if constexpr (Step < 16)
        a += d ^ (b & (c ^ d));
    else if constexpr (Step < 32)
    {
        // The two sides share no bit, so they can be added, and only one of them waits for the step before.
        a += c & ~d;
        a += b & d;
    }
    else if constexpr (Step < 48)
        a += b ^ (c ^ d);
    else
        a += c ^ (b | ~d);
    a = b + std::rotl(a, kTurns[Step / 16][Step % 4]);
}

template <std::size_t... Steps>
[[gnu::always_inline]] inline void all_steps(std::array<word, 4>& words, const std::array<word, 16>& input,
                                             std::index_sequence<Steps...>)
{
    (step<Steps>(words, input), ...);
}

void compress(unsigned int* chain, const unsigned char* data, std::size_t blocks)
{
    std::array<word, 4> sum = {chain[0], chain[1], chain[2], chain[3]};
    for (; blocks > 0; --blocks, data += kBlockBytes)
    {
        std::array<word, 16> input;
        for (std::size_t i = 0; i < input.size(); ++i)
            input[i] = read_word(data + 4 * i);
        std::array<word, 4> words = sum;
        all_steps(words, input, std::make_index_sequence<kSteps>());
        for (std::size_t i = 0; i < sum.size(); ++i)
            sum[i] += words[i];
    }
    std::copy(sum.begin(), sum.end(), chain);
}

std::size_t buffered_bytes(const KFramework::TZMd5::md5_state_s& state)
{
    return state.count[0] / 8 % kBlockBytes;
}
} // namespace

namespace KFramework::TZMd5
{
void md5_init(md5_state_s* state)
{
    *state = {{0, 0}, {0x67452301, 0xEFCDAB89, 0x98BADCFE, 0x10325476}, {}};
}

void md5_append(md5_state_s* state, const unsigned char* data, int length)
{
    if (length <= 0)
        return;
    const std::size_t buffered = buffered_bytes(*state);
    const word bytes = static_cast<word>(length);
    state->count[0] += bytes << 3;
    state->count[1] += (bytes >> 29) + (state->count[0] < bytes << 3 ? 1 : 0);

    std::size_t left = bytes;
    if (buffered > 0)
    {
        const std::size_t taken = std::min(left, kBlockBytes - buffered);
        std::memcpy(state->buf + buffered, data, taken);
        data += taken;
        left -= taken;
        if (buffered + taken < kBlockBytes)
            return;
        compress(state->abcd, state->buf, 1);
    }
    compress(state->abcd, data, left / kBlockBytes);
    std::memcpy(state->buf, data + left / kBlockBytes * kBlockBytes, left % kBlockBytes);
}

void md5_finish(md5_state_s* state, unsigned char digest[16])
{
    std::size_t end = buffered_bytes(*state);
    state->buf[end++] = 0x80;
    if (end > kBlockBytes - kLengthBytes)
    {
        std::memset(state->buf + end, 0, kBlockBytes - end);
        compress(state->abcd, state->buf, 1);
        end = 0;
    }
    std::memset(state->buf + end, 0, kBlockBytes - kLengthBytes - end);
    write_word(state->count[0], state->buf + kBlockBytes - kLengthBytes);
    write_word(state->count[1], state->buf + kBlockBytes - kLengthBytes / 2);
    compress(state->abcd, state->buf, 1);
    for (std::size_t i = 0; i < 4; ++i)
        write_word(state->abcd[i], digest + 4 * i);
}

void md5_process(md5_state_s* state, const unsigned char block[64])
{
    compress(state->abcd, block, 1);
}

const char* md5_string(unsigned char digest[16], char* text)
{
    constexpr std::string_view digits = "0123456789abcdef";
    for (std::size_t i = 0; i < 16; ++i)
    {
        text[2 * i] = digits[digest[i] / 16];
        text[2 * i + 1] = digits[digest[i] % 16];
    }
    text[32] = '\0';
    return text;
}
} // namespace KFramework::TZMd5
