#include "config_text.h"

#include <gtest/gtest.h>

namespace
{
KFramework::CKConfigManager additions(const std::string& name)
{
    KFramework::CKConfigManager settings;
    settings.entries = {{name, "1"}};
    return settings;
}

/// The text after an addition, as the library makes it.
std::string completed(const std::string& text)
{
    std::string ready = farm::ready_for_additions(text);
    EXPECT_TRUE(farm::keeps_all_lines(ready, additions("server#new"))) << text;
    KFramework::ConfigReplaceKey(ready, "server", "new", "1");
    return ready;
}
} // namespace

TEST(ReadyForAdditions, KeepsANewKeyApartFromTheLineBefore)
{
    EXPECT_EQ(completed("[server]\nport = 1\n[job]\nframes = 2\n"),
              "[server]\nport = 1\nnew = 1\n\n[job]\nframes = 2\n");
    EXPECT_EQ(completed("[server]\n  [job]\n"), "[server]\nnew = 1\n\n  [job]\n");
    EXPECT_EQ(completed("# mine\n[server]\nport = 1"), "# mine\n\n[server]\nport = 1\nnew = 1\n");
    EXPECT_EQ(completed("[job]\nframes = 2"), "[job]\nframes = 2\n\n[server]\n\nnew = 1\n");
    EXPECT_EQ(completed(""), "\n[server]\n\nnew = 1\n");
}

TEST(ReadyForAdditions, ChangesNothingThatIsReady)
{
    for (const char* const text : {"", "\n", "[a]\n", "[a]\nb = 1\n\n[c]\n", "# x\n\n  [a]\n\n\n[b]\n"})
        EXPECT_EQ(farm::ready_for_additions(text), text);
}

TEST(ReadyForAdditions, UsesTheLineEndsOfTheText)
{
    EXPECT_EQ(farm::ready_for_additions("[a]\r\nb = 1\r\n[c]\r\nd = 2"),
              "[a]\r\nb = 1\r\n\r\n[c]\r\nd = 2\r\n");
    EXPECT_EQ(farm::ready_for_additions("[a]\r\n\r\n[c]\r\n"), "[a]\r\n\r\n[c]\r\n");
}

TEST(KeepsAllLines, TellsWhenALineWouldChange)
{
    // A line without "=" is taken for the key of that name.
    EXPECT_FALSE(farm::keeps_all_lines("[server]\nnew\n", additions("server#new")));
    EXPECT_TRUE(farm::keeps_all_lines("[server]\nnew\n", additions("server#other")));
    // Not made ready.
    EXPECT_FALSE(farm::keeps_all_lines("[server]\nport = 1\n[job]\n", additions("server#new")));
    EXPECT_TRUE(farm::keeps_all_lines("[server]\r\nport = 1\r\n", additions("server#new")));
}

TEST(UnreadablePart, NamesTheLineThatWouldEndTheReading)
{
    EXPECT_EQ(farm::unreadable_part("[job]\nframes = 1\n  [broken\n[x]\n"), "line 3 has a [ without a ]");
    EXPECT_EQ(farm::unreadable_part(std::string("a\0b", 3)), "is no text file");
    EXPECT_EQ(farm::unreadable_part("a\x1A"), "is no text file");
    EXPECT_EQ(farm::unreadable_part("[job]\n# [\na = [\n"), "");
    EXPECT_EQ(farm::unreadable_part(""), "");
}
