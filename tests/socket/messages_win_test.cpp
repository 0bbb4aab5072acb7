/// Frames as a stream hands them out: whatever order and damage they arrive in.

#include "KFramework/socket.h"

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

#include "tests/socket/frame_bytes.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

using namespace KFramework::KSocket;
using kf::test::frame_with;
using kf::test::header_bytes;
using kf::test::import_hook;
using kf::test::zlib_payload;

namespace
{

const std::string kText = "frame 17 of 240 rendered, frame 18 of 240 rendered, frame 19 of 240 rendered";
const std::string kNext = "the next";

struct message
{
    bool taken = false;
    unsigned int command = 77;
    unsigned int parameter = 77;
    bool has_content = false;
    std::string text;
};

message next_of(CKSocketStream& stream)
{
    message result;
    char* content = reinterpret_cast<char*>(&result); // must be overwritten
    result.taken = stream.GetNextMessage(result.command, &content, &result.parameter, true);
    result.has_content = content != nullptr;
    if (content != nullptr)
        result.text = content;
    CKSocketStream::DestroyMessageContent(content);
    return result;
}

/// As a completed receive does it.
void feed(CKSocketStream& stream, const std::string& bytes)
{
    ASSERT_LE(stream.receiveFill + bytes.size(), stream.receiveCapacity);
    std::memcpy(stream.receiveBuffer + stream.receiveFill, bytes.data(), bytes.size());
    stream.IncrementReadBytes(static_cast<unsigned int>(bytes.size()), true);
}

std::string next_frame()
{
    return frame_with(1, 4, 3, kNext);
}

void expect_next_frame(CKSocketStream& stream)
{
    const message next = next_of(stream);
    EXPECT_TRUE(next.taken);
    EXPECT_EQ(next.command, 3u);
    EXPECT_EQ(next.parameter, 4u);
    EXPECT_EQ(next.text, kNext);
    EXPECT_EQ(stream.receiveFill, 0u);
}

std::vector<std::string> seeds()
{
    std::string many_lines;
    for (int i = 0; i < 60; ++i)
        many_lines += "line " + std::to_string(i * i * i) + " of the log\n";
    return {frame_with(1, 0x0A0B0C0D, 0x01020304, "hello"), frame_with(2, 0, 1, zlib_payload(kText)),
            frame_with(2, 0xFFFFFFFF, 0xFFFFFFFF, zlib_payload(many_lines))};
}

/// Bytes that the library asked for, all together.
std::atomic<std::size_t> asked_bytes{0};
/// Asking for so many at once fails.
std::atomic<std::size_t> refused_bytes{0};

void* note_malloc(std::size_t bytes)
{
    asked_bytes += bytes;
    return bytes == refused_bytes ? nullptr : std::malloc(bytes);
}

void* note_calloc(std::size_t count, std::size_t bytes)
{
    asked_bytes += count * bytes;
    return count * bytes == refused_bytes ? nullptr : std::calloc(count, bytes);
}

} // namespace

TEST(GetNextMessage, GivesNullForAnEmptyText)
{
    CKSocketStream stream;
    feed(stream, frame_with(0, 7, 9, ""));
    const message empty = next_of(stream);
    EXPECT_TRUE(empty.taken);
    EXPECT_FALSE(empty.has_content);
    EXPECT_EQ(empty.command, 9u);
    EXPECT_EQ(empty.parameter, 7u);
}

TEST(GetNextMessage, GivesTwoFramesOfOneReadOneByOne)
{
    CKSocketStream stream;
    feed(stream, frame_with(2, 1, 2, zlib_payload(kText)) + next_frame());
    EXPECT_EQ(next_of(stream).text, kText);
    expect_next_frame(stream);
    EXPECT_FALSE(next_of(stream).taken);
}

