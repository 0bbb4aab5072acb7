#include <map>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;
using masks = std::map<std::string, std::string>;

namespace
{
/// What a bundle of these lines holds.
masks decoded(const std::string& lines)
{
    return text::DecodeFramesMask(text::ToBase64(lines));
}
} // namespace

TEST(EncodeFramesMasks, WritesKeysAndValuesAsLinesInOrder)
{
    EXPECT_EQ(text::EncodeFramesMasks({{"b", "5"}, {"a", "1-10"}}), "YQoxLTEwCmIKNQo=");
    EXPECT_EQ(text::FromBase64(text::EncodeFramesMasks({{"b", "5"}, {"a", "1-10"}})), "a\n1-10\nb\n5\n");
}

TEST(EncodeFramesMasks, OrdersKeysByTheirBytes)
{
    EXPECT_EQ(
        text::FromBase64(text::EncodeFramesMasks({{"a", "1"}, {"B", "2"}, {"\xC3\xA9", "3"}, {"", "4"}})),
        "\n4\nB\n2\na\n1\n\xC3\xA9\n3\n");
}

TEST(EncodeFramesMasks, GivesAnEmptyTextForAnEmptyMap)
{
    EXPECT_EQ(text::EncodeFramesMasks({}), "");
}

TEST(EncodeFramesMasks, EndsBeforeTheFirstNul)
{
    const masks written{{"a", std::string("x\0y", 3)}, {"b", "1"}};
    EXPECT_EQ(text::DecodeFramesMask(text::EncodeFramesMasks(written)), (masks{{"a", "x"}}));
}

TEST(DecodeFramesMask, ReadsWhatWasWritten)
{
    EXPECT_EQ(text::DecodeFramesMask("YQoxLTEwCmIKNQo="), (masks{{"a", "1-10"}, {"b", "5"}}));
    const masks odd{{"", ""}, {"a\r", "\r"}, {" ", "="}, {"\xFF", "\x80"}};
    EXPECT_EQ(text::DecodeFramesMask(text::EncodeFramesMasks(odd)), odd);
    EXPECT_EQ(text::DecodeFramesMask(text::EncodeFramesMasks({})), masks{});
}

TEST(DecodeFramesMask, KeepsEmptyValuesAndKeys)
{
    EXPECT_EQ(decoded("k\n\n"), (masks{{"k", ""}}));
    EXPECT_EQ(decoded("\nv\n"), (masks{{"", "v"}}));
    EXPECT_EQ(decoded("\n\nk\n\nl\nv\n"), (masks{{"", ""}, {"k", ""}, {"l", "v"}}));
}

// KEPT[first-mask-wins]
TEST(DecodeFramesMask, KeepsTheFirstOfTwoValues)
{
    EXPECT_EQ(decoded("k\n1\nk\n2\n"), (masks{{"k", "1"}}));
    EXPECT_EQ(decoded("k\n1\na\n3\nk\n2\n"), (masks{{"a", "3"}, {"k", "1"}}));
}

TEST(DecodeFramesMask, LeavesOutAKeyWithoutAValue)
{
    EXPECT_EQ(decoded("k\n"), masks{});
    EXPECT_EQ(decoded("k"), masks{});
    EXPECT_EQ(decoded("a\n1\nk"), (masks{{"a", "1"}}));
    EXPECT_EQ(decoded("a\n1"), (masks{{"a", "1"}}));
    EXPECT_EQ(decoded("\n"), masks{});
}

TEST(DecodeFramesMask, IsEmptyForWhatIsNoBase64)
{
    for (const char* const wrong : {"", "*", "YQo", "YQoxLTEwCmIKNQo", "YQox LTEw", "=", "YQoxLTEwCg==x"})
        EXPECT_EQ(text::DecodeFramesMask(wrong), masks{}) << wrong;
}

TEST(DecodeFramesMask, MakesWhatItCanOfEveryShorterBundle)
{
    const std::string lines = "a\n1-10\nb\n5\n";
    const std::string whole = text::ToBase64(lines);
    for (std::size_t length = 0; length < whole.size(); length += 4)
    {
        const masks read = text::DecodeFramesMask(whole.substr(0, length));
        // Three bytes for four characters: "a\n1", "a\n1-10", "a\n1-10\nb\n".
        const masks expected[] = {masks{}, masks{{"a", "1"}}, masks{{"a", "1-10"}}, masks{{"a", "1-10"}}};
        EXPECT_EQ(read, expected[length / 4]) << length;
    }
}

TEST(DecodeFramesMask, ReadsBackManyEntriesInAnyOrder)
{
    std::mt19937 random(1);
    masks written;
    std::string reversed;
    for (int i = 0; i < 20'000; ++i)
        written[std::to_string(random())] = std::to_string(i) + "-" + std::to_string(random());
    for (auto entry = written.rbegin(); entry != written.rend(); ++entry)
        reversed += entry->first + "\n" + entry->second + "\n";
    EXPECT_EQ(text::DecodeFramesMask(text::EncodeFramesMasks(written)), written);
    EXPECT_EQ(decoded(reversed), written);
}
