#include <climits>
#include <cstddef>
#include <cstring>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace
{
using namespace KFramework::TZMd5;

void append(md5_state_s& state, const std::string& bytes)
{
    md5_append(&state, reinterpret_cast<const unsigned char*>(bytes.data()), static_cast<int>(bytes.size()));
}

std::string finished(md5_state_s& state)
{
    unsigned char digest[16];
    md5_finish(&state, digest);
    char text[33];
    return md5_string(digest, text);
}

std::string md5_of(const std::string& bytes)
{
    md5_state_s state;
    md5_init(&state);
    append(state, bytes);
    return finished(state);
}

std::string counted_bytes(std::size_t size)
{
    std::string bytes(size, '\0');
    for (std::size_t i = 0; i < size; ++i)
        bytes[i] = static_cast<char>(i * 7 + i / 64);
    return bytes;
}

bool same(const md5_state_s& a, const md5_state_s& b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}
} // namespace

TEST(Md5, GivesTheSevenValuesOfTheStandard)
{
    EXPECT_EQ(md5_of(""), "d41d8cd98f00b204e9800998ecf8427e");
    EXPECT_EQ(md5_of("a"), "0cc175b9c0f1b6a831c399e269772661");
    EXPECT_EQ(md5_of("abc"), "900150983cd24fb0d6963f7d28e17f72");
    EXPECT_EQ(md5_of("message digest"), "f96b697d7cb7938d525a2f31aaf161d0");
    EXPECT_EQ(md5_of("abcdefghijklmnopqrstuvwxyz"), "c3fcd3d76192e4007dfb496cca67e13b");
    EXPECT_EQ(md5_of("ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789"),
              "d174ab98d277d9f5a5611c2c9f419d9f");
    EXPECT_EQ(md5_of("12345678901234567890123456789012345678901234567890123456789012345678901234567890"),
              "57edf4a22be3c955ac49da2e2107b67a");
}

TEST(md5_init, ClearsTheCountAndSetsTheChainingWords)
{
    md5_state_s state;
    std::memset(&state, 0xFF, sizeof state);
    md5_init(&state);
    EXPECT_EQ(state.count[0], 0u);
    EXPECT_EQ(state.count[1], 0u);
    EXPECT_EQ(state.abcd[0], 0x67452301u);
    EXPECT_EQ(state.abcd[1], 0xefcdab89u);
    EXPECT_EQ(state.abcd[2], 0x98badcfeu);
    EXPECT_EQ(state.abcd[3], 0x10325476u);
}

TEST(md5_append, TakesItsBytesInPiecesOfAnySize)
{
    const std::string bytes = counted_bytes(200);
    const std::string digest = md5_of(bytes);
    for (std::size_t cut = 0; cut <= bytes.size(); ++cut)
        for (const std::size_t second : {0u, 1u, 63u, 64u, 65u})
        {
            md5_state_s state;
            md5_init(&state);
            append(state, bytes.substr(0, cut));
            append(state, bytes.substr(cut, second));
            append(state, bytes.substr(std::min(cut + second, bytes.size())));
            ASSERT_EQ(finished(state), digest) << cut << ", " << second;
        }
}

TEST(md5_append, TakesItsBytesAtAnyAddress)
{
    const std::string bytes = counted_bytes(300);
    for (std::size_t shift = 0; shift < 16; ++shift)
    {
        const std::string moved = std::string(shift, 'x') + bytes;
        md5_state_s state;
        md5_init(&state);
        md5_append(&state, reinterpret_cast<const unsigned char*>(moved.data()) + shift, 300);
        ASSERT_EQ(finished(state), md5_of(bytes)) << shift;
    }
}

TEST(md5_append, CountsBitsAndKeepsWhatFillsNoBlock)
{
    md5_state_s state;
    md5_init(&state);
    append(state, counted_bytes(70));
    EXPECT_EQ(state.count[0], 560u);
    EXPECT_EQ(state.count[1], 0u);
    EXPECT_EQ(std::memcmp(state.buf, counted_bytes(70).data() + 64, 6), 0);
}

TEST(md5_append, CarriesIntoTheHighWordOfTheCount)
{
    md5_state_s state;
    md5_init(&state);
    state.count[0] = 0xFFFFFE00; // a block short of 2^32 bits
    append(state, counted_bytes(63));
    EXPECT_EQ(state.count[0], 0xFFFFFFF8u);
    EXPECT_EQ(state.count[1], 0u);
    append(state, counted_bytes(2));
    EXPECT_EQ(state.count[0], 8u);
    EXPECT_EQ(state.count[1], 1u);
}

TEST(md5_append, DoesNothingForALengthOfZeroOrLess)
{
    md5_state_s state;
    md5_init(&state);
    append(state, "abc");
    const md5_state_s before = state;
    for (const int length : {0, -1, -64, INT_MIN})
    {
        md5_append(&state, nullptr, length);
        EXPECT_TRUE(same(state, before)) << length;
    }
}

TEST(md5_finish, PadsEveryLengthAroundABlock)
{
    // What the digests of these lengths, one after the other, digest to.
    std::string digests;
    for (std::size_t size = 0; size <= 130; ++size)
        digests += md5_of(counted_bytes(size));
    EXPECT_EQ(md5_of(digests), "f40c7ada84b85c07e61a2a42ba5d6dac");
}

TEST(md5_process, TakesOneBlockAndLeavesCountAndBufferAlone)
{
    const std::string block = counted_bytes(64);
    md5_state_s through_append;
    md5_init(&through_append);
    append(through_append, block);

    md5_state_s state;
    md5_init(&state);
    md5_process(&state, reinterpret_cast<const unsigned char*>(block.data()));
    EXPECT_EQ(std::memcmp(state.abcd, through_append.abcd, sizeof state.abcd), 0);
    EXPECT_EQ(state.count[0], 0u);
    EXPECT_EQ(state.count[1], 0u);
}

TEST(md5_string, WritesSmallDigitsAndAZeroAndGivesItsText)
{
    unsigned char digest[16] = {0x00, 0x01, 0x0A, 0x10, 0x9F, 0xA0, 0xFF, 0x7F,
                                0x80, 0xBC, 0xDE, 0xF0, 0x12, 0x34, 0x56, 0x78};
    char text[34];
    std::memset(text, 'x', sizeof text);
    EXPECT_EQ(md5_string(digest, text), text);
    EXPECT_STREQ(text, "00010a109fa0ff7f80bcdef012345678");
    EXPECT_EQ(text[33], 'x');
}
