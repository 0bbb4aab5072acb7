#include "protocol.h"

#include <gtest/gtest.h>

namespace
{
const farm::order kOrder{7, R"(C:\job\parts\3.####.png)"};
} // namespace

TEST(ParseOrder, ReadsWhatToTextWrote)
{
    const auto read = farm::parse_order(to_text(kOrder));
    ASSERT_TRUE(read);
    EXPECT_EQ(read->frame, 7);
    EXPECT_EQ(read->mask, kOrder.mask);
}

TEST(ParseOrder, RefusesEveryShorterText)
{
    const std::string whole = to_text(kOrder);
    for (std::size_t length = 0; length + 1 < whole.size(); ++length)
    {
        const auto read = farm::parse_order(whole.substr(0, length));
        // Cut inside the last field, the mask is only shorter, unless it ends as a folder does; nothing else may pass.
        EXPECT_EQ(read.has_value(), length > whole.find("mask=") + 5 && whole[length - 1] != '\\') << length;
    }
}

TEST(ParseOrder, RefusesNumbersOutOfRangeAndTextAfterThem)
{
    for (const char* const wrong :
         {"frame=-1", "frame=1000001", "frame=", "frame=7x", "frame= 7", "frame=99999999999"})
    {
        std::string text = to_text(kOrder);
        text.replace(text.find("frame=7"), 7, wrong);
        EXPECT_FALSE(farm::parse_order(text)) << wrong;
    }
}

TEST(ParseOrder, RefusesAMaskThatWouldEndItsQuotes)
{
    for (const char* const wrong : {"", "a#.png\" --server \"b", "\"", "C:\\a#\\"})
        EXPECT_FALSE(farm::parse_order("frame=7\nmask=" + std::string(wrong) + "\n")) << wrong;
}

TEST(ParseOrder, RefusesUnknownAndRepeatedFields)
{
    EXPECT_FALSE(farm::parse_order(to_text(kOrder) + "more=1\n"));
    EXPECT_FALSE(farm::parse_order(to_text(kOrder) + "frame=8\n"));
    EXPECT_FALSE(farm::parse_order("GET / HTTP/1.1\r\n\r\n"));
}

TEST(ParseHello, TakesPlainNamesOnly)
{
    EXPECT_EQ(farm::parse_hello("name=node-01_b\n")->name, "node-01_b");
    EXPECT_TRUE(farm::parse_hello("name=" + std::string(40, 'a') + "\n"));
    EXPECT_FALSE(farm::parse_hello("name=" + std::string(41, 'a') + "\n"));
    EXPECT_FALSE(farm::parse_hello("name=\n"));
    EXPECT_FALSE(farm::parse_hello("name=a b\n"));
    EXPECT_FALSE(farm::parse_hello("name=..\\x\n"));
    EXPECT_FALSE(farm::parse_hello(""));
}

TEST(ParseHello, TakesAPasswordOrNone)
{
    const farm::hello said{"ada", farm::secret("p=a ss\xC3\xA9")};
    EXPECT_EQ(to_text(said), "name=ada\npassword=p=a ss\xC3\xA9\n");
    EXPECT_EQ(farm::parse_hello(to_text(said))->password.text(), said.password.text());
    EXPECT_TRUE(farm::parse_hello("name=ada\n")->password.empty());
    EXPECT_TRUE(farm::parse_hello("name=ada\npassword=\n")->password.empty());
    EXPECT_EQ(to_text(farm::hello{"ada"}), "name=ada\n");
}

TEST(ParseHello, RefusesWhatIsNoPassword)
{
    EXPECT_TRUE(farm::parse_hello("name=a\npassword=" + std::string(200, 'x') + "\n"));
    EXPECT_FALSE(farm::parse_hello("name=a\npassword=" + std::string(201, 'x') + "\n"));
    EXPECT_FALSE(farm::parse_hello("name=a\npassword=a\tb\n"));
    EXPECT_FALSE(farm::parse_hello("name=a\npassword=x\npassword=y\n"));
    EXPECT_FALSE(farm::parse_hello("name=a\npassword=x\nmore=y\n"));
    EXPECT_FALSE(farm::parse_hello("name=a\nPassword=x\n"));
    EXPECT_FALSE(farm::parse_hello("password=x\n"));
}

TEST(Printable, TurnsControlCharactersIntoBlanksAndCuts)
{
    EXPECT_EQ(farm::printable("a\r\nb\tc\x7f", 100), "a  b c ");
    EXPECT_EQ(farm::printable("abcdef", 3), "abc");
    EXPECT_EQ(farm::printable("\xC3\xA9", 100), "\xC3\xA9");
}
