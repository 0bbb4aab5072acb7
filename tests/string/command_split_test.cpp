#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

using KFramework::KStringHelper::SplitCommandLines;

namespace
{
struct split
{
    bool done;
    std::string executable;
    std::string arguments;

    bool operator==(const split&) const = default;
};

std::ostream& operator<<(std::ostream& out, const split& what)
{
    return out << what.done << " [" << what.executable << "] [" << what.arguments << "]";
}

split split_of(const std::string& line)
{
    split result{false, "old exe", "old args"};
    result.done = SplitCommandLines(line, result.executable, result.arguments);
    return result;
}
} // namespace

TEST(SplitCommandLines, TakesTheQuotesOffTheExecutable)
{
    EXPECT_EQ(split_of("\"C:\\a b\\c.exe\" -x"), (split{true, "C:\\a b\\c.exe", "-x"}));
    EXPECT_EQ(split_of("\"C:\\a b\\c.exe\" -x \"y z\""), (split{true, "C:\\a b\\c.exe", "-x \"y z\""}));
    EXPECT_EQ(split_of("\"\" x"), (split{true, "", "x"}));
}

TEST(SplitCommandLines, EndsAnUnquotedExecutableAtTheFirstSpace)
{
    EXPECT_EQ(split_of("a.exe -x -y"), (split{true, "a.exe", "-x -y"}));
    EXPECT_EQ(split_of("a.exe  -x"), (split{true, "a.exe", " -x"}));
    EXPECT_EQ(split_of("a.exe\t-x"), (split{true, "a.exe\t-x", "old args"}));
}

TEST(SplitCommandLines, LeavesTheArgumentsUntouchedWhenThereAreNone)
{
    EXPECT_EQ(split_of("a.exe"), (split{true, "a.exe", "old args"}));
    EXPECT_EQ(split_of("a.exe "), (split{true, "a.exe", "old args"}));
    EXPECT_EQ(split_of("\"a b\""), (split{true, "a b", "old args"}));
    EXPECT_EQ(split_of("\"a b\" "), (split{true, "a b", "old args"}));
    EXPECT_EQ(split_of("\"a b\"x"), (split{true, "a b", "old args"})); // x counts as the separator
}

TEST(SplitCommandLines, IsFalseAndChangesNothingWithoutAnExecutableAtTheStart)
{
    EXPECT_EQ(split_of(""), (split{false, "old exe", "old args"}));
    EXPECT_EQ(split_of(" a.exe -x"), (split{false, "old exe", "old args"}));
}

// KEPT[split-first-byte]
TEST(SplitCommandLines, LosesTheFirstByteWhenAQuoteComesLater)
{
    EXPECT_EQ(split_of("abc\"d e\" -x"), (split{true, "bc\"d e", "-x"}));
    EXPECT_EQ(split_of("a\"\" -x"), (split{true, "\"", "-x"}));
}

TEST(SplitCommandLines, TakesTheRestForAnExecutableWhoseQuoteStaysOpen)
{
    EXPECT_EQ(split_of("\"a b -x"), (split{true, "a b -x", "old args"}));
    EXPECT_EQ(split_of("\""), (split{true, "", "old args"}));
}

TEST(SplitCommandLines, MayWriteIntoTheLineItself)
{
    std::string line = "\"a b\" -x";
    std::string arguments;
    EXPECT_TRUE(SplitCommandLines(line, line, arguments));
    EXPECT_EQ(line, "a b");
    EXPECT_EQ(arguments, "-x");
    line = "a -x";
    std::string executable;
    EXPECT_TRUE(SplitCommandLines(line, executable, line));
    EXPECT_EQ(executable, "a");
    EXPECT_EQ(line, "-x");
}
