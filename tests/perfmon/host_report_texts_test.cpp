/// The parts that examples/host_report makes its text of.

#include "examples/host_report/amounts.h"
#include "examples/host_report/arguments.h"
#include "examples/host_report/bars.h"
#include "examples/host_report/page.h"
#include "examples/host_report/table.h"

#include <limits>
#include <string>

#include <gtest/gtest.h>

using namespace host_report;

namespace
{
const std::string kWide = "\xE7\xB6\xB2\xE8\xB7\xAF"; // two characters, four columns
const std::string kUmlaut = "\xC3\xBC";               // one column
const std::string kAccent = "e\xCC\x81";              // an accent of its own: one column
const std::string kReplacement = "\xEF\xBF\xBD";      // U+FFFD
const std::string kPicture = "\xF0\x9F\x98\x80";      // outside the basic plane, two columns
constexpr double kNoNumber = std::numeric_limits<double>::quiet_NaN();
constexpr double kInfinite = std::numeric_limits<double>::infinity();
} // namespace

TEST(Bytes, ChangeTheUnitWhereTheNumberWouldHaveFourDigits)
{
    EXPECT_EQ(bytes(0), "0 B");
    EXPECT_EQ(bytes(1023), "1023 B");
    EXPECT_EQ(bytes(1024), "1.0 KiB");
    EXPECT_EQ(bytes(1536), "1.5 KiB");
    EXPECT_EQ(bytes(1'048'000), "1023.4 KiB");
    EXPECT_EQ(bytes(1'048'575), "1.0 MiB");
    EXPECT_EQ(bytes(34'359'738'368), "32.0 GiB");
    EXPECT_EQ(bytes(std::uint64_t{128} << 40), "128.0 TiB");
    EXPECT_EQ(bytes(std::numeric_limits<std::uint64_t>::max()), "16.0 EiB");
}

TEST(Percent, HasOneDigitBehindThePointAndNoFigureForNoNumber)
{
    EXPECT_EQ(percent(0), "0.0%");
    EXPECT_EQ(percent(12.345), "12.3%");
    EXPECT_EQ(percent(100), "100.0%");
    EXPECT_EQ(percent(kNoNumber), "-");
    EXPECT_EQ(percent(-kInfinite), "-");
    EXPECT_EQ(percent(std::numeric_limits<double>::max()).size(), 312u);
}

TEST(Share, IsNothingOfNothing)
{
    EXPECT_EQ(share(1, 4), 25.0);
    EXPECT_EQ(share(3, 0), 0.0);
}

TEST(Bar, FillsToTheNearestCell)
{
    EXPECT_EQ(bar(0, 10), "[..........]");
    EXPECT_EQ(bar(4.9, 10), "[..........]");
    EXPECT_EQ(bar(5, 10), "[#.........]");
    EXPECT_EQ(bar(37.5, 20), "[########............]");
    EXPECT_EQ(bar(94.9, 10), "[#########.]");
    EXPECT_EQ(bar(100, 10), "[##########]");
}

TEST(Bar, StaysInsideItsBrackets)
{
    EXPECT_EQ(bar(250, 4), "[####]");
    EXPECT_EQ(bar(kInfinite, 4), "[####]");
    EXPECT_EQ(bar(-1, 4), "[....]");
    EXPECT_EQ(bar(kNoNumber, 4), "[....]");
    EXPECT_EQ(bar(50, 0), "[]");
    EXPECT_EQ(bar(50, -3), "[]");
}

TEST(OneLine, HasNoControlCharactersAndNoBrokenCharacters)
{
    EXPECT_EQ(one_line("Ethernet\t#2\r\n\x1B[2J\x7F"), "Ethernet #2   [2J ");
    EXPECT_EQ(one_line("a\xC2\x9B" + kUmlaut), "a " + kUmlaut);
    EXPECT_EQ(one_line("a\xFF" + kWide), "a" + kReplacement + kWide);
    EXPECT_EQ(one_line("\xE7\xB6"), kReplacement);
    EXPECT_EQ(one_line(""), "");
}

TEST(Width, CountsTheColumnsOfAConsole)
{
    EXPECT_EQ(width(""), 0);
    EXPECT_EQ(width("abc"), 3);
    EXPECT_EQ(width(kUmlaut), 1);
    EXPECT_EQ(width(kWide), 4);
    EXPECT_EQ(width(kPicture), 2);
    EXPECT_EQ(width(kAccent), 1);
    EXPECT_EQ(width(kReplacement), 1);
}

TEST(Cut, KeepsWholeCharactersAndTheirAccents)
{
    EXPECT_EQ(cut("abc", 2), "ab");
    EXPECT_EQ(cut("abc", 3), "abc");
    EXPECT_EQ(cut("abc", 0), "");
    EXPECT_EQ(cut(kWide, 3), kWide.substr(0, 3));
    EXPECT_EQ(cut(kWide, 1), "");
    EXPECT_EQ(cut(kAccent + "f", 1), kAccent);
}

TEST(Table, AlignsItsColumnsAndEndsNoLineInBlanks)
{
    table all({{"Disk"}, {"Busy", align::right}, {""}});
    all.add({"0 C:", "3.0%", "[#.]"});
    all.add({"1 D: E:", "100.0%"});
    all.add({});
    EXPECT_EQ(all.text(), "Disk       Busy\n"
                          "0 C:       3.0%  [#.]\n"
                          "1 D: E:  100.0%\n"
                          "\n");
}

TEST(Table, AlignsByColumnsAndNotByBytes)
{
    table all({{"Name"}, {"B/s", align::right}});
    all.add({kWide, "1"});
    all.add({kUmlaut + kAccent + "a\tb", "22"});
    EXPECT_EQ(all.text(), "Name   B/s\n" + kWide + "     1\n" + kUmlaut + kAccent + "a b   22\n");
}

TEST(Table, BeginsWithItsFirstRowWithoutHeadings)
{
    table all({{""}, {""}});
    EXPECT_EQ(all.text(), "");
    all.add({"Host", "ada"});
    EXPECT_EQ(all.text(), "Host  ada\n");
}

TEST(MakePage, FillsEveryLineToTheSameWidth)
{
    const page made = make_page("ab\n\n" + kWide + "\n", 5, 10, 0);
    EXPECT_EQ(made.text, "ab   \n     \n" + kWide + " ");
    EXPECT_EQ(made.lines, 3);
}

TEST(MakePage, CoversThePageBefore)
{
    const page made = make_page("ab\n", 2, 10, 3);
    EXPECT_EQ(made.text, "ab\n  \n  ");
    EXPECT_EQ(made.lines, 3);
    EXPECT_EQ(make_page("ab\n", 2, 2, 3).lines, 2);
    EXPECT_EQ(make_page("", 2, 2, 0).lines, 1);
}

TEST(MakePage, CutsWhatDoesNotFitAndSaysHowMuch)
{
    const page made = make_page("first line\n" + kWide + "\n3\n4\n5\n", 3, 2, 0);
    EXPECT_EQ(made.text, "fir\n...");
    EXPECT_EQ(make_page("1\n2\n3\n4\n", 20, 3, 0).text, "1                   \n"
                                                        "2                   \n"
                                                        "... 2 more lines    ");
    EXPECT_EQ(make_page("1\n2\n", 1, 2, 0).text, "1\n2");
    EXPECT_EQ(make_page(kWide + "\n", 3, 2, 0).text, kWide.substr(0, 3) + " ");
}

TEST(ReadArguments, AreOnceByDefaultAndEndlessWithWatch)
{
    request once, watch, counted, help;
    EXPECT_EQ(read_arguments({}, once), "");
    EXPECT_FALSE(once.watch);
    EXPECT_EQ(once.rounds, 1);
    EXPECT_EQ(read_arguments({"--watch"}, watch), "");
    EXPECT_TRUE(watch.watch);
    EXPECT_EQ(watch.rounds, 0);
    EXPECT_EQ(read_arguments({"--count", "1000000", "--watch"}, counted), "");
    EXPECT_TRUE(counted.watch);
    EXPECT_EQ(counted.rounds, 1'000'000);
    EXPECT_EQ(read_arguments({"--help"}, help), "");
    EXPECT_TRUE(help.help);
}

TEST(ReadArguments, SayInOneLineWhatIsWrong)
{
    const auto wrong = [](const std::vector<std::string>& words)
    {
        request ignored;
        return read_arguments(words, ignored);
    };
    EXPECT_EQ(wrong({"--count", "2"}), "--count goes with --watch");
    EXPECT_EQ(wrong({"--wach"}), "'--wach' means nothing here; --help tells what does");
    EXPECT_EQ(wrong({"a\nb" + kUmlaut}), "'a b" + kUmlaut + "' means nothing here; --help tells what does");
    EXPECT_EQ(wrong({""}), "'' means nothing here; --help tells what does");
    for (const std::string number : {"", "0", "-1", "+1", "2x", " 2", "1000001", "99999999999999999999"})
        EXPECT_EQ(wrong({"--watch", "--count", number}),
                  "--count wants a number from 1 to 1000000, not '" + number + "'");
    EXPECT_EQ(wrong({"--watch", "--count"}), "--count wants a number from 1 to 1000000, not ''");
}
