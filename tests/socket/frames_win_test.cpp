#include "KFramework/socket.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "tests/socket/frame_bytes.h"

using namespace KFramework::KSocket;
using kf::test::frame_with;
using kf::test::zlib_payload;

namespace
{

std::string encode(int command, const char* text, unsigned int parameter)
{
    char* frame = nullptr;
    std::size_t payload_bytes = 0;
    std::size_t frame_bytes = 0;
    EncodeSocketMessage(command, text, parameter, &frame, &payload_bytes, &frame_bytes);
    EXPECT_EQ(frame_bytes, payload_bytes + 13);
    const std::string bytes(frame, frame_bytes);
    DestroyEncodedSocketMessage(frame);
    return bytes;
}

} // namespace

// KEPT[parameter-before-command]
TEST(EncodeSocketMessage, WritesTheParameterBeforeTheCommand)
{
    EXPECT_EQ(encode(-2, "hello", 0x11223344),
              std::string("\x01\x05\0\0\0\x44\x33\x22\x11\xFE\xFF\xFF\xFFhello", 18));
}

TEST(EncodeSocketMessage, WritesTheWorkedExamples)
{
    for (const kf::test::worked_example& example : kf::test::worked_examples())
        EXPECT_EQ(encode(example.command, example.text, example.parameter), example.frame);
}

TEST(EncodeSocketMessage, WritesThirteenBytesForNoText)
{
    EXPECT_EQ(encode(9, "", 7), frame_with(0, 7, 9, ""));
    EXPECT_EQ(encode(9, nullptr, 7), frame_with(0, 7, 9, ""));
}

TEST(EncodeSocketMessage, LeavesTenBytesRawAndTriesEleven)
{
    EXPECT_EQ(encode(9, "aaaaaaaaaa", 7), frame_with(1, 7, 9, "aaaaaaaaaa"));
    EXPECT_EQ(encode(9, "aaaaaaaaaaa", 7), frame_with(2, 7, 9, zlib_payload("aaaaaaaaaaa")));
    EXPECT_EQ(encode(9, "aaaaaaaaaaa", 7).size(), 28u);
    EXPECT_EQ(encode(9, "abcdefghijk", 7), frame_with(1, 7, 9, "abcdefghijk"));
}

TEST(EncodeSocketMessage, KeepsCompressedBytesUpToThreeMoreThanTheText)
{
    const std::string three_more = "pmdfmnkhgfgdhdpikpbgmhdfkhphdhmgnpgd";
    ASSERT_EQ(kf::test::zlib_bytes(three_more).size(), three_more.size() + 3);
    EXPECT_EQ(encode(9, three_more.c_str(), 7), frame_with(2, 7, 9, zlib_payload(three_more)));
    const std::string four_more = "hdgnjbkkgpibkkgpooh";
    ASSERT_EQ(kf::test::zlib_bytes(four_more).size(), four_more.size() + 4);
    EXPECT_EQ(encode(9, four_more.c_str(), 7), frame_with(1, 7, 9, four_more));
}

TEST(EncodeSocketMessage, CutsTheTextAtItsFirstZeroByte)
{
    EXPECT_EQ(encode(9, "abc\0def", 7), frame_with(1, 7, 9, "abc"));
}

TEST(EncodeSocketMessage, GivesTheFrameLengthOnlyWhenAsked)
{
    char* frame = nullptr;
    std::size_t payload_bytes = 0;
    EncodeSocketMessage(1, "text", 2, &frame, &payload_bytes, nullptr);
    EXPECT_EQ(payload_bytes, 4u);
    DestroyEncodedSocketMessage(frame);
}

TEST(DestroyEncodedSocketMessage, IgnoresNull)
{
    DestroyEncodedSocketMessage(nullptr);
}
