#include "tests/support/child_win.h"
#include "tests/logger/clocks_win.h"
#include "tests/logger/logger_fixture_win.h"
#include "tests/support/captured_output_win.h"

#include <climits>
#include <map>
#include <thread>

namespace
{
using namespace kf::test;
using namespace KFramework::KLogger;

constexpr long long kMarchFifth = 1709622489; // 2024-03-05 07:08:09 UTC

class AddLogEntryTest : public LoggerTest
{
};

// KEPT[month-first]
TEST_F(AddLogEntryTest, WritesDateTagModuleAndMessage)
{
    const held_clock clock(kMarchFifth);
    create(kInfo, kFile);
    AddLogEntry(&logger, kInfo, "KFramework", "x");
    EXPECT_EQ(log(), "03/05/2024 07:08:09 - [INFO] [KFramework] x\r\n");
}

TEST_F(AddLogEntryTest, TakesTheTimeAnewForEveryEntry)
{
    held_clock clock(kMarchFifth);
    create(kInfo, kFile);
    for (const long long step : {0LL, 1LL, -3600LL, 86400LL, 0LL})
    {
        clock.set(kMarchFifth + step);
        AddLogEntry(&logger, kInfo, "m", "x");
    }
    EXPECT_EQ(log(), "03/05/2024 07:08:09 - [INFO] [m] x\r\n"
                     "03/05/2024 07:08:10 - [INFO] [m] x\r\n"
                     "03/05/2024 06:08:09 - [INFO] [m] x\r\n"
                     "03/06/2024 07:08:09 - [INFO] [m] x\r\n"
                     "03/05/2024 07:08:09 - [INFO] [m] x\r\n");
}

long zone_offset = 0;

struct tm* __cdecl local_time_in_zone(const long long* seconds)
{
    static struct tm result;
    const long long shifted = *seconds + zone_offset;
    ::_gmtime64_s(&result, &shifted);
    return &result;
}

TEST_F(AddLogEntryTest, FollowsATimeZoneThatChangesWithinTheSecond)
{
    const held_clock clock(kMarchFifth);
    const import_hook zone("_localtime64", &local_time_in_zone);
    zone_offset = 0;
    create(kInfo, kFile);
    AddLogEntry(&logger, kInfo, "m", "x");
    zone_offset = 3600;
    AddLogEntry(&logger, kInfo, "m", "x");
    EXPECT_EQ(log(), "03/05/2024 07:08:09 - [INFO] [m] x\r\n03/05/2024 08:08:09 - [INFO] [m] x\r\n");
}

TEST_F(AddLogEntryTest, WritesUpToTheLoggersLevel)
{
    create(kInfo, kFile);
    AddLogEntry(&logger, kExtended, "Test", "EXTD");
    AddLogEntry(&logger, kDebug, "Test", "DEBG");
    EXPECT_EQ(log(), "");
    AddLogEntry(&logger, kInfo, "Test", "INFO");
    AddLogEntry(&logger, kSevere, "Test", "SEVR");
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"INFO", "SEVR"}));

    logger.level = kDebug;
    AddLogEntry(&logger, kExtended, "Test", "EXTD");
    AddLogEntry(&logger, kDebug, "Test", "DEBG");
    const std::vector<std::string> lines = lines_of(log());
    ASSERT_EQ(lines.size(), 4u);
    for (const std::string& line : lines)
        EXPECT_NE(line.find(" - [" + message_of(line) + "] [Test] "), std::string::npos) << line;
}

// KEPT[signed-level]
// KEPT[severe-tag]
TEST_F(AddLogEntryTest, ComparesLevelsWithTheirSignAndTagsTheOddOnesSevere)
{
    create(0, kFile);
    for (const int level : {0, -1, INT_MIN})
        AddLogEntry(&logger, level, "Test", "%d", level);
    AddLogEntry(&logger, kSevere, "Test", "above");
    logger.level = 7;
    AddLogEntry(&logger, 7, "Test", "7");
    AddLogEntry(&logger, 8, "Test", "above");
    logger.level = -5;
    AddLogEntry(&logger, -4, "Test", "above");
    AddLogEntry(&logger, -5, "Test", "-5");
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"0", "-1", std::to_string(INT_MIN), "7", "-5"}));
    for (const std::string& line : lines_of(log()))
        EXPECT_NE(line.find(" - [SEVR] [Test] "), std::string::npos) << line;
}

