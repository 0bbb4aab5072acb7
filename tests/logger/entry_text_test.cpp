#include "KFramework/logger/entry_text.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdarg>
#include <string>

namespace
{
using namespace kf::logger;

std::tm march_fifth()
{
    std::tm when{};
    when.tm_year = 124;
    when.tm_mon = 2;
    when.tm_mday = 5;
    when.tm_hour = 7;
    when.tm_min = 8;
    when.tm_sec = 9;
    return when;
}

__attribute__((format(printf, 2, 3))) void expand(entry_text& entry, const char* format, ...)
{
    std::va_list arguments;
    va_start(arguments, format);
    entry.expand(format, arguments);
    va_end(arguments);
}

// KEPT[severe-tag]
TEST(LevelTag, IsSevereForEveryLevelButTwoThreeAndFour)
{
    EXPECT_EQ(level_tag(2), "INFO");
    EXPECT_EQ(level_tag(3), "EXTD");
    EXPECT_EQ(level_tag(4), "DEBG");
    for (const int level : {1, 0, -1, 5, 7, INT_MIN, INT_MAX})
        EXPECT_EQ(level_tag(level), "SEVR") << level;
}

// KEPT[month-first]
TEST(EntryText, PutsTheMonthFirstAndPadsEveryField)
{
    entry_text entry(march_fifth(), 2, "KFramework");
    expand(entry, "x");
    EXPECT_EQ(entry.view(), "03/05/2024 07:08:09 - [INFO] [KFramework] x");
}

TEST(EntryText, WritesTwoDigitFieldsAsTheyAre)
{
    std::tm when = march_fifth();
    when.tm_year = 8099; // 9999
    when.tm_mon = 11;
    when.tm_mday = 31;
    when.tm_hour = 23;
    when.tm_min = 59;
    when.tm_sec = 60;
    entry_text entry(when, 4, "");
    expand(entry, "%s", "");
    EXPECT_EQ(entry.view(), "12/31/9999 23:59:60 - [DEBG] [] ");
}

TEST(EntryText, ExpandsByPrintfsRules)
{
    entry_text entry(march_fifth(), 1, "m");
    expand(entry, "%s|%5d|%-4u|%05.1f|%llx|%c|%%|%zu", "text", -42, 7u, 2.25, 0xFFFFFFFFFFull, 'c',
           sizeof(int));
    EXPECT_EQ(entry.view(), "03/05/2024 07:08:09 - [SEVR] [m] text|  -42|7   |002.2|ffffffffff|c|%|4");
}

// KEPT[message-limit]
TEST(EntryText, CutsTheMessageAtItsLimitAndCountsNeitherPrefixNorModule)
{
    const std::string module(10'000, 'm');
    for (const std::size_t length : {4094u, 4095u, 4096u, 5000u})
    {
        const std::string message(length, 'x');
        entry_text entry(march_fifth(), 3, module);
        expand(entry, "%s", message.c_str());
        EXPECT_EQ(entry.view(), "03/05/2024 07:08:09 - [EXTD] [" + module + "] " +
                                    message.substr(0, std::min<std::size_t>(length, 4095)))
            << length;
    }
}

TEST(EntryText, LeavesRoomForALineEndingAtEveryLength)
{
    // Around 222 characters of module the line moves from the stack to the heap.
    for (std::size_t module_size = 200; module_size < 240; ++module_size)
    {
        entry_text entry(march_fifth(), 2, std::string(module_size, 'm'));
        expand(entry, "%s", std::string(4095, 'x').c_str());
        const open_line line = entry.open();
        line.text[line.size] = '\r'; // past the room, the sanitizer or the heap notices
        line.text[line.size + 1] = '\n';
        EXPECT_EQ(line.size, 30 + module_size + 2 + 4095);
    }
}

TEST(EntryText, CopiesItsLineWithRoomForAnEnding)
{
    entry_text entry(march_fifth(), 2, "m");
    expand(entry, "copied");
    std::string copy = entry.copy();
    EXPECT_EQ(copy, entry.view());
    EXPECT_GE(copy.capacity(), copy.size() + 2);
}

TEST(ExpandMessage, GivesAnEmptyMessageForAFormatThatCannotBeExpanded)
{
    // A wide character that has no narrow form in the C locale.
    entry_text entry(march_fifth(), 2, "m");
    expand(entry, "before %lc", static_cast<wint_t>(0x20AC));
    EXPECT_EQ(entry.view(), "03/05/2024 07:08:09 - [INFO] [m] ");
}
} // namespace
