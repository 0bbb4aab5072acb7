#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>

#include "KFramework/string/base64.h"
#include "KFramework/string/base64_alphabet.h"

#if defined(__x86_64__)
#include <immintrin.h>
#endif

namespace
{
using kf::string::base64_kernel;

#if defined(__x86_64__)
// One step of the wide kernels, here for the 16 bytes of a lane.
//
// Encoding: each three bytes abc are spread to the four bytes bacb, so that the low half of their 32 bits holds
// the first two numbers of six bits and the high half the other two; two multiplications shift all four into
// bytes of their own. What is added to a number to get its character depends on its range only.
//
// Decoding: what is added to a character to get its number depends on its upper four bits, except for "/". A
// character is one of the alphabet when the row of its upper bits and the column of its lower bits have no mark
// in common. Two multiplications then join four numbers to 24 bits.
using lane = std::array<std::int8_t, 16>;

using kf::string::kBase64Alphabet;
using kf::string::kBase64Values;

constexpr lane kSpread = {1, 0, 2, 1, 4, 3, 5, 4, 7, 6, 8, 7, 10, 9, 11, 10};
constexpr int kFirstTwo = 0x0FC0FC00, kFirstTwoShift = 0x04000040; // bits 10 and 6 of each half to bit 0
constexpr int kLastTwo = 0x003F03F0, kLastTwoShift = 0x01000010;   // bits 4 and 0 of each half to bit 8

// A number's range: 0 for capitals, 1 for small letters, 2 to 11 for the digits, 12 and 13 for the last two.
constexpr int kSmallLetters = 26, kDigits = 52;

constexpr std::int8_t to_character(int number)
{
    return static_cast<std::int8_t>(kBase64Alphabet[static_cast<std::size_t>(number)] - number);
}

constexpr lane kToCharacter = []
{
    lane shifts{};
    shifts[0] = to_character(0);
    shifts[1] = to_character(kSmallLetters);
    for (int number = kDigits; number < 64; ++number)
        shifts[static_cast<std::size_t>(number - kDigits + 2)] = to_character(number);
    return shifts;
}();

constexpr unsigned kFirstRow = 2, kLastRow = 7; // upper four bits of the characters of the alphabet

constexpr lane kRowMarks = []
{
    lane marks{};
    for (unsigned row = 0; row < 16; ++row)
        marks[row] =
            static_cast<std::int8_t>(row < kFirstRow || row > kLastRow ? 0x40 : 1 << (row - kFirstRow));
    return marks;
}();

constexpr lane kColumnMarks = []
{
    lane marks{};
    for (unsigned column = 0; column < 16; ++column)
    {
        marks[column] = 0x40;
        for (unsigned row = kFirstRow; row <= kLastRow; ++row)
            if (kBase64Values[row * 16 + column] == kf::string::kNoBase64Value)
                marks[column] = static_cast<std::int8_t>(marks[column] | 1 << (row - kFirstRow));
    }
    return marks;
}();

constexpr lane kToNumber = []
{
    lane shifts{};
    for (const char first : {'/', '+', '0', 'A', 'P', 'a', 'p'})
    {
        const unsigned row = static_cast<unsigned>(first) / 16 - (first == '/' ? 1 : 0);
        shifts[row] = static_cast<std::int8_t>(kBase64Values[static_cast<unsigned char>(first)] - first);
    }
    return shifts;
}();

constexpr int kJoinTwo = 0x01400140;  // 64 times the first number and the second
constexpr int kJoinFour = 0x00011000; // 4,096 times the first two and the last two
constexpr lane kGather = {2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1};

[[gnu::target("ssse3")]] inline __m128i load(const void* from)
{
    return _mm_loadu_si128(static_cast<const __m128i*>(from));
}

[[gnu::target("ssse3")]] inline void store(void* to, __m128i bytes)
{
    _mm_storeu_si128(static_cast<__m128i*>(to), bytes);
}

bool has_ssse3()
{
    return __builtin_cpu_supports("ssse3") != 0;
}

[[gnu::target("ssse3")]] std::size_t encode_ssse3(const char* in, std::size_t size, char* out,
                                                  std::size_t room)
{
    const __m128i spread = load(kSpread.data()), to_character = load(kToCharacter.data());
    // Each step loads 4 bytes more than it takes.
    const std::size_t steps = std::min(size > 4 ? (size - 4) / 12 : 0, room / 16);
    for (std::size_t i = 0; i < steps; ++i, in += 12, out += 16)
    {
        const __m128i bytes = _mm_shuffle_epi8(load(in), spread);
        const __m128i numbers = _mm_or_si128(
            _mm_mulhi_epu16(_mm_and_si128(bytes, _mm_set1_epi32(kFirstTwo)), _mm_set1_epi32(kFirstTwoShift)),
            _mm_mullo_epi16(_mm_and_si128(bytes, _mm_set1_epi32(kLastTwo)), _mm_set1_epi32(kLastTwoShift)));
        const __m128i no_capitals = _mm_cmpgt_epi8(numbers, _mm_set1_epi8(kSmallLetters - 1)); // minus 1
        const __m128i ranges = _mm_sub_epi8(_mm_subs_epu8(numbers, _mm_set1_epi8(kDigits - 1)), no_capitals);
        store(out, _mm_add_epi8(numbers, _mm_shuffle_epi8(to_character, ranges)));
    }
    return 12 * steps;
}

[[gnu::target("ssse3")]] std::size_t decode_ssse3(const char* in, std::size_t size, char* out,
                                                  std::size_t room)
{
    const __m128i row_marks = load(kRowMarks.data()), column_marks = load(kColumnMarks.data());
    const __m128i to_number = load(kToNumber.data()), gather = load(kGather.data());
    const __m128i low_bits = _mm_set1_epi8(0x0F);
    const std::size_t steps = std::min(size / 16, room / 12);
    std::size_t i = 0;
    for (; i < steps; ++i, in += 16, out += 12)
    {
        const __m128i text = load(in);
        const __m128i rows = _mm_and_si128(_mm_srli_epi32(text, 4), low_bits);
        const __m128i marks = _mm_and_si128(_mm_shuffle_epi8(row_marks, rows),
                                            _mm_shuffle_epi8(column_marks, _mm_and_si128(text, low_bits)));
        if (_mm_movemask_epi8(_mm_cmpeq_epi8(marks, _mm_setzero_si128())) != 0xFFFF)
            break;
        const __m128i slashes = _mm_cmpeq_epi8(text, _mm_set1_epi8('/')); // minus 1 where one is
        const __m128i numbers = _mm_add_epi8(text, _mm_shuffle_epi8(to_number, _mm_add_epi8(rows, slashes)));
        const __m128i joined =
            _mm_madd_epi16(_mm_maddubs_epi16(numbers, _mm_set1_epi32(kJoinTwo)), _mm_set1_epi32(kJoinFour));
        const __m128i bytes = _mm_shuffle_epi8(joined, gather);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out), bytes);
        const int last = _mm_cvtsi128_si32(_mm_srli_si128(bytes, 8));
        std::memcpy(out + 8, &last, sizeof last);
    }
    return 16 * i;
}

