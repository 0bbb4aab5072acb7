#include <climits>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "KFramework/string.h"
#include "tests/string/base64_reference.h"

namespace
{
using namespace KFramework::KBase64;
using kf::test::reference_base64;
using kf::test::reference_unbase64;

constexpr char kUntouched = '\x5A';

/// What Encode leaves in a buffer of exactly this size, so that a sanitizer sees one byte too many.
std::string encoded(const std::string& bytes, std::size_t room)
{
    const std::unique_ptr<char[]> in(new char[bytes.size()]);
    bytes.copy(in.get(), bytes.size());
    const std::unique_ptr<char[]> out(new char[room]);
    std::memset(out.get(), kUntouched, room);
    Encode(in.get(), bytes.size(), out.get(), room);
    return {out.get(), room};
}

/// What Encode is to leave there.
std::string expected(const std::string& bytes, std::size_t room)
{
    std::string buffer = reference_base64(bytes) + '\0';
    buffer.resize(room, kUntouched);
    return buffer;
}

struct decoding
{
    std::string bytes;
    bool whole;
};

/// Decodes into a buffer of exactly this size and checks that nothing is touched behind the bytes written.
decoding decoded(const std::string& text, std::size_t room)
{
    const std::unique_ptr<char[]> in(new char[text.size()]);
    text.copy(in.get(), text.size());
    const std::unique_ptr<char[]> out(new char[room]);
    std::memset(out.get(), kUntouched, room);
    unsigned long long size = room;
    const bool whole = Decode(in.get(), text.size(), out.get(), &size);
    const std::string buffer(out.get(), room);
    EXPECT_LE(size, room);
    EXPECT_EQ(buffer.find_first_not_of(kUntouched, size), std::string::npos) << "touched behind " << size;
    return {buffer.substr(0, size), whole};
}

void expect_like_reference(const std::string& text, std::size_t room)
{
    const decoding is = decoded(text, room);
    const kf::test::reference_decoding should = reference_unbase64(text);
    ASSERT_EQ(is.bytes, should.bytes.substr(0, room)) << text << " into " << room;
    ASSERT_EQ(is.whole, should.whole) << text << " into " << room;
}

std::string random_bytes(std::mt19937& random, std::size_t size)
{
    std::string bytes(size, '\0');
    for (char& c : bytes)
        c = static_cast<char>(random());
    return bytes;
}
} // namespace

TEST(Encode, GivesTheStandardsExamples)
{
    EXPECT_EQ(encoded("", 1), std::string(1, '\0'));
    EXPECT_EQ(encoded("f", 4), "Zg==");
    EXPECT_EQ(encoded("fo", 4), "Zm8=");
    EXPECT_EQ(encoded("foo", 4), "Zm9v");
    EXPECT_EQ(encoded("foob", 8), "Zm9vYg==");
    EXPECT_EQ(encoded("fooba", 8), "Zm9vYmE=");
    EXPECT_EQ(encoded("foobar", 8), "Zm9vYmFy");
    EXPECT_EQ(encoded("\xFB\xFF\xBF", 4), "+/+/");
    EXPECT_EQ(encoded(std::string("\0\0\0", 3), 4), "AAAA");
}

TEST(Encode, WritesAZeroOnlyWhenRoomIsLeftAndNothingBehindIt)
{
    EXPECT_EQ(encoded("abc", 4), "YWJj");
    EXPECT_EQ(encoded("abc", 5), std::string("YWJj\0", 5));
    EXPECT_EQ(encoded("abc", 7), std::string("YWJj\0", 5) + kUntouched + kUntouched);
    EXPECT_EQ(encoded("", 0), "");
}

TEST(Encode, CutsTheTextAtItsRoom)
{
    std::mt19937 random(1);
    for (std::size_t size = 0; size < 80; ++size)
    {
        const std::string bytes = random_bytes(random, size);
        for (std::size_t room = 0; room < 4 * size / 3 + 8; ++room)
            ASSERT_EQ(encoded(bytes, room), expected(bytes, room)) << size << " bytes into " << room;
    }
}

TEST(EncodeAlloc, TakesNoBytes)
{
    char* text = nullptr;
    EXPECT_EQ(EncodeAlloc(nullptr, 0, &text), 1u);
    ASSERT_NE(text, nullptr);
    EXPECT_STREQ(text, "");
    DeleteBuffer(&text);
}

// KEPT[base64-length-plus-one]
TEST(EncodeAlloc, CountsTheTerminatingZero)
{
    for (const auto& [bytes, expected_text] :
         {std::pair{"abc", "YWJj"}, std::pair{"a", "YQ=="}, std::pair{"abcd", "YWJjZA=="}})
    {
        char* text = nullptr;
        EXPECT_EQ(EncodeAlloc(bytes, std::strlen(bytes), &text), std::strlen(expected_text) + 1);
        EXPECT_STREQ(text, expected_text);
        DeleteBuffer(&text);
    }
}

TEST(EncodeAlloc, RefusesLengthsThatOverflow)
{
    for (const unsigned long long size : {ULLONG_MAX, ULLONG_MAX - 1, ULLONG_MAX - 2, ULLONG_MAX / 4 * 3 + 3})
    {
        char nothing = 0;
        char* text = &nothing;
        EXPECT_EQ(EncodeAlloc("", size, &text), 0u) << size;
        EXPECT_EQ(text, nullptr) << size;
    }
}

TEST(Decode, TakesWhatEncodeGives)
{
    std::mt19937 random(2);
    for (std::size_t size = 0; size < 300; ++size)
    {
        const std::string bytes = random_bytes(random, size);
        const decoding back = decoded(reference_base64(bytes), size);
        ASSERT_EQ(back.bytes, bytes);
        ASSERT_TRUE(back.whole);
    }
}

