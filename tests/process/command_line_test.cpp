/// The line a child is started with.

#include "KFramework/process/command_line.h"

#include <gtest/gtest.h>

using kf::process::child_command_line;

TEST(ChildCommandLine, QuotesThePathAndPutsTheArgumentsBehindABlank)
{
    EXPECT_EQ(child_command_line("C:\\a b\\c.exe", "-x \"y z\""), "\"C:\\a b\\c.exe\" -x \"y z\"");
    EXPECT_EQ(child_command_line("c.exe", ""), "\"c.exe\" ");
}

// KEPT[command-line-cut]
TEST(ChildCommandLine, CutsThePathAt260BytesInsideTheQuotes)
{
    for (const std::size_t length : {259u, 260u, 261u, 300u})
    {
        const std::string path(length, 'p');
        const std::string kept(std::min<std::size_t>(length, 260), 'p');
        EXPECT_EQ(child_command_line(path, "a"), "\"" + kept + "\" a") << length;
    }
}

TEST(ChildCommandLine, CutsThroughACharacter)
{
    const std::string path = std::string(259, 'p') + "\xC3\xA4";
    EXPECT_EQ(child_command_line(path, "a"), "\"" + std::string(259, 'p') + "\xC3\" a");
}

TEST(ChildCommandLine, CutsTheArgumentsAt32504Bytes)
{
    const std::string kept(32504, 'a');
    EXPECT_EQ(child_command_line("c", kept), "\"c\" " + kept);
    EXPECT_EQ(child_command_line("c", kept + "b"), "\"c\" " + kept);
}

TEST(ChildCommandLine, IsNeverLongerThan32767Bytes)
{
    EXPECT_EQ(child_command_line(std::string(999, 'p'), std::string(99999, 'a')).size(), 32767u);
}
