#include <chrono>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <random>

#include "KFramework/config/reader.h"
#include "tests/config/config_fixture_win.h"
#include "tests/config/literal_reader.h"
#include "tests/config/random_settings.h"
#include "tests/support/captured_log_win.h"
#include "tests/support/captured_output_win.h"

using namespace KFramework;

namespace
{
class LoadConfigFileTest : public kf::test::config_test
{
};

class SaveConfigFileTest : public kf::test::config_test
{
};

/// 8 July 2031, 21:06, whatever the clock says.
std::tm* a_summer_evening(const long long*)
{
    static std::tm time{};
    time.tm_year = 131;
    time.tm_mon = 6;
    time.tm_mday = 8;
    time.tm_hour = 21;
    time.tm_min = 6;
    return &time;
}

/// A file that the C runtime reads.
class runtime_file
{
public:
    explicit runtime_file(const std::filesystem::path& path) : file_(::_wfopen(path.c_str(), L"rt")) {}
    ~runtime_file() { std::fclose(file_); }
    runtime_file(const runtime_file&) = delete;
    runtime_file& operator=(const runtime_file&) = delete;

    void get_line(char* buffer, int size) { (void)std::fgets(buffer, size, file_); }
    [[nodiscard]] bool ended() const { return std::feof(file_) != 0 || std::ferror(file_) != 0; }

private:
    std::FILE* file_;
};
} // namespace

TEST_F(LoadConfigFileTest, ReadsSectionsAndKeysInLowerCase)
{
    EXPECT_EQ(loaded("a = 1\n[Net]\nPort = 80\n"), (entries{{"_default_#a", "1"}, {"net#port", "80"}}));
    EXPECT_EQ(GetConfigValue(&manager_, "NET", "PORT", 0), 80);
}

TEST_F(LoadConfigFileTest, StoresThePathAndReplacesAllEntries)
{
    manager_.entries["old#key"] = "1";
    manager_.filePath = "old";
    EXPECT_EQ(loaded("[a]\nk = 1\n"), (entries{{"a#k", "1"}}));
    EXPECT_EQ(manager_.filePath, path_);
}

TEST_F(LoadConfigFileTest, ReadsEveryKindOfLineEnding)
{
    EXPECT_EQ(loaded("[s]\r\nk = 1\r\n\r\nl = 2\r\n"), (entries{{"s#k", "1"}, {"s#l", "2"}}));
    EXPECT_EQ(loaded("[s]\nk = 1\n\nl = 2\n"), (entries{{"s#k", "1"}, {"s#l", "2"}}));
    EXPECT_EQ(loaded("[s]\r\r\nk = 1\r\r\n\r\r\nl = 2\r\r\n"), (entries{{"s#k", "1\r"}, {"s#l", "2\r"}}));
    EXPECT_EQ(GetConfigValue(&manager_, "s", "l", ""), "2");
}

TEST_F(LoadConfigFileTest, ReadsAnEmptyFile)
{
    manager_.entries["old#key"] = "1";
    EXPECT_EQ(loaded(""), entries{});
}

// KEPT[config-last-line]
TEST_F(LoadConfigFileTest, DropsALastLineWithoutAnEnding)
{
    EXPECT_EQ(loaded("a = 1\r\nb = 2"), (entries{{"_default_#a", "1"}}));
}

// KEPT[config-long-line]
TEST_F(LoadConfigFileTest, ReadsALineOfFiveThousandCharactersInPieces)
{
    const kf::test::captured_log log;
    const std::string value(4996, 'x');
    EXPECT_EQ(loaded("a = " + value + "\r\nb = 1\r\n[bad\r\n"),
              (entries{{"_default_#a", value.substr(0, 2041)}, {"_default_#b", "1"}}));
    EXPECT_EQ(log.count("Malformed configuration at line 5 in file"), 1u);
}

TEST_F(LoadConfigFileTest, EndsALineAtANulAndTheFileAtTheByte1A)
{
    EXPECT_EQ(loaded(std::string_view("a = 12\0x\r\nb = 2\r\n\x1A"
                                      "c = 3\r\n",
                                      25)),
              (entries{{"_default_#a", "1"}, {"_default_#b", "2"}}));
}

