#include "KFramework/socket/frame.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <malloc.h>
#include <memory>
#include <random>
#include <string>
#include <vector>
#include <zlib.h>

#include "tests/socket/failing_zlib.h"
#include "tests/socket/frame_bytes.h"
#include "tests/socket/frame_reader.h"
#include "tests/socket/portable_frames.h"

using namespace kf::socket;
using kf::test::encode_text;
using kf::test::frame_with;
using kf::test::header_bytes;
using kf::test::take;
using kf::test::taken;
using kf::test::u32_bytes;
using kf::test::zlib_bytes;
using kf::test::zlib_payload;

namespace
{

std::string repeating(std::size_t length)
{
    std::string text(length, 'x');
    for (std::size_t i = 0; i < length; i += 3)
        text[i] = static_cast<char>('a' + i % 23);
    return text;
}

std::string random_text(std::mt19937& random, std::size_t length, int letters)
{
    std::uniform_int_distribution<int> letter(1, letters);
    std::string text(length, '\0');
    for (char& c : text)
        c = static_cast<char>(letter(random));
    return text;
}

} // namespace

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

TEST(EncodeFrame, WritesTheWorkedExamples)
{
    for (const kf::test::worked_example& example : kf::test::worked_examples())
    {
        EXPECT_EQ(encode_text(example.text, static_cast<std::uint32_t>(example.command), example.parameter),
                  example.frame);
        EXPECT_EQ(take(example.frame).text, example.text);
    }
}

TEST(EncodeFrame, WritesThirteenBytesForNoText)
{
    const std::string expected("\x00\x00\x00\x00\x00\x44\x33\x22\x11\xFE\xFF\xFF\xFF", 13);
    EXPECT_EQ(encode_text("", 0xFFFFFFFE, 0x11223344), expected);
    EXPECT_EQ(encode_text(nullptr, 0xFFFFFFFE, 0x11223344), expected);
}

// KEPT[raw-up-to-ten]
TEST(EncodeFrame, LeavesTenBytesRawAndTriesEleven)
{
    for (std::size_t length = 1; length <= 10; ++length)
    {
        const std::string text(length, 'a');
        EXPECT_EQ(encode_text(text.c_str(), 7, 9), frame_with(1, 9, 7, text));
    }
    // "a" ten times would pass the threshold too, so only its length keeps it raw.
    ASSERT_LT(zlib_bytes("aaaaaaaaaa").size(), 10u + 4);
    EXPECT_EQ(encode_text("aaaaaaaaaaa", 7, 9), frame_with(2, 9, 7, zlib_payload("aaaaaaaaaaa")));
}

TEST(EncodeFrame, LeavesElevenDistinctLettersRaw)
{
    const std::string frame = encode_text("abcdefghijk", 7, 9);
    EXPECT_EQ(frame.size(), 24u);
    EXPECT_EQ(frame, frame_with(1, 9, 7, "abcdefghijk"));
}

// KEPT[text-by-strlen]
TEST(EncodeFrame, CutsTheTextAtItsFirstZeroByteAndNeverByTheParameter)
{
    EXPECT_EQ(encode_text("abc\0def", 1, 7), frame_with(1, 7, 1, "abc"));
    EXPECT_EQ(encode_text("abc", 1, 0xFFFFFFFF), frame_with(1, 0xFFFFFFFF, 1, "abc"));
    EXPECT_EQ(encode_text("abc", 1, 0), frame_with(1, 0, 1, "abc"));
}

// KEPT[compressed-threshold]
TEST(EncodeFrame, KeepsCompressedBytesUpToThreeMoreThanTheText)
{
    std::mt19937 random(5);
    std::array<int, 2> seen{};
    for (int i = 0; i < 200000 && (seen[0] < 20 || seen[1] < 20); ++i)
    {
        const std::string text = random_text(random, 11 + i % 40, 20);
        const std::string compressed = zlib_bytes(text);
        if (compressed.size() == text.size() + 3)
        {
            ++seen[0];
            const std::string frame = encode_text(text.c_str(), 1, 2);
            ASSERT_EQ(frame, frame_with(2, 2, 1, zlib_payload(text)));
            ASSERT_EQ(frame.size(), 13 + text.size() + 7) << "the longest that a compressed payload may be";
        }
        if (compressed.size() == text.size() + 4)
        {
            ++seen[1];
            ASSERT_EQ(encode_text(text.c_str(), 1, 2), frame_with(1, 2, 1, text));
        }
    }
    EXPECT_GE(seen[0], 20);
    EXPECT_GE(seen[1], 20);
}

TEST(EncodeFrame, CompressesByteForByteAsTheLibraryDoes)
{
    std::mt19937 random(7);
    for (int i = 0; i < 3000; ++i)
    {
        const std::size_t length = 11 + random() % (i % 100 == 0 ? 70000 : 600);
        const std::string text = random_text(random, length, 1 + static_cast<int>(random() % 255));
        const std::string compressed = zlib_bytes(text);
        const std::string expected = compressed.size() < length + 4 ? frame_with(2, 3, 4, zlib_payload(text))
                                                                    : frame_with(1, 3, 4, text);
        ASSERT_EQ(encode_text(text.c_str(), 4, 3), expected) << "text " << i << " of " << length << " bytes";
    }
}

