/// What hostile or broken peers send: nothing crashes, nothing is read outside the frame, and what follows a damaged
/// frame still arrives.

#include "KFramework/socket/frame.h"

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "tests/socket/frame_bytes.h"
#include "tests/socket/frame_reader.h"
#include "tests/socket/portable_frames.h"

using namespace kf::socket;
using kf::test::encode_text;
using kf::test::frame_reader;
using kf::test::frame_with;
using kf::test::header_bytes;
using kf::test::taken;
using kf::test::zlib_payload;

namespace
{

const std::string kShortText = "hello";
const std::string kText = "frame 17 of 240 rendered, frame 18 of 240 rendered, frame 19 of 240 rendered";
const std::string kNext = "the next";

struct seed
{
    std::string frame;
    std::string text;
};

std::vector<seed> seeds()
{
    std::string long_text;
    for (int i = 0; i < 60; ++i)
        long_text += "line " + std::to_string(i * i * i) + " of the log\n";
    return {{encode_text(kShortText.c_str(), 0x01020304, 0x0A0B0C0D), kShortText},
            {encode_text(kText.c_str(), 1, 0), kText},
            {encode_text(long_text.c_str(), 0xFFFFFFFF, 0xFFFFFFFF), long_text}};
}

bool is_length_byte(std::size_t offset)
{
    return offset >= 1 && offset < 5;
}

std::string next_frame()
{
    return encode_text(kNext.c_str(), 3, 4);
}

void take_everything(frame_reader& reader)
{
    while (reader.ready())
        (void)reader.next();
}

/// Bytes that the program asked the allocator for; the sanitizers call this.
std::atomic<std::size_t> allocated{0};

} // namespace

extern "C" __attribute__((visibility("default"))) void __sanitizer_malloc_hook(const volatile void*,
                                                                               std::size_t size)
{
    allocated.fetch_add(size, std::memory_order_relaxed);
}

extern "C" __attribute__((visibility("default"))) void __sanitizer_free_hook(const volatile void*) {}

TEST(DamagedFrames, SurviveEverySingleBitFlip)
{
    std::size_t delivered = 0;
    for (const seed& one : seeds())
        for (std::size_t bit = 0; bit < one.frame.size() * 8; ++bit)
        {
            std::string frame = one.frame;
            frame[bit / 8] = static_cast<char>(frame[bit / 8] ^ (1 << bit % 8));
            frame_reader reader;
            reader.feed(frame + next_frame());
            if (is_length_byte(bit / 8))
            {
                take_everything(reader); // nothing marks where the next one begins
                continue;
            }
            const taken first = reader.next();
            delivered += first.delivered ? 1 : 0;
            const bool read_as_sent =
                static_cast<std::uint8_t>(frame[0]) == static_cast<std::uint8_t>(one.frame[0]);
            if (first.delivered && read_as_sent && frame[0] == 2)
            {
                ASSERT_EQ(first.text, one.text) << "a flip in bit " << bit << " went unnoticed";
            }
            const taken second = reader.next();
            ASSERT_TRUE(second.delivered) << bit;
            ASSERT_EQ(second.text, kNext) << bit;
            ASSERT_TRUE(reader.empty()) << bit;
        }
    EXPECT_GT(delivered, 0u);
}

TEST(DamagedFrames, WaitForTheRestAtEveryTruncation)
{
    for (const seed& one : seeds())
        for (std::size_t cut = 0; cut < one.frame.size(); ++cut)
        {
            frame_reader reader;
            reader.feed(one.frame.substr(0, cut));
            ASSERT_FALSE(reader.ready()) << cut;
            reader.feed(one.frame.substr(cut) + next_frame());
            ASSERT_EQ(reader.next().text, one.text) << cut;
            ASSERT_EQ(reader.next().text, kNext) << cut;
            ASSERT_TRUE(reader.empty()) << cut;
        }
}

TEST(DamagedFrames, AreConsumedWhenThePayloadItselfIsTruncated)
{
    for (const seed& one : seeds())
        for (std::size_t kept = 0; kept < one.frame.size() - kFrameHeaderBytes; ++kept)
        {
            const auto type = static_cast<std::uint8_t>(one.frame[0]);
            frame_reader reader;
            reader.feed(frame_with(type, 1, 2, one.frame.substr(kFrameHeaderBytes, kept)) + next_frame());
            const taken first = reader.next();
            ASSERT_EQ(first.delivered, type != 2 || kept == 0) << kept;
            ASSERT_EQ(reader.next().text, kNext) << kept;
            ASSERT_TRUE(reader.empty()) << kept;
        }
}

