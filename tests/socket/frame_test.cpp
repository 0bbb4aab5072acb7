#include "KFramework/socket/frame.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <vector>
#include <zlib.h>

#include "tests/socket/frame_bytes.h"
#include "tests/socket/portable_frames.h"

using namespace kf::socket;

using kf::test::encode_text;
using kf::test::frame_with;
using kf::test::taken;
using kf::test::zlib_payload;

TEST(ReadHeader, FindsTypeLengthParameterAndCommandAtTheirOffsets)
{
    const std::string bytes("\x02\x01\x02\x03\x84\x11\x12\x13\x94\x21\x22\x23\xA4", 13);
    const frame_header header = read_header(bytes.data());
    EXPECT_EQ(header.type, 2);
    EXPECT_EQ(header.payload_bytes, 0x84030201u);
    EXPECT_EQ(header.parameter, 0x94131211u);
    EXPECT_EQ(header.command, 0xA4232221u);
    EXPECT_EQ(header.signed_payload_bytes(), -0x7BFCFDFF);
    EXPECT_EQ(header.frame_bytes(), 0x8403020Eu);
}

TEST(EncodeFrame, WritesThirteenBytesForNoText)
{
    const std::string expected("\x00\x00\x00\x00\x00\x44\x33\x22\x11\xFE\xFF\xFF\xFF", 13);
    EXPECT_EQ(encode_text("", 0xFFFFFFFE, 0x11223344), expected);
    EXPECT_EQ(encode_text(nullptr, 0xFFFFFFFE, 0x11223344), expected);
}

TEST(EncodeFrame, LeavesTenBytesRaw)
{
    EXPECT_EQ(encode_text("aaaaaaaaaa", 7, 9), frame_with(1, 9, 7, "aaaaaaaaaa"));
}

TEST(EncodeFrame, CompressesElevenEqualLetters)
{
    const std::string frame = encode_text("aaaaaaaaaaa", 7, 9);
    EXPECT_EQ(frame, frame_with(2, 9, 7, zlib_payload("aaaaaaaaaaa")));
}

TEST(EncodeFrame, LeavesElevenDistinctLettersRaw)
{
    const std::string frame = encode_text("abcdefghijk", 7, 9);
    EXPECT_EQ(frame.size(), 24u);
    EXPECT_EQ(frame, frame_with(1, 9, 7, "abcdefghijk"));
}

TEST(TakePayload, GivesBackWhatWasEncoded)
{
    for (const std::size_t length : {0u, 1u, 10u, 11u, 12u, 100u, 4096u, 65535u})
    {
        std::string text(length, 'x');
        for (std::size_t i = 0; i < length; i += 3)
            text[i] = static_cast<char>('a' + i % 23);
        const taken out = kf::test::take(encode_text(text.c_str(), 1, 2));
        EXPECT_TRUE(out.delivered);
        EXPECT_EQ(out.text, text);
    }
}