// KEPT[config-malformed]
TEST_F(LoadConfigFileTest, StopsAtAMalformedHeaderAndIsTrueAllTheSame)
{
    const kf::test::captured_log log;
    EXPECT_EQ(loaded("a = 1\n\n  [broken\nb = 2\n"), (entries{{"_default_#a", "1"}}));
    EXPECT_EQ(log.lines(), lines{"SEVR [KFramework] Malformed configuration at line 3 in file " + path_});
    EXPECT_EQ(manager_.filePath, path_);
}

TEST_F(LoadConfigFileTest, OpensPathsThatAreNotAscii)
{
    const std::string path = folder_.write("\xC3\xA4\xE2\x82\xAC.conf", "k = \xC3\xA4\n");
    EXPECT_TRUE(LoadConfigFile(&manager_, path.c_str()));
    EXPECT_EQ(manager_.entries, (entries{{"_default_#k", "\xC3\xA4"}}));
    EXPECT_EQ(manager_.filePath, path);
    EXPECT_TRUE(SaveConfigFile(&manager_, folder_.text("\xE2\x82\xAC.conf").c_str()));
    EXPECT_NE(folder_.read("\xE2\x82\xAC.conf"), "");
}

TEST_F(LoadConfigFileTest, MayTakeItsPathFromTheManager)
{
    write("[a]\npath = " + path_ + "\n");
    ASSERT_TRUE(load());
    EXPECT_TRUE(LoadConfigFile(&manager_, manager_.entries["a#path"].c_str()));
    EXPECT_TRUE(LoadConfigFile(&manager_, manager_.filePath.c_str()));
    EXPECT_EQ(manager_.entries.size(), 1u);
    EXPECT_EQ(manager_.filePath, path_);
}