bool has_avx2()
{
    return __builtin_cpu_supports("avx2") != 0;
}

// No function takes or gives a __m256i: not every compiler for Windows aligns the stack for one.
[[gnu::target("avx2")]] std::size_t encode_avx2(const char* in, std::size_t size, char* out, std::size_t room)
{
    const __m256i spread = _mm256_broadcastsi128_si256(load(kSpread.data()));
    const __m256i to_character = _mm256_broadcastsi128_si256(load(kToCharacter.data()));
    // Each step loads 4 bytes more than it takes.
    const std::size_t steps = std::min(size > 4 ? (size - 4) / 24 : 0, room / 32);
    for (std::size_t i = 0; i < steps; ++i, in += 24, out += 32)
    {
        const __m256i bytes = _mm256_shuffle_epi8(
            _mm256_inserti128_si256(_mm256_castsi128_si256(load(in)), load(in + 12), 1), spread);
        const __m256i numbers =
            _mm256_or_si256(_mm256_mulhi_epu16(_mm256_and_si256(bytes, _mm256_set1_epi32(kFirstTwo)),
                                               _mm256_set1_epi32(kFirstTwoShift)),
                            _mm256_mullo_epi16(_mm256_and_si256(bytes, _mm256_set1_epi32(kLastTwo)),
                                               _mm256_set1_epi32(kLastTwoShift)));
        const __m256i no_capitals =
            _mm256_cmpgt_epi8(numbers, _mm256_set1_epi8(kSmallLetters - 1)); // minus 1
        const __m256i ranges =
            _mm256_sub_epi8(_mm256_subs_epu8(numbers, _mm256_set1_epi8(kDigits - 1)), no_capitals);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(out),
                            _mm256_add_epi8(numbers, _mm256_shuffle_epi8(to_character, ranges)));
    }
    return 24 * steps + encode_ssse3(in, size - 24 * steps, out, room - 32 * steps);
}

