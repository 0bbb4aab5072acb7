#include <cctype>
#include <cstdio>
#include <cstring>
#include <random>
#include <string>
#include <string_view>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace
{
using namespace KFramework::KStringHelper;
using namespace std::string_literals;

/// A hexadecimal digit as the decoder reads it.
int digit(char c)
{
    const int byte = static_cast<unsigned char>(c);
    return byte < 'A' ? byte - '0' : (byte & 0xDF) - 55;
}

/// The decoder as it is stated: a copy that is walked with two positions.
std::string walked(const std::string& s)
{
    std::string copy = s.c_str();
    const int length = static_cast<int>(copy.size());
    int write = 0;
    for (int read = 0; read < length; ++read, ++write)
    {
        copy[static_cast<std::size_t>(write)] = copy[static_cast<std::size_t>(read)];
        if (copy[static_cast<std::size_t>(write)] != '%' || write >= length - 2 || read + 2 >= length)
            continue;
        const int value = digit(copy[static_cast<std::size_t>(read + 1)]) * 16 +
                          digit(copy[static_cast<std::size_t>(read + 2)]);
        copy[static_cast<std::size_t>(write)] = static_cast<char>(value & 255);
        read += 2;
    }
    copy.resize(static_cast<std::size_t>(write));
    return copy.c_str();
}
} // namespace

TEST(EncodeURL, KeepsLettersDigitsAndFourMore)
{
    EXPECT_EQ(EncodeURL("a b/c?d"), "a+b/c%3Fd");
    EXPECT_EQ(EncodeURL(""), "");
    EXPECT_EQ(EncodeURL("az AZ 09 ./-_"), "az+AZ+09+./-_");
    EXPECT_EQ(EncodeURL("+~%\xC3\xA4\n"), "%2B%7E%25%C3%A4%0A");
    for (int byte = 1; byte < 256; ++byte)
    {
        char escape[4];
        std::snprintf(escape, sizeof escape, "%%%02X", static_cast<unsigned>(byte));
        const char c = static_cast<char>(byte);
        const bool plain = byte < 128 && (std::isalnum(byte) != 0 || std::strchr("./-_", byte) != nullptr);
        EXPECT_EQ(EncodeURL({c}), plain ? std::string(1, c) : c == ' ' ? "+"s : escape) << byte;
    }
}

// KEPT[encoders-end-at-nul]
TEST(EncodeURL, EndsAtTheFirstNul)
{
    EXPECT_EQ(EncodeURL("a b\0c"s), "a+b");
    EXPECT_EQ(EncodeURL("\0c"s), "");
}

TEST(DecodeURL, DecodesWhatEncodeURLWrote)
{
    std::mt19937 random(1);
    for (int round = 0; round < 2'000; ++round)
    {
        std::string text(random() % 50, 'x');
        for (char& c : text)
            c = static_cast<char>(1 + random() % 255);
        ASSERT_EQ(DecodeGetURL(EncodeURL(text)), text);
    }
}

TEST(DecodeURL, TakesDigitsOfBothCases)
{
    for (int value = 1; value < 256; ++value)
        for (const char* format : {"<%%%02X>", "<%%%02x>"})
        {
            char text[6];
            std::snprintf(text, sizeof text, format, static_cast<unsigned>(value));
            EXPECT_EQ(DecodeURL(text), "<"s + static_cast<char>(value) + ">") << text;
        }
}

TEST(DecodeURL, KeepsAPercentSignThatNoTwoBytesFollow)
{
    EXPECT_EQ(DecodeURL(""), "");
    EXPECT_EQ(DecodeURL("%"), "%");
    EXPECT_EQ(DecodeURL("%4"), "%4");
    EXPECT_EQ(DecodeURL("a%"), "a%");
    EXPECT_EQ(DecodeURL("a%4"), "a%4");
    EXPECT_EQ(DecodeURL("abc%4"), "abc%4");
    EXPECT_EQ(DecodeURL("%41%4"), "A%4") << "an escape before it has moved the write position back";
    EXPECT_EQ(DecodeURL("%41%"), "A%");
    EXPECT_EQ(DecodeURL("%41%42%43%44%"), "ABCD%");
    EXPECT_EQ(DecodeURL("%%4"), "\x54") << "two bytes follow the first one";
}

// KEPT[url-any-digits]
TEST(DecodeURL, TakesAnyTwoBytesForDigits)
{
    EXPECT_EQ(DecodeURL("%zz"), "S");               // 35 * 16 + 35
    EXPECT_EQ(DecodeURL("%%41"), "T1");             // -11 * 16 + 4
    EXPECT_EQ(DecodeURL("%G0"), "\x01"s.substr(1)); // 16 * 16 + 0, a NUL byte
    EXPECT_EQ(DecodeURL("%g1"), "\x01");
    EXPECT_EQ(DecodeURL("%\xC3\xA4x"), "\x0Dx"); // 140 * 16 + 77
}

// KEPT[encoders-end-at-nul]
TEST(DecodeURL, EndsAtTheFirstNulOfTheTextAndOfWhatItDecodes)
{
    EXPECT_EQ(DecodeURL("a%20\0b"s), "a ");
    EXPECT_EQ(DecodeURL("a%2\0b"s), "a%2");
    EXPECT_EQ(DecodeURL("a%00b"), "a");
    EXPECT_EQ(DecodeURL("%00"), "");
}

// KEPT[plus-in-forms-only]
TEST(DecodeURL, LeavesPlusWhichDecodeGetURLTakesForABlank)
{
    EXPECT_EQ(DecodeURL("a+b"), "a+b");
    EXPECT_EQ(DecodeGetURL("a+b%2Fc"), "a b/c");
    EXPECT_EQ(DecodeGetURL("a+b%2Bc"), "a b+c");
    EXPECT_EQ(DecodeGetURL("%+1"), "\x01") << "the blank counts as a digit then: -16 * 16 + 1";
    EXPECT_EQ(DecodeGetURL(""), "");
}

TEST(DecodeURL, GivesWhatTheStatedWalkGives)
{
    constexpr std::string_view bytes = "%%%%0019afAFzG+ \xC3x";
    std::mt19937 random(2);
    for (int round = 0; round < 20'000; ++round)
    {
        std::string text(random() % 24, '\0');
        for (char& c : text)
            c = random() % 64 == 0 ? static_cast<char>(random()) : bytes[random() % bytes.size()];
        ASSERT_EQ(DecodeURL(text), walked(text)) << text;
        ASSERT_EQ(DecodeGetURL(text), walked(Replace(text, "+", " ", true))) << text;
    }
}