TEST(GetNextMessage, WaitsForTheLastByteAndTellsTheHeaderBefore)
{
    for (const std::string& frame : seeds())
    {
        CKSocketStream stream;
        const unsigned int command = kf::test::header_command(frame);
        for (std::size_t sent = 0; sent < frame.size(); ++sent)
        {
            const message early = next_of(stream);
            ASSERT_FALSE(early.taken) << sent;
            ASSERT_FALSE(early.has_content) << sent;
            ASSERT_EQ(early.command, sent >= 13 ? command : 0u) << sent;
            ASSERT_FALSE(stream.HasCompleteMessageAvailable()) << sent;
            unsigned int extracted = 77;
            ASSERT_EQ(stream.ExtractCommand(&extracted), sent >= 13) << sent;
            ASSERT_EQ(extracted, sent >= 13 ? command : 77u) << sent;
            ASSERT_EQ(stream.receiveFill, sent);
            feed(stream, frame.substr(sent, 1));
        }
        ASSERT_TRUE(stream.HasCompleteMessageAvailable());
        ASSERT_TRUE(next_of(stream).taken);
        feed(stream, next_frame());
        expect_next_frame(stream);
    }
}

TEST(GetNextMessage, TakesTenThousandFramesThatWaitTogether)
{
    constexpr unsigned int kFrames = 10'000;
    std::string all;
    for (unsigned int i = 0; i < kFrames; ++i)
        all += frame_with(0, i, i + 1, "");
    SOCKET pair[2] = {};
    ASSERT_EQ(CreateLoopbackPipes(pair), 0);
    CKSocketStream stream;
    stream.SetMaxIncomingBufferSize(10'000'000);
    stream.BindSocket(pair[0]);
    std::size_t sent = 0;
    ASSERT_TRUE(kf::test::wait_until(
        [&]
        {
            const int now = ::send(pair[1], all.data() + sent, static_cast<int>(all.size() - sent), 0);
            sent += now > 0 ? static_cast<std::size_t>(now) : 0;
            while (stream.Read() > 0)
                continue;
            return stream.receiveFill == all.size();
        }));
    for (unsigned int i = 0; i < kFrames; ++i)
    {
        const message one = next_of(stream);
        ASSERT_TRUE(one.taken) << i;
        ASSERT_EQ(one.parameter, i);
        ASSERT_EQ(one.command, i + 1);
    }
    EXPECT_EQ(stream.receiveFill, 0u);
    stream.Close();
    EXPECT_EQ(CloseSocket(pair[1]), 0);
}

TEST(GetNextMessage, ConsumesADamagedFrameInSilenceAndTakesTheNext)
{
    kf::test::captured_output error(kf::test::captured_output::stream::error);
    CKSocketStream stream;
    std::string damaged = frame_with(2, 1, 2, zlib_payload(kText));
    damaged.back() = static_cast<char>(damaged.back() ^ 1);
    feed(stream, damaged + next_frame());
    const message lost = next_of(stream);
    EXPECT_FALSE(lost.taken);
    EXPECT_FALSE(lost.has_content);
    EXPECT_EQ(lost.command, 2u);
    EXPECT_EQ(lost.parameter, 1u);
    EXPECT_TRUE(stream.HasCompleteMessageAvailable());
    expect_next_frame(stream);
    EXPECT_EQ(error.bytes(), "");
}

TEST(GetNextMessage, SurvivesEverySingleBitFlip)
{
    for (const std::string& seed : seeds())
        for (std::size_t bit = 0; bit < seed.size() * 8; ++bit)
        {
            CKSocketStream stream;
            std::string frame = seed;
            frame[bit / 8] = static_cast<char>(frame[bit / 8] ^ (1 << bit % 8));
            feed(stream, frame + next_frame());
            if (bit / 8 >= 1 && bit / 8 < 5)
            {
                while (stream.HasCompleteMessageAvailable()) // nothing marks where the next one begins
                    (void)next_of(stream);
                continue;
            }
            (void)next_of(stream);
            expect_next_frame(stream);
        }
}