TEST(EncodeFrame, HoldsLittleMoreMemoryThanTheFrame)
{
    const std::string text(1'000'000, 'a');
    const encoded_frame frame = encode_frame(1, text.c_str(), 2);
    const std::size_t used = kFrameHeaderBytes + frame.payload_bytes;
    ASSERT_LT(used, 2000u);
    EXPECT_LT(::malloc_usable_size(frame.block), used + kMostSpareBytes);
    EXPECT_EQ(std::string(frame.block, used), frame_with(2, 2, 1, zlib_payload(text)));
    free_block(frame.block);
}

TEST(EncodeFrame, SendsTheTextAsItIsWhenZlibFails)
{
    const std::string text = repeating(500);
    {
        const kf::test::failing_zlib failure;
        EXPECT_EQ(encode_text(text.c_str(), 1, 2), frame_with(1, 2, 1, text));
    }
    EXPECT_EQ(encode_text(text.c_str(), 1, 2), frame_with(2, 2, 1, zlib_payload(text)));
}

TEST(EncodeInto, StaysWithinTheRoomItAsksFor)
{
    std::mt19937 random(11);
    for (std::size_t length = 0; length < 300; ++length)
    {
        const std::string text = random_text(random, length, length % 2 == 0 ? 255 : 12);
        const auto room = std::make_unique<char[]>(frame_room(length)); // the sanitizer watches both ends
        const std::size_t payload = encode_into(room.get(), 1, text.c_str(), length, 2);
        EXPECT_LE(payload + kFrameHeaderBytes, frame_room(length));
        EXPECT_EQ(std::string(room.get(), payload + kFrameHeaderBytes), encode_text(text.c_str(), 1, 2));
    }
}

TEST(TakePayload, GivesBackWhatWasEncoded)
{
    for (const std::size_t length : {0u, 1u, 10u, 11u, 12u, 100u, 4096u, 65535u, 3000000u})
    {
        const std::string text = repeating(length);
        const taken out = take(encode_text(text.c_str(), 1, 2));
        EXPECT_TRUE(out.delivered);
        EXPECT_EQ(out.has_content, length != 0);
        EXPECT_EQ(out.text, text);
    }
}

TEST(TakePayload, KeepsBytesFrom0x80)
{
    std::string text;
    for (int byte = 0xFF; byte >= 0x80; --byte)
        text += static_cast<char>(byte);
    EXPECT_EQ(take(encode_text(text.c_str(), 1, 2)).text, text);
    text += text;
    text += text;
    const std::string frame = encode_text(text.c_str(), 1, 2);
    EXPECT_EQ(frame[0], 2);
    EXPECT_EQ(take(frame).text, text);
}

// KEPT[unknown-type-raw]
TEST(TakePayload, HandsOutUnknownTypesAsTheyAre)
{
    for (const int type : {0, 3, 77, 255})
    {
        const taken out = take(frame_with(static_cast<std::uint8_t>(type), 0, 0, "as it is"));
        EXPECT_TRUE(out.delivered) << type;
        EXPECT_EQ(out.text, "as it is") << type;
    }
}

// KEPT[empty-any-type]
TEST(TakePayload, GivesAnEmptyMessageForNoPayloadWhateverTheType)
{
    for (const int type : {0, 1, 2, 3, 255})
    {
        const taken out = take(frame_with(static_cast<std::uint8_t>(type), 0, 0, ""));
        EXPECT_TRUE(out.delivered) << type;
        EXPECT_FALSE(out.has_content) << type;
    }
}

TEST(TakePayload, DropsCompressedPayloadsWithoutAStream)
{
    for (std::size_t length = 1; length <= 4; ++length)
        EXPECT_FALSE(take(frame_with(2, 0, 0, std::string(length, '\1'))).delivered) << length;
}

TEST(TakePayload, TakesTheTextLengthOfACompressedPayloadAsALimit)
{
    const std::string text = repeating(500);
    const auto claiming = [&](std::uint32_t length)
    { return take(frame_with(2, 0, 0, zlib_payload(text, length))); };
    for (const std::uint32_t too_small : {0u, 1u, 499u})
    {
        EXPECT_FALSE(claiming(too_small).delivered) << too_small;
        EXPECT_FALSE(claiming(too_small).has_content) << too_small;
    }
    for (const std::uint32_t enough : {500u, 501u, 0x7FFFFFFFu, 0x80000000u, 0xFFFFFFFFu})
    {
        EXPECT_TRUE(claiming(enough).delivered) << enough;
        EXPECT_EQ(claiming(enough).text, text) << enough;
    }
}