TEST(Decode, IsTrueOnlyForAWholeText)
{
    const auto gives = [](const std::string& text, const std::string& bytes, bool whole)
    {
        const decoding is = decoded(text, 10);
        EXPECT_EQ(is.bytes, bytes) << text;
        EXPECT_EQ(is.whole, whole) << text;
    };
    gives("YWJj", "abc", true);
    gives("YW=j", "a", false);
    gives("YWJj\n", "abc", false);
    gives("", "", true);
    gives("Y", "", false);
    gives("=", "", false);
    gives("====", "", false);
    gives("Y===", "", false);
    gives("YQ==", "a", true);
    gives("YR==", "a", true); // the bits that are left over may be anything
    gives("YQ=", "a", false);
    gives("YQ==YQ==", "a", false);
    gives("YQ==\n", "a", false);
    gives("YWI=", "ab", true);
    gives("YWI=Y", "ab", false);
    gives("YWI=YWI=", "ab", false);
    gives("YW Jj", "a", false);
    gives("YWJ-", "ab", false);
    gives("YWJ\xFF", "ab", false);
    gives("\xC3\xA4YW", "", false);
    gives(std::string("YWJ\0", 4), "ab", false);
}

// KEPT[base64-unpadded-false]
TEST(Decode, WritesAnUnpaddedGroupAndYetGivesFalse)
{
    for (const auto& [text, bytes] :
         {std::pair{"YQ", "a"}, std::pair{"YWI", "ab"}, std::pair{"YWJjYQ", "abca"}})
    {
        EXPECT_EQ(decoded(text, 10).bytes, bytes);
        EXPECT_FALSE(decoded(text, 10).whole);
    }
}

// KEPT[base64-drops-beyond-room]
TEST(Decode, DropsBytesBeyondItsRoomAndIsStillTrue)
{
    EXPECT_EQ(decoded("YWJj", 1).bytes, "a");
    EXPECT_TRUE(decoded("YWJj", 1).whole);
    EXPECT_EQ(decoded("YWJj", 0).bytes, "");
    EXPECT_TRUE(decoded("YWJj", 0).whole);
    EXPECT_FALSE(decoded("YWJjY", 1).whole) << "the rest is looked at all the same";

    unsigned long long size = 0;
    EXPECT_TRUE(Decode("YWJj", 4, nullptr, &size));
    EXPECT_EQ(size, 0u);
}

TEST(Decode, FollowsTheRulesWithEveryKindOfByteAtEveryPlaceOfEveryShortText)
{
    // Both ends of each range of the alphabet and their neighbours, and what else stands in texts.
    constexpr std::string_view kinds("AZ@[az`{09/:+,.*-=_ \n\0\x7F\x80\xFF", 25);
    std::mt19937 random(3);
    for (std::size_t size = 0; size <= 70; ++size)
    {
        std::string text = reference_base64(random_bytes(random, 60)).substr(0, size);
        for (std::size_t at = 0; at < size; ++at)
        {
            const char kept = text[at];
            for (const char byte : kinds)
            {
                text[at] = byte;
                expect_like_reference(text, 60);
                if (HasFatalFailure())
                    return;
            }
            text[at] = kept;
        }
    }
}

TEST(Decode, FollowsTheRulesWithEveryRoom)
{
    std::mt19937 random(4);
    for (std::size_t size = 0; size <= 140; ++size)
    {
        std::string text = reference_base64(random_bytes(random, 120)).substr(0, size);
        for (std::size_t room = 0; room <= 110; ++room)
            expect_like_reference(text, room);
        if (size == 0)
            continue;
        text[random() % size] = '-';
        for (std::size_t room = 0; room <= 110; ++room)
            expect_like_reference(text, room);
    }
}

TEST(DecodeAlloc, GivesTheBytesTheirNumberAndAZeroBehindThem)
{
    for (const std::string bytes : {"", "a", "ab", "abc", "abcd", "a longer text, of more than one group"})
    {
        const std::string text = reference_base64(bytes);
        char* out = nullptr;
        unsigned long long size = 99;
        ASSERT_TRUE(DecodeAlloc(text.data(), text.size(), &out, &size));
        ASSERT_NE(out, nullptr);
        EXPECT_EQ(std::string(out, size), bytes);
        EXPECT_EQ(out[size], '\0');
        DeleteBuffer(&out);
        EXPECT_EQ(out, nullptr);

        ASSERT_TRUE(DecodeAlloc(text.data(), text.size(), &out, nullptr));
        EXPECT_EQ(std::string(out), bytes);
        DeleteBuffer(&out);
    }
}

TEST(DecodeAlloc, GivesNullAndFalseForADamagedText)
{
    for (const std::string text : {"Y", "YW", "YWJ", "YW=j", "YWJj\n", "YWJjYWJj*WJj"})
    {
        char nothing = 0;
        char* out = &nothing;
        unsigned long long size = 99;
        EXPECT_FALSE(DecodeAlloc(text.data(), text.size(), &out, &size)) << text;
        EXPECT_EQ(out, nullptr) << text;
        EXPECT_EQ(size, 99u) << text;
        out = &nothing;
        EXPECT_FALSE(DecodeAlloc(text.data(), text.size(), &out, nullptr)) << text;
        EXPECT_EQ(out, nullptr) << text;
    }
}

TEST(DeleteBuffer, LeavesNullAlone)
{
    char* buffer = nullptr;
    DeleteBuffer(&buffer);
    EXPECT_EQ(buffer, nullptr);
}
