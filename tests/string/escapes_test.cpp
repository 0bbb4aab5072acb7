#include <random>
#include <string>
#include <string_view>
#include <utility>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace
{
using namespace KFramework::KStringHelper;
using namespace std::string_literals;

const std::string kAllBytes = []
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}();

/// Every byte alone gives itself, but for those that the two functions tell otherwise.
template <class Encoder, class Expected>
void expect_for_every_byte(Encoder encode, Expected expected)
{
    std::string all;
    for (const char c : kAllBytes)
    {
        const std::string should = expected(c);
        EXPECT_EQ(encode(std::string(1, c)), should) << int{c};
        all += should;
    }
    EXPECT_EQ(encode(kAllBytes), all);
    EXPECT_EQ(encode(""), "");
}

std::string json_escape(char c)
{
    switch (c)
    {
    case '\b':
        return "\\b";
    case '\f':
        return "\\f";
    case '\n':
        return "\\n";
    case '\r':
        return "\\r";
    case '\t':
        return "\\t";
    case '"':
        return "\\\"";
    case '\\':
        return "\\\\";
    default:
        return {c};
    }
}

std::string xml_escape(char c)
{
    switch (c)
    {
    case '&':
        return "&amp";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&apos;";
    default:
        return {c};
    }
}

std::string html_escape(char c)
{
    const int value = static_cast<signed char>(c);
    return value < 0 ? "&#" + std::to_string(value) : xml_escape(c);
}

/// The rule as it is stated: whole-text replacements, one after the other.
std::string replaced_in_order(std::string text)
{
    for (const auto& [what, with] :
         {std::pair{"\\", "\\\\"}, std::pair{"\"", "\\\""}, std::pair{"\n", "\\n"}, std::pair{"\b", "\\b"},
          std::pair{"\f", "\\f"}, std::pair{"\r", "\\r"}, std::pair{"\t", "\\t"}})
        text = Replace(text, what, with, true);
    return text;
}
} // namespace