int clock_calls = 0;

void WINAPI count_file_time(FILETIME* out)
{
    ++clock_calls;
    *out = {};
}

TEST_F(AddLogEntryTest, DoesNotEvenAskTheTimeForAnEntryAboveTheLevel)
{
    create(kInfo, kFile);
    const import_hook hook("GetSystemTimeAsFileTime", &count_file_time);
    clock_calls = 0;
    AddLogEntry(&logger, kExtended, "Test", "above");
    EXPECT_EQ(clock_calls, 0);
    AddLogEntry(&logger, kInfo, "Test", "written");
    EXPECT_EQ(clock_calls, 1);
}

// KEPT[message-limit]
TEST_F(AddLogEntryTest, CutsOnlyTheMessage)
{
    const held_clock clock(kMarchFifth);
    create(kInfo, kFile);
    const std::string module(10'000, 'm');
    const std::string message(5'000, 'x');
    AddLogEntry(&logger, kInfo, module.c_str(), "%s", message.c_str());
    AddLogEntry(&logger, kInfo, "m", "%s", message.c_str());
    AddLogEntry(&logger, kInfo, "m", "%s", message.substr(0, 4095).c_str());
    const std::string cut = message.substr(0, 4095) + "\r\n";
    EXPECT_EQ(log(), "03/05/2024 07:08:09 - [INFO] [" + module + "] " + cut +
                         "03/05/2024 07:08:09 - [INFO] [m] " + cut + "03/05/2024 07:08:09 - [INFO] [m] " +
                         cut);
}

// KEPT[line-endings]
TEST_F(AddLogEntryTest, EndsLinesForFileAndConsoleEachInItsOwnWay)
{
    const held_clock clock(kMarchFifth);
    create(kInfo, kConsole | kFile);
    captured_output console(captured_output::stream::output);
    AddLogEntry(&logger, kInfo, "m", "both");
    // Standard output is in text mode here: "\n" arrives as "\r\n", and "\r\n" would as "\r\r\n".
    EXPECT_EQ(console.bytes(), "03/05/2024 07:08:09 - [INFO] [m] both\r\n");
    EXPECT_EQ(log(), "03/05/2024 07:08:09 - [INFO] [m] both\r\n");
}

TEST_F(AddLogEntryTest, WritesOnlyToTheConsoleWithoutTheFileFlag)
{
    create(kInfo, kConsole);
    captured_output console(captured_output::stream::output);
    AddLogEntry(&logger, kInfo, "Test", "%s", "console");
    EXPECT_EQ(message_of(console.text()), "console\n");
    EXPECT_FALSE(std::filesystem::exists(folder.entry("default.log")));
    EXPECT_EQ(logger.fileHandle, nullptr);
}

TEST_F(AddLogEntryTest, WritesNowhereWithoutEitherFlag)
{
    create(kInfo, 1 | 8);
    captured_output console(captured_output::stream::output);
    AddLogEntry(&logger, kInfo, "Test", "nowhere");
    EXPECT_EQ(console.text(), "");
    EXPECT_FALSE(std::filesystem::exists(folder.entry("default.log")));
}

TEST_F(AddLogEntryTest, FollowsFlagsThatAreStoredWhileTheFileIsOpen)
{
    create(kInfo, kFile);
    captured_output console(captured_output::stream::output);
    for (const int flags : {0, 1 | 8, kConsole, kFile})
    {
        logger.outputFlags = flags;
        AddLogEntry(&logger, kInfo, "Test", "%d", flags);
    }
    EXPECT_EQ(messages_of(log()), std::vector<std::string>{std::to_string(kFile)});
    EXPECT_EQ(message_of(console.text()), std::to_string(kConsole) + "\n");
}

std::vector<std::string> writes;
BOOL write_result = TRUE;

BOOL WINAPI note_write(HANDLE, LPCVOID bytes, DWORD size, LPDWORD, LPOVERLAPPED)
{
    writes.emplace_back(static_cast<const char*>(bytes), size);
    return write_result;
}

// KEPT[one-write]
TEST_F(AddLogEntryTest, HandsEachLineToTheFileInOneWrite)
{
    const held_clock clock(kMarchFifth);
    create(kInfo, kFile);
    const import_hook hook("WriteFile", &note_write);
    for (const BOOL result : {TRUE, FALSE}) // a failed write is ignored
    {
        writes.clear();
        write_result = result;
        AddLogEntry(&logger, kInfo, "m", "whole");
        EXPECT_EQ(writes, std::vector<std::string>{"03/05/2024 07:08:09 - [INFO] [m] whole\r\n"});
    }
}

// KEPT[no-logger]
TEST_F(AddLogEntryTest, SendsTheBareMessageToStandardErrorWithoutALogger)
{
    captured_output error(captured_output::stream::error);
    AddLogEntry(nullptr, 99, "Test", "bare %d", 1);
    AddLogEntry(nullptr, kSevere, "Test", "%s", std::string(5'000, 'x').c_str());
    AddLogEntry(nullptr, kSevere, "Test", "%s", "");
    EXPECT_EQ(error.bytes(), "bare 1\r\n" + std::string(4095, 'x') + "\r\n\r\n");
}

TEST_F(AddLogEntryTest, WorksWithoutALoggerBeforeTheLibraryIsInitialised)
{
    child early("log_early", {folder.text("error.txt")});
    EXPECT_EQ(early.wait(), 0u);
    EXPECT_EQ(folder.read("error.txt"), "early 1\n");
}

TEST_F(AddLogEntryTest, GoesOnWithTheConsoleWhenTheFileCannotBeOpened)
{
    std::filesystem::create_directory(folder.entry("default.log"));
    create(kInfo, kConsole | kFile);
    EXPECT_EQ(logger.fileHandle, nullptr);
    captured_output console(captured_output::stream::output);
    AddLogEntry(&logger, kInfo, "Test", "shown");
    EXPECT_EQ(message_of(console.text()), "shown\n");
}

TEST_F(AddLogEntryTest, KeepsLineBreaksOfTheMessage)
{
    create(kInfo, kFile);
    AddLogEntry(&logger, kInfo, "Test", "%s", "a\nb\r\nc");
    EXPECT_NE(log().find("[Test] a\nb\r\nc\r\n"), std::string::npos);
}

TEST_F(AddLogEntryTest, WritesWhileAnotherProcessHoldsTheFile)
{
    create(kInfo, kFile);
    child holder("hold_file", {folder.text("default.log")});
    holder.wait_for("held");
    for (int i = 0; i < 100; ++i)
        AddLogEntry(&logger, kInfo, "Test", "%d", i);
    EXPECT_EQ(lines_of(log()).size(), 100u);
}

void expect_each_thread_in_order(const std::vector<std::string>& messages, int threads, int lines)
{
    std::map<int, int> next;
    for (const std::string& message : messages)
    {
        int thread = -1;
        int line = -1;
        ASSERT_EQ(std::sscanf(message.c_str(), "thread %d line %d end", &thread, &line), 2) << message;
        ASSERT_TRUE(message.ends_with(" end")) << message;
        ASSERT_EQ(line, next[thread]++) << message;
    }
    EXPECT_EQ(next.size(), static_cast<std::size_t>(threads));
    for (const auto& [thread, count] : next)
        EXPECT_EQ(count, lines) << thread;
}

TEST_F(AddLogEntryTest, KeepsLinesWholeAndEachThreadsInOrder)
{
    constexpr int kThreads = 16;
    constexpr int kLines = 2'000;
    for (const bool detached : {false, true})
    {
        SetLoggerFile(&logger, detached ? "detached.log" : "direct.log");
        create(kInfo, kFile);
        SetLoggerDetachedStatus(&logger, detached);
        std::vector<std::thread> threads;
        for (int thread = 0; thread < kThreads; ++thread)
            threads.emplace_back(
                [this, thread]
                {
                    for (int line = 0; line < kLines; ++line)
                        AddLogEntry(&logger, kInfo, "Test", "thread %d line %d end", thread, line);
                });
        for (std::thread& thread : threads)
            thread.join();
        destroy();
        expect_each_thread_in_order(messages_of(folder.read(detached ? "detached.log" : "direct.log")),
                                    kThreads, kLines);
    }
}
} // namespace