TEST(TakePayload, DropsAnEmptyTextOnlyWhenItsLengthSaysSo)
{
    EXPECT_FALSE(take(frame_with(2, 0, 0, zlib_payload("", 0))).delivered);
    const taken claimed_longer = take(frame_with(2, 0, 0, zlib_payload("", 5)));
    EXPECT_TRUE(claimed_longer.delivered);
    EXPECT_TRUE(claimed_longer.has_content);
    EXPECT_EQ(claimed_longer.text, "");
}

TEST(TakePayload, ZeroesWhatTheStreamDoesNotFill)
{
    const std::string text = repeating(500);
    const std::string frame = frame_with(2, 0, 0, zlib_payload(text, 5000));
    for (int i = 0; i < 50; ++i)
    {
        char* const rubbish =
            static_cast<char*>(std::malloc(5001)); // what the next block of that size may be
        std::memset(rubbish, 0x55, 5001);
        std::free(rubbish);
        const taken_payload payload =
            take_payload(read_header(frame.data()), frame.data() + kFrameHeaderBytes);
        ASSERT_TRUE(payload.delivered);
        EXPECT_EQ(std::string(payload.content, 5001), text + std::string(5001 - 500, '\0'));
        free_block(payload.content);
    }
}

TEST(TakePayload, IgnoresBytesBehindTheStream)
{
    const std::string text = repeating(500);
    const taken out = take(frame_with(2, 0, 0, zlib_payload(text) + "behind the end"));
    EXPECT_TRUE(out.delivered);
    EXPECT_EQ(out.text, text);
}

TEST(TakePayload, InflatesTheDensestStreamThatDeflateCanMake)
{
    const std::string text(10000000, 'z');
    const std::string frame = encode_text(text.c_str(), 0, 0);
    EXPECT_LT(frame.size(), 10000u);
    EXPECT_EQ(take(frame).text, text);
}

TEST(TakePayload, DropsDamageAndTakesTheNextFrame)
{
    std::string damaged = encode_text(repeating(300).c_str(), 1, 2);
    damaged.back() = static_cast<char>(damaged.back() ^ 1); // the checksum
    kf::test::frame_reader reader;
    reader.feed(damaged + encode_text("the next", 3, 4));
    EXPECT_FALSE(reader.next().delivered);
    EXPECT_EQ(reader.next().text, "the next");
    EXPECT_TRUE(reader.empty());
}

TEST(TakePayload, DropsTheMessageWhenZlibFails)
{
    const std::string text = repeating(500);
    const std::string frame = frame_with(2, 2, 1, zlib_payload(text));
    {
        const kf::test::failing_zlib failure;
        const taken lost = take(frame);
        EXPECT_FALSE(lost.delivered);
        EXPECT_FALSE(lost.has_content);
    }
    EXPECT_EQ(take(frame).text, text);
}

// KEPT[negative-length]
TEST(CanTakeFrame, NeverTakesANegativeLength)
{
    for (const std::int32_t length : {std::numeric_limits<std::int32_t>::min(), -14, -13, -12, -1})
    {
        const std::string header = header_bytes(1, static_cast<std::uint32_t>(length), 5, 6);
        EXPECT_FALSE(can_take_frame(read_header(header.data()), 13)) << length;
        EXPECT_FALSE(can_take_frame(read_header(header.data()), 65535)) << length;
        EXPECT_FALSE(can_take_frame(read_header(header.data()), 0xFFFFFFFFFFull)) << length;
        EXPECT_FALSE(holds_whole_frame(header.data(), 65535)) << length;
    }
    const std::string header = header_bytes(1, 0xFFFFFFFF, 5, 6);
    EXPECT_FALSE(holds_whole_frame(header.data(), 0xFFFFFFFFull + 12));
    EXPECT_TRUE(holds_whole_frame(header.data(), 0xFFFFFFFFull + 13)) << "the unsigned test";
}

TEST(CanTakeFrame, AgreesWithTheCompletenessTestAtEveryFill)
{
    const std::string frame = encode_text("hello", 1, 2);
    for (std::size_t filled = 0; filled <= frame.size() + 3; ++filled)
    {
        EXPECT_EQ(holds_whole_frame(frame.data(), filled), filled >= frame.size());
        if (filled >= kFrameHeaderBytes)
        {
            EXPECT_EQ(can_take_frame(read_header(frame.data()), filled), filled >= frame.size());
        }
    }
    const std::string longest = header_bytes(1, 0x7FFFFFFF, 0, 0);
    EXPECT_FALSE(can_take_frame(read_header(longest.data()), 0x7FFFFFFFull + 12));
    EXPECT_TRUE(can_take_frame(read_header(longest.data()), 0x7FFFFFFFull + 13));
}

TEST(HoldsWholeFrame, ReadsNothingBelowThirteenBytes)
{
    EXPECT_FALSE(holds_whole_frame(nullptr, 0));
    const auto twelve = std::make_unique<char[]>(12); // the sanitizer watches the end
    EXPECT_FALSE(holds_whole_frame(twelve.get(), 12));
}