TEST(jsonEncoder, QuotesAndEscapes)
{
    EXPECT_EQ(jsonEncoder("a\"b"), "\"a\\\"b\"");
    EXPECT_EQ(jsonEncoder(""), "\"\"");
    EXPECT_EQ(jsonEncoder("C:\\farm/\n"), "\"C:\\\\farm/\\n\"");
    EXPECT_EQ(jsonEncoder(std::string(2'000, '"')).size(), 4'002u);
}

// KEPT[json-control-bytes]
TEST(jsonEncoder, LeavesEveryByteWithoutAnEscapeOfItsOwn)
{
    EXPECT_EQ(jsonEncoder("\x01"), "\"\x01\"");
    EXPECT_EQ(jsonEncoder(kAllBytes), '"' + EncodeJSONString(kAllBytes) + '"');
    for (const char c : kAllBytes)
        EXPECT_EQ(jsonEncoder({c}), '"' + json_escape(c) + '"') << int{c};
}

// KEPT[json-control-bytes]
TEST(EncodeJSONString, EscapesAsJsonEncoderDoesWithoutTheQuotes)
{
    EXPECT_EQ(EncodeJSONString("a\"b"), "a\\\"b");
    EXPECT_EQ(EncodeJSONString("\\a\"b"), "\\\\a\\\"b");
    EXPECT_EQ(EncodeJSONString("\x01"), "\x01");
    EXPECT_EQ(EncodeJSONString("\x01\x1F\x7F/\xC3\xA4"), "\x01\x1F\x7F/\xC3\xA4");
    expect_for_every_byte(&EncodeJSONString, &json_escape);
}

// KEPT[json-backslash-first]
TEST(EncodeJSONString, GivesWhatTheReplacementsGiveBackslashFirst)
{
    EXPECT_EQ(EncodeJSONString("\\\"\n"), "\\\\\\\"\\n");
    EXPECT_EQ(EncodeJSONString("\\n"), "\\\\n");

    constexpr std::string_view bytes("\\\"\n\b\f\r\tbnfrt\0\x01/u\xC3", 17);
    std::mt19937 random(1);
    for (int round = 0; round < 5'000; ++round)
    {
        std::string text(random() % 40, '\0');
        for (char& c : text)
            c = round % 2 == 0 ? bytes[random() % bytes.size()] : static_cast<char>(random());
        ASSERT_EQ(EncodeJSONString(text), replaced_in_order(text));
        ASSERT_EQ(jsonEncoder(text), '"' + replaced_in_order(text) + '"');
    }
}

// KEPT[bare-ampersand-entity]
TEST(EncodeXML, WritesTheAmpersandsEntityWithoutItsSemicolon)
{
    EXPECT_EQ(EncodeXML("a&b"), "a&ampb");
    EXPECT_EQ(EncodeXML("<a b=\"c\">'&</a>"), "&lt;a b=&quot;c&quot;&gt;&apos;&amp&lt;/a&gt;");
    EXPECT_EQ(EncodeXML("&amp;"), "&ampamp;");
    expect_for_every_byte(&EncodeXML, &xml_escape);
}

TEST(xmlEncoder, IsEncodeXML)
{
    expect_for_every_byte(&xmlEncoder, &xml_escape);
}

// KEPT[html-signed-bytes] KEPT[bare-ampersand-entity]
TEST(EncodeHTML, WritesBytesBeyondAsciiAsSignedNumbersWithoutASemicolon)
{
    EXPECT_EQ(EncodeHTML("\xFF"), "&#-1");
    EXPECT_EQ(EncodeHTML("\xE9"), "&#-23");
    EXPECT_EQ(EncodeHTML("\x80\x9C\x9D\xF6\xF7"), "&#-128&#-100&#-99&#-10&#-9");
    EXPECT_EQ(EncodeHTML("a&b<\xC3\xA4>"), "a&ampb&lt;&#-61&#-92&gt;");
    expect_for_every_byte(&EncodeHTML, &html_escape);
}

TEST(EncodeHTML, WritesLongTextsWholeWhateverTheyHold)
{
    std::string text, should;
    while (text.size() < 2'100)
    {
        text += "\x80";
        should += "&#-128";
        ASSERT_EQ(EncodeHTML(text), should) << text.size();
        if (text.size() % 7 == 0)
        {
            text += "a\x80<";
            should += "a&#-128&lt;";
        }
    }
}

TEST(EncodeSQL, DoublesEachSingleQuoteOnce)
{
    EXPECT_EQ(EncodeSQL("it's"), "it''s");
    EXPECT_EQ(EncodeSQL("''"), "''''");
    EXPECT_EQ(EncodeSQL("\\'"), "\\''");
    expect_for_every_byte(&EncodeSQL, [](char c) { return c == '\'' ? "''"s : std::string(1, c); });
}

TEST(EncodeFilename, WritesAHashForEachByteThatAFileNameShouldNotHold)
{
    EXPECT_EQ(EncodeFilename("a:b?c"), "a#b#c");
    EXPECT_EQ(EncodeFilename("\xC3\xA4"), "##");
    EXPECT_EQ(EncodeFilename(";=+<>|\"'\\/[]?*:"), std::string(15, '#'));
    EXPECT_EQ(EncodeFilename("..\\CON.txt \t"), "..#CON.txt \t");
    constexpr std::string_view unsafe = ";=+<>|\"'\\/[]?*:";
    expect_for_every_byte(&EncodeFilename,
                          [&](char c)
                          {
                              const bool changed =
                                  static_cast<unsigned char>(c) >= 128 || unsafe.find(c) != unsafe.npos;
                              return std::string(1, changed ? '#' : c);
                          });
}

// KEPT[posix-drops-quotes]
TEST(EscapeForPosixShell, TurnsQuotedBlanksIntoEscapedOnesAndDropsTheQuotes)
{
    EXPECT_EQ(EscapeForPosixShell("\"a b\" c"), "a\\ b c");
    EXPECT_EQ(EscapeForPosixShell("a b"), "a b");
    EXPECT_EQ(EscapeForPosixShell("a\" \"b \"c d"), "a\\ b c\\ d");
    EXPECT_EQ(EscapeForPosixShell("\"\""), "");
    EXPECT_EQ(EscapeForPosixShell(""), "");
}

TEST(EscapeForPosixShell, LeavesEverythingElse)
{
    EXPECT_EQ(EscapeForPosixShell("\";$`|&<>\\\t'\n\""), ";$`|&<>\\\t'\n");
    EXPECT_EQ(EscapeForPosixShell("\"a\0 b\xC3\xA4\""s), "a\0\\ b\xC3\xA4"s);
}
