#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/string.h"

using KFramework::KStringHelper::ExtractToken;
using words = std::vector<std::string>;

namespace
{
/// Result, token and source after one call, as one value; the token is "old" before it.
struct extracted
{
    bool found;
    std::string token;
    std::string rest;

    bool operator==(const extracted&) const = default;
};

std::ostream& operator<<(std::ostream& out, const extracted& what)
{
    return out << what.found << " [" << what.token << "] [" << what.rest << "]";
}

extracted extract(std::string source, const char* delimiter)
{
    std::string token = "old";
    const bool found = ExtractToken(source, token, delimiter);
    return {found, token, source};
}

extracted extract(std::string source, const char* delimiter, const char* quote, bool strip)
{
    std::string token = "old";
    const bool found = ExtractToken(source, token, delimiter, quote, strip);
    return {found, token, source};
}

extracted stripped(std::string source)
{
    return extract(std::move(source), ",", "\"", true);
}
} // namespace

TEST(ExtractToken, TakesTheTextBeforeTheDelimiter)
{
    EXPECT_EQ(extract("k=v", "="), (extracted{true, "k", "v"}));
    EXPECT_EQ(extract("=v", "="), (extracted{true, "", "v"}));
    EXPECT_EQ(extract("k=", "="), (extracted{true, "k", ""}));
    EXPECT_EQ(extract("a,b,c", ","), (extracted{true, "a", "b,c"}));
}

TEST(ExtractToken, TakesEverythingWithoutADelimiter)
{
    EXPECT_EQ(extract("abc", ","), (extracted{true, "abc", ""}));
    EXPECT_EQ(extract("abc", nullptr), (extracted{true, "abc", ""}));
}

TEST(ExtractToken, IsFalseForAnEmptySource)
{
    EXPECT_EQ(extract("", ","), (extracted{false, "old", ""}));
    EXPECT_EQ(stripped(""), (extracted{false, "old", ""}));
}

// KEPT[extract-skips-one-byte]
TEST(ExtractToken, SkipsOneByteOfALongerDelimiter)
{
    EXPECT_EQ(extract("a::b", "::"), (extracted{true, "a", ":b"}));
    EXPECT_EQ(extract("a:b::c", "::"), (extracted{true, "a:b", ":c"}));
    EXPECT_EQ(extract("ab", ""), (extracted{true, "", "b"}));
}

TEST(ExtractToken, WalksASourceToItsEnd)
{
    std::string source = "a,,b,";
    std::string token;
    words tokens;
    while (ExtractToken(source, token, ","))
        tokens.push_back(token);
    EXPECT_EQ(tokens, (words{"a", "", "b"}));
}

TEST(ExtractToken, MayGiveTheTokenIntoTheSourceItself)
{
    std::string both = "k=value";
    EXPECT_TRUE(ExtractToken(both, both, "="));
    EXPECT_EQ(both, "k");
    both = "abc";
    EXPECT_TRUE(ExtractToken(both, both, "="));
    EXPECT_EQ(both, "abc");
    both = "\"k\",v";
    EXPECT_TRUE(ExtractToken(both, both, ",", "\"", true));
    EXPECT_EQ(both, "k");
}

TEST(ExtractToken, KeepsDelimitersInsideQuotes)
{
    EXPECT_EQ(stripped("\"a,b\",c"), (extracted{true, "a,b", "c"}));
    EXPECT_EQ(extract("\"a,b\",c", ",", "\"", false), (extracted{true, "\"a,b\"", "c"}));
    EXPECT_EQ(stripped("x\"a,b\"y,c"), (extracted{true, "xa,by", "c"}));
    EXPECT_EQ(stripped("a,b"), (extracted{true, "a", "b"}));
    EXPECT_EQ(stripped(",b"), (extracted{true, "", "b"}));
    EXPECT_EQ(stripped("a,"), (extracted{true, "a", ""}));
    EXPECT_EQ(stripped("a"), (extracted{true, "a", ""}));
    EXPECT_EQ(stripped("\"\""), (extracted{true, "", ""}));
}

TEST(ExtractToken, ChangesNothingWhenAQuoteStaysOpen)
{
    EXPECT_EQ(stripped("\"a,b"), (extracted{false, "old", "\"a,b"}));
    EXPECT_EQ(stripped("a\"b\"\""), (extracted{false, "old", "a\"b\"\""}));
    EXPECT_EQ(stripped("\"a\\\""), (extracted{false, "old", "\"a\\\""}));
}

TEST(ExtractToken, DecodesEscapesInsideAndOutsideQuotes)
{
    EXPECT_EQ(stripped("a\\nb\\tc\\\\d\\xe,f"), (extracted{true, "a\nb\tc\\dxe", "f"}));
    EXPECT_EQ(stripped("\"a\\nb\\\"c\\,\",f"), (extracted{true, "a\nb\"c,", "f"}));
    EXPECT_EQ(stripped("a\\,b,c"), (extracted{true, "a,b", "c"}));
    EXPECT_EQ(stripped("a\\\"b,c"), (extracted{true, "a\"b", "c"}));
    EXPECT_EQ(stripped("a\\\\,b"), (extracted{true, "a\\", "b"}));
}

TEST(ExtractToken, KeepsABackslashThatIsTheLastByte)
{
    EXPECT_EQ(stripped("a\\"), (extracted{true, "a\\", ""}));
}

TEST(ExtractToken, HeedsOnlyTheFirstCharactersOfDelimiterAndQuote)
{
    EXPECT_EQ(extract("'a;b';c:d", ";:", "'\"", true), (extracted{true, "a;b", "c:d"}));
    EXPECT_EQ(extract("\"a;b\"", ";", "'\"", true), (extracted{true, "\"a", "b\""}));
    EXPECT_EQ(extract("a\\b", "\\", "'", true), (extracted{true, "a", "b"}));
}

TEST(ExtractToken, TakesMissingDelimiterAndQuoteForNone)
{
    EXPECT_EQ(extract("a,'b'", nullptr, nullptr, true), (extracted{true, "a,'b'", ""}));
    EXPECT_EQ(extract("a,'b'", "", "", true), (extracted{true, "a,'b'", ""}));
}
