#include <string>

#include <gtest/gtest.h>

#include "KFramework/string/text_blocks.h"

using kf::string::append_blocks;
using kf::string::kBlockBytes;
using kf::string::up_to_nul;

TEST(TextBlocks, EndATextAtItsFirstNul)
{
    EXPECT_EQ(up_to_nul(std::string_view("ab\0cd\0", 6)), "ab");
    EXPECT_EQ(up_to_nul("abc"), "abc");
    EXPECT_EQ(up_to_nul(""), "");
    EXPECT_EQ(up_to_nul(std::string_view("\0a", 2)), "");
}

TEST(TextBlocks, LoseWhatFollowsANulWithinTheirBlockOnly)
{
    std::string bytes(3 * kBlockBytes + 5, 'a');
    bytes[10] = '\0';
    bytes[20] = '\0';
    bytes[2 * kBlockBytes] = '\0';
    std::string content = "x";
    append_blocks(content, bytes);
    EXPECT_EQ(content, "x" + std::string(10 + kBlockBytes + 5, 'a'));
}

TEST(TextBlocks, KeepTextOfEverySizeAroundTheBlock)
{
    for (const std::size_t size : {std::size_t{0}, std::size_t{1}, kBlockBytes - 1, kBlockBytes,
                                   kBlockBytes + 1, 2 * kBlockBytes, 2 * kBlockBytes + 1})
    {
        const std::string bytes(size, 'b');
        std::string content;
        append_blocks(content, bytes);
        EXPECT_EQ(content, bytes);
    }
}