TEST(GetNextMessage, NeverTakesALengthThatNothingCanHold)
{
    for (const std::int32_t length :
         {std::numeric_limits<std::int32_t>::min(), -14, -13, -1, std::numeric_limits<std::int32_t>::max()})
    {
        CKSocketStream stream;
        feed(stream, header_bytes(1, static_cast<std::uint32_t>(length), 5, 6) + std::string(40'000, 'x'));
        const message none = next_of(stream);
        EXPECT_FALSE(none.taken) << length;
        EXPECT_FALSE(none.has_content) << length;
        EXPECT_EQ(none.command, 6u) << length;
        EXPECT_EQ(none.parameter, 5u) << length;
        EXPECT_EQ(stream.receiveFill, 40'013u) << length;
        EXPECT_FALSE(stream.HasCompleteMessageAvailable()) << length;
    }
}

TEST(GetNextMessage, TakesTheClaimedTextLengthAsALimit)
{
    const auto exact = static_cast<std::uint32_t>(kText.size());
    for (const std::uint32_t claimed : {0u, 1u, exact - 1, exact, exact + 1, 0x80000000u, 0xFFFFFFFFu})
    {
        CKSocketStream stream;
        feed(stream, frame_with(2, 1, 2, zlib_payload(kText, claimed) + "behind") + next_frame());
        const message first = next_of(stream);
        EXPECT_EQ(first.taken, claimed >= exact) << claimed;
        EXPECT_EQ(first.text, claimed >= exact ? kText : "") << claimed;
        expect_next_frame(stream);
    }
}

TEST(GetNextMessage, AsksForLittleMemoryWhateverLengthIsClaimed)
{
    CKSocketStream stream;
    std::string payload = zlib_payload(kText, 0xFFFFFFFF);
    payload.resize(87, 'x');
    feed(stream, frame_with(2, 1, 2, payload));
    const import_hook mallocs("malloc", &note_malloc);
    const import_hook callocs("calloc", &note_calloc);
    refused_bytes = 0;
    asked_bytes = 0;
    EXPECT_EQ(next_of(stream).text, kText);
    EXPECT_GE(asked_bytes, kText.size()) << "the allocator was not watched";
    EXPECT_LT(asked_bytes, 1024u * 1024u);
}

TEST(GetNextMessage, TakesAFailedAllocationForDamage)
{
    CKSocketStream stream;
    std::string raw(5'000, 'r');
    feed(stream, frame_with(2, 1, 2, zlib_payload(kText, 4'999)) + frame_with(1, 1, 2, raw) + next_frame());
    {
        const import_hook mallocs("malloc", &note_malloc);
        const import_hook callocs("calloc", &note_calloc);
        refused_bytes = 5'000;
        EXPECT_FALSE(next_of(stream).taken);
        refused_bytes = 5'001;
        EXPECT_FALSE(next_of(stream).taken);
        refused_bytes = 0;
    }
    expect_next_frame(stream);
}

TEST(GetNextMessage, FreesWhatNobodyAsksForAndStillGivesTrue)
{
    CKSocketStream stream;
    feed(stream, frame_with(2, 1, 2, zlib_payload(kText)) + frame_with(1, 1, 2, "raw") + next_frame());
    unsigned int command = 0;
    EXPECT_TRUE(stream.GetNextMessage(command, nullptr, nullptr, true));
    EXPECT_TRUE(stream.GetNextMessage(command, nullptr, nullptr, true));
    expect_next_frame(stream);
}

TEST(GetNextMessage, ReadsWhatEncodeSocketMessageWrites)
{
    for (const std::size_t length : {0u, 1u, 10u, 11u, 500u, 30'000u})
    {
        std::string text(length, 'x');
        for (std::size_t i = 0; i < length; i += 3)
            text[i] = static_cast<char>(0x80 + i % 100);
        char* frame = nullptr;
        std::size_t payload_bytes = 0;
        std::size_t frame_bytes = 0;
        EncodeSocketMessage(-5, text.c_str(), 6, &frame, &payload_bytes, &frame_bytes);
        CKSocketStream stream;
        feed(stream, std::string(frame, frame_bytes));
        DestroyEncodedSocketMessage(frame);
        const message out = next_of(stream);
        EXPECT_TRUE(out.taken);
        EXPECT_EQ(out.command, 0xFFFFFFFBu);
        EXPECT_EQ(out.parameter, 6u);
        EXPECT_EQ(out.text, text);
    }
}
