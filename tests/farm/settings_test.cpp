#include "settings.h"

#include <gtest/gtest.h>

#include <map>

namespace
{
using entry_map = std::map<std::string, std::string>;

/// Two numbers and a text in two sections.
struct sample
{
    sample() : list("job")
    {
        list.number("frames", "", frames, 1, 100);
        list.text("mask", "", mask, farm::not_empty);
        list.begin("server");
        list.number("port", "", port, 0, 65535).has_default = false;
    }

    std::string apply(const entry_map& entries)
    {
        KFramework::CKConfigManager file;
        file.entries = entries;
        return list.apply(file);
    }

    int frames = 24;
    std::string mask = "f.##.png";
    int port = 0;
    farm::setting_list list;
};
} // namespace

TEST(SettingList, TakesOverWhatTheFileSays)
{
    sample settings;
    EXPECT_EQ(settings.apply({{"job#frames", "6"}, {"server#port", " 80  "}, {"job#mask", "a b#  "}}), "");
    EXPECT_EQ(settings.frames, 6);
    EXPECT_EQ(settings.port, 80);
    EXPECT_EQ(settings.mask, "a b#");
}

TEST(SettingList, KeepsDefaultsForAbsentKeys)
{
    sample settings;
    EXPECT_EQ(settings.apply({{"server#frames", "6"}, {"_default_#frames", "7"}}), "");
    EXPECT_EQ(settings.frames, 24);
    EXPECT_EQ(settings.mask, "f.##.png");
}

TEST(SettingList, LetsOptionsWinOverTheFile)
{
    sample settings;
    settings.list.all()[0].given = true;
    settings.frames = 9;
    EXPECT_EQ(settings.apply({{"job#frames", "6"}, {"server#port", "80"}}), "");
    EXPECT_EQ(settings.frames, 9);
    EXPECT_EQ(settings.port, 80);
}

TEST(SettingList, NamesSectionAndKeyOfAWrongNumber)
{
    for (const std::string wrong : {"abc", "", "6x", "0", "101", "-1", "1.5", "99999999999", "0x10", "+6"})
    {
        sample settings;
        EXPECT_EQ(settings.apply({{"job#frames", wrong}}),
                  "frames in section [job] must be a number from 1 to 100, not \"" + wrong + "\"");
        EXPECT_EQ(settings.frames, 24);
    }
}

TEST(SettingList, NamesSectionAndKeyOfAWrongText)
{
    sample settings;
    EXPECT_EQ(settings.apply({{"job#mask", "  "}}), "mask in section [job] is wrong: nothing is there");
    EXPECT_EQ(settings.mask, "f.##.png");
}

TEST(SettingList, TakesNothingOverFromAFileWithAWrongValue)
{
    sample settings;
    EXPECT_NE(settings.apply({{"job#frames", "6"}, {"server#port", "x"}}), "");
    EXPECT_EQ(settings.frames, 24);
}

TEST(SettingList, ChecksValuesThatAnOptionReplacesToo)
{
    sample settings;
    settings.list.all()[0].given = true;
    EXPECT_NE(settings.apply({{"job#frames", "x"}}), "");
}

TEST(SettingList, GivesTheDefaultsThatAFileDoesNotHave)
{
    sample settings;
    settings.frames = 3; // an option's value is for one run
    EXPECT_EQ(settings.list.missing_in({}).entries,
              (entry_map{{"job#frames", "24"}, {"job#mask", "f.##.png"}}));
    KFramework::CKConfigManager file;
    file.entries = {{"job#mask", ""}};
    EXPECT_EQ(settings.list.missing_in(file).entries, (entry_map{{"job#frames", "24"}}));
    file.entries = {{"job#mask", ""}, {"job#frames", "x"}};
    EXPECT_EQ(settings.list.missing_in(file).entries, entry_map{});
}