TEST_F(LoadConfigFileTest, ReadsAsTheRuntimeGivesLinesWhateverTheBytes)
{
    kf::test::captured_output errors(kf::test::captured_output::stream::error);
    std::string expected_errors;
    std::mt19937 random(1);
    const std::string_view alphabet("ab=# []\r\r\n\n\0\x1A\t", 14);
    for (int i = kf::test::random_texts(150); i > 0; --i)
    {
        // The last are as long as several reads.
        std::string text(i > 8 ? random() % 300 : random() % 300'000, 'x');
        const std::size_t kinds = i % 2 == 0 ? alphabet.size() : 11;
        for (char& c : text)
            if (i > 8 || random() % 50 == 0)
                c = alphabet[random() % kinds];
        if (i <= 8)
            std::erase_if(text, [](char c) { return c == '\x1A' || c == '['; });
        const auto found = loaded(text);
        runtime_file file(folder_.entry("a.conf"));
        const kf::test::literal_result expected = kf::test::literal_load(file);
        ASSERT_EQ(found, expected.entries) << ::testing::PrintToString(text);
        if (expected.malformed_line != 0)
            expected_errors += "Malformed configuration at line " + std::to_string(expected.malformed_line) +
                               " in file " + path_ + "\n";
    }
    EXPECT_EQ(errors.text(), expected_errors);
    EXPECT_NE(expected_errors, "");
}

TEST_F(SaveConfigFileTest, MakesAFileThatIsNotThere)
{
    SetConfigValue(&manager_, "Net", "Port", 80);
    EXPECT_TRUE(save());
    EXPECT_EQ(read(), std::string(kHeader) + "\r\n[net]\r\n\r\nport = 80\r\n" + std::string(kFooter));
    EXPECT_EQ(manager_.filePath, "");
}

TEST_F(SaveConfigFileTest, KeepsTheLinesOfTheUser)
{
    SetConfigValue(&manager_, "net", "port", 81);
    SetConfigValue(&manager_, "net", "host", "h");
    EXPECT_EQ(
        saved("# mine\r\n[Net]\r\n  Port=80\r\n# of port\r\nother = 1\r\n\r\n[b]\r\n\r\nk = 1\r\n"),
        "# mine\r\n[Net]\r\nport = 81\r\n# of port\r\nother = 1\r\nhost = h\r\n\r\n[b]\r\n\r\nk = 1\r\n");
}

// The example of docs/file-formats.md.
TEST_F(SaveConfigFileTest, ChangesOneSettingAndAddsASection)
{
    SetConfigValue(&manager_, "server", "port", 7001);
    SetConfigValue(&manager_, "worker", "threads", 8);
    write("# third floor\r\n[Server]\r\nPort = 7000\r\n");
    EXPECT_TRUE(save());
    EXPECT_EQ(read(), "## This file was autogenerated on 09/03/2026 07:05 ##\r\n\r\n"
                      "# third floor\r\n[Server]\r\nport = 7001\r\n\r\n[worker]\r\n\r\nthreads = 8\r\n"
                      "\r\n\r\n## End of autogenerated file ##\r\n");
    EXPECT_EQ(read().size(), 159u);
}

// KEPT[config-lower-case]
TEST_F(SaveConfigFileTest, WritesNamesInLowerCase)
{
    SetConfigValue(&manager_, "Net", "Port", "Eighty");
    EXPECT_EQ(saved("[NET]\nPORT = 80\n"), "[NET]\r\nport = Eighty\r\n");
    EXPECT_EQ(saved(""), "\r\n[net]\r\n\r\nport = Eighty\r\n");
}

// KEPT[config-day-first]
TEST_F(SaveConfigFileTest, WritesTheLocalTimeWithTheDayFirst)
{
    EXPECT_TRUE(save());
    EXPECT_EQ(read(), "## This file was autogenerated on 09/03/2026 07:05 ##\r\n\r\n"
                      "\r\n\r\n## End of autogenerated file ##\r\n");
}

TEST_F(SaveConfigFileTest, WritesTheTimeOfTheZoneThatTheMachineIsIn)
{
    const kf::test::import_hook zone("_localtime64", &a_summer_evening);
    EXPECT_TRUE(save());
    EXPECT_TRUE(read().starts_with("## This file was autogenerated on 08/07/2031 21:06 ##\r\n")) << read();
}

TEST_F(SaveConfigFileTest, LeavesOneHeaderAndOneFooter)
{
    SetConfigValue(&manager_, "a", "k", 2);
    const std::string file = std::string("## This file was autogenerated on 31/12/1999 23:59 ##\r\n\r\n") +
                             "# mine\r\n[a]\r\nk = 1\r\n\r\n[b]\r\n" + std::string(kFooter);
    EXPECT_EQ(saved(file), "# mine\r\n[a]\r\nk = 2\r\n\r\n[b]\r\n");
}

TEST_F(SaveConfigFileTest, GivesIdenticalFilesWithinAMinute)
{
    for (const std::string_view before : {"", "# mine", "\n\n[a]\n", "[a]\nk = 1\n[b]"})
    {
        manager_.entries = {{"a#k", "2"}, {"c#l", "3"}};
        write(before);
        ASSERT_TRUE(save());
        const std::string first = read();
        ASSERT_TRUE(save());
        EXPECT_EQ(read(), first);
        ASSERT_TRUE(load());
        ASSERT_TRUE(save());
        EXPECT_EQ(read(), first) << before;
    }
}

TEST_F(SaveConfigFileTest, WritesWhatLoadReadsBack)
{
    const entries all{{"a#k", "  1"}, {"a#l m", "b = c # d  "}, {"b c#k", ""}, {"_default_#d", "\xC3\xA4"}};
    manager_.entries = all;
    ASSERT_TRUE(save());
    ASSERT_TRUE(load());
    EXPECT_EQ(GetConfigValue(&manager_, "a", "k", "none"), "1"); // leading blanks are not kept
    manager_.entries["a#k"] = "  1";
    EXPECT_EQ(manager_.entries, all);
}

// KEPT[config-default-section]
TEST_F(SaveConfigFileTest, NeverLetsAChangedKeyOutsideSectionsTakeEffect)
{
    EXPECT_EQ(loaded("k = 1\r\n"), (entries{{"_default_#k", "1"}}));
    SetConfigValue(&manager_, "_default_", "k", 2);
    ASSERT_TRUE(save());
    EXPECT_EQ(between(read()), "k = 1\r\n\r\n[_default_]\r\n\r\nk = 2\r\n");
    ASSERT_TRUE(load());
    EXPECT_EQ(GetConfigValue(&manager_, "_default_", "k", 0), 1);
    ASSERT_TRUE(save()); // and the user's own line never changes
    EXPECT_EQ(between(read()), "k = 1\r\n\r\n[_default_]\r\n\r\nk = 1\r\n");
}

TEST_F(SaveConfigFileTest, LetsALineFeedInAValueBringSettingsOfItsOwn)
{
    SetConfigValue(&manager_, "a", "k", "1\n[admin]\nallowed = yes");
    ASSERT_TRUE(save());
    ASSERT_TRUE(load());
    EXPECT_EQ(manager_.entries, (entries{{"a#k", "1"}, {"admin#allowed", "yes"}}));
}

TEST_F(SaveConfigFileTest, LetsAValueTooLongForALineBringSettingsOfItsOwn)
{
    const std::string whole(kf::config::kPieceBytes - std::strlen("k = "), 'x');
    SetConfigValue(&manager_, "a", "k", (whole + "allowed = yes").c_str());
    ASSERT_TRUE(save());
    ASSERT_TRUE(load());
    EXPECT_EQ(manager_.entries, (entries{{"a#k", whole.substr(1)}, {"a#allowed", "yes"}}));
}

TEST_F(SaveConfigFileTest, LetsAByte1AInAValueEndTheFile)
{
    manager_.entries = {{"a#k", "1"}, {"a#l", "2\x1A"}, {"b#k", "3"}};
    ASSERT_TRUE(save());
    ASSERT_TRUE(load());
    EXPECT_EQ(manager_.entries, (entries{{"a#k", "1"}}));
}

TEST_F(SaveConfigFileTest, LosesNamesThatHoldTheMarksOfTheFormat)
{
    manager_.entries = {{"a]b#k", "1"}, {"c##k", "2"}, {"d#e#k", "3"}};
    ASSERT_TRUE(save());
    ASSERT_TRUE(load());
    EXPECT_EQ(manager_.entries, (entries{{"a#k", "1"}, {"d#e#k", "3"}}));
}

TEST_F(SaveConfigFileTest, WritesOnlyEntriesThatHaveASection)
{
    manager_.entries = {{"k", "1"}, {"a#k", "2"}};
    EXPECT_EQ(saved(""), "\r\n[a]\r\n\r\nk = 2\r\n");
}

TEST_F(SaveConfigFileTest, LosesWhatStandsBehindTheByte1A)
{
    EXPECT_EQ(saved("a = 1\r\n\x1A"
                    "b = 2\r\n"),
              "a = 1\r\n");
}

// Quadratic work on these would meet the program's time limit.
TEST_F(SaveConfigFileTest, SavesAndLoadsAHundredThousandKeys)
{
    for (int i = 0; i < 100'000; ++i)
        manager_.entries["section" + std::to_string(i % 100) + "#key" + std::to_string(i)] =
            std::to_string(i);
    const entries all = manager_.entries;
    const auto start = std::chrono::steady_clock::now();
    ASSERT_TRUE(save());
    const auto made = std::chrono::steady_clock::now();
    ASSERT_TRUE(save());
    const auto merged = std::chrono::steady_clock::now();
    ASSERT_TRUE(load());
    const auto read_back = std::chrono::steady_clock::now();
    EXPECT_TRUE(manager_.entries == all);
    const auto seconds = [](auto from, auto to) { return std::chrono::duration<double>(to - from).count(); };
    std::printf("100,000 keys: saved in %.2f s, merged in %.2f s, loaded in %.2f s\n", seconds(start, made),
                seconds(made, merged), seconds(merged, read_back));
}