TEST(DamagedFrames, NeverCompleteWithALengthThatNothingCanHold)
{
    for (const std::int32_t length :
         {std::numeric_limits<std::int32_t>::min(), -14, -13, -1, std::numeric_limits<std::int32_t>::max()})
        for (const int type : {0, 1, 2, 3})
        {
            frame_reader reader;
            reader.feed(
                header_bytes(static_cast<std::uint8_t>(type), static_cast<std::uint32_t>(length), 1, 2));
            EXPECT_FALSE(reader.ready()) << length;
            reader.feed(std::string(200000, 'x'));
            EXPECT_FALSE(reader.ready()) << length;
        }
}

TEST(DamagedFrames, AreFollowedByTheNextFrameWhateverTextLengthTheyClaim)
{
    const auto exact = static_cast<std::uint32_t>(kText.size());
    for (const std::uint32_t claimed : {0u, 1u, exact - 1, exact, exact + 1, 0x80000000u, 0xFFFFFFFFu})
        for (const std::string behind : {"", "bytes behind the stream"})
        {
            frame_reader reader;
            reader.feed(frame_with(2, 1, 2, zlib_payload(kText, claimed) + behind) + next_frame());
            const taken first = reader.next();
            EXPECT_EQ(first.delivered, claimed >= exact) << claimed;
            EXPECT_EQ(first.text, claimed >= exact ? kText : "") << claimed;
            EXPECT_EQ(reader.next().text, kNext) << claimed;
        }
}

TEST(DamagedFrames, CostLittleMemoryWhateverTextLengthTheyClaim)
{
    std::string payload = zlib_payload(kText, 0xFFFFFFFF);
    payload.resize(100 - kFrameHeaderBytes, 'x');
    const std::string frame = frame_with(2, 1, 2, payload);
    ASSERT_EQ(frame.size(), 100u);
    const std::size_t before = allocated.load();
    const taken_payload taken = take_payload(read_header(frame.data()), frame.data() + kFrameHeaderBytes);
    const std::size_t used = allocated.load() - before;
    EXPECT_TRUE(taken.delivered);
    EXPECT_STREQ(taken.content, kText.c_str());
    EXPECT_GE(used, kText.size()) << "the allocator was not watched";
    EXPECT_LT(used, 1024u * 1024u);
    free_block(taken.content);
}

TEST(RandomFrames, NeverHarmTheNextOne)
{
#if defined(__SANITIZE_THREAD__)
    constexpr int kFrames = 100'000; // one thread, and seven times slower
#else
    constexpr int kFrames = 1'000'000;
#endif
    constexpr int kBatch = 20;
    std::mt19937 generator(20);
    const auto random = [&] { return static_cast<std::uint32_t>(generator()); };
    const std::vector<seed> good = seeds();
    const std::string next = frame_with(1, 4, 3, kNext);
    const auto random_frame = [&]
    {
        const auto type = static_cast<std::uint8_t>(random() % 8 == 0 ? random() : random() % 4);
        std::string payload;
        if (random() % 4 == 0)
        {
            payload = good[1 + random() % 2].frame.substr(kFrameHeaderBytes);
            for (std::uint32_t flips = random() % 4; flips > 0; --flips)
                payload[random() % payload.size()] = static_cast<char>(random());
            payload.resize(random() % 4 == 0 ? random() % payload.size() : payload.size());
        }
        else
        {
            payload.resize(random() % 80);
            std::generate(payload.begin(), payload.end(), [&] { return static_cast<char>(random()); });
            if (payload.size() > 6 && random() % 2 == 0)
                payload.replace(2, 4, std::string("\0\0\x78\x9C", 4)); // a small text and a zlib header
        }
        return frame_with(type, random(), random(), payload);
    };
    for (int sent = 0; sent < kFrames; sent += kBatch)
    {
        frame_reader reader;
        for (int i = 0; i < kBatch; ++i)
            reader.feed(random_frame() + next);
        for (int i = 0; i < kBatch; ++i)
        {
            (void)reader.next();
            const taken second = reader.next();
            ASSERT_TRUE(second.delivered) << sent + i;
            ASSERT_EQ(second.text, kNext) << sent + i;
        }
        ASSERT_TRUE(reader.empty()) << sent;
    }
}