[[gnu::target("avx2")]] std::size_t decode_avx2(const char* in, std::size_t size, char* out, std::size_t room)
{
    const __m256i row_marks = _mm256_broadcastsi128_si256(load(kRowMarks.data()));
    const __m256i column_marks = _mm256_broadcastsi128_si256(load(kColumnMarks.data()));
    const __m256i to_number = _mm256_broadcastsi128_si256(load(kToNumber.data()));
    const __m256i gather = _mm256_broadcastsi128_si256(load(kGather.data()));
    const __m256i low_bits = _mm256_set1_epi8(0x0F);
    const std::size_t steps = std::min(size / 32, room / 24);
    std::size_t i = 0;
    for (; i < steps; ++i, in += 32, out += 24)
    {
        const __m256i text = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(in));
        const __m256i rows = _mm256_and_si256(_mm256_srli_epi32(text, 4), low_bits);
        if (_mm256_testz_si256(_mm256_shuffle_epi8(row_marks, rows),
                               _mm256_shuffle_epi8(column_marks, _mm256_and_si256(text, low_bits))) == 0)
            break;
        const __m256i slashes = _mm256_cmpeq_epi8(text, _mm256_set1_epi8('/')); // minus 1 where one is
        const __m256i numbers =
            _mm256_add_epi8(text, _mm256_shuffle_epi8(to_number, _mm256_add_epi8(rows, slashes)));
        const __m256i joined = _mm256_madd_epi16(_mm256_maddubs_epi16(numbers, _mm256_set1_epi32(kJoinTwo)),
                                                 _mm256_set1_epi32(kJoinFour));
        const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(joined, gather),
                                                          _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 3, 7));
        store(out, _mm256_castsi256_si128(bytes));
        _mm_storel_epi64(reinterpret_cast<__m128i*>(out + 16), _mm256_extracti128_si256(bytes, 1));
    }
    return 32 * i + decode_ssse3(in, size - 32 * i, out, room - 24 * i);
}
#endif

bool everywhere()
{
    return true;
}

/// Leaves everything to the code for any processor.
std::size_t take_nothing(const char*, std::size_t, char*, std::size_t)
{
    return 0;
}

constexpr base64_kernel kKernels[] = {
#if defined(__x86_64__)
    {"AVX2", &has_avx2, &encode_avx2, &decode_avx2},
    {"SSSE3", &has_ssse3, &encode_ssse3, &decode_ssse3},
#endif
    {"plain", &everywhere, &take_nothing, &take_nothing},
};

const base64_kernel& first_available()
{
    const base64_kernel* kernel = kKernels;
    while (!kernel->available())
        ++kernel; // the last one is
    return *kernel;
}
} // namespace

namespace kf::string
{
std::span<const base64_kernel> base64_kernels()
{
    return kKernels;
}

const base64_kernel& best_base64_kernel()
{
    static const base64_kernel& best = first_available();
    return best;
}
} // namespace kf::string
