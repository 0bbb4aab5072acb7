#include "tests/logger/clocks_win.h"
#include "tests/logger/logger_fixture_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"

#include <ctime>

namespace
{
using namespace kf::test;
using namespace KFramework::KLogger;

constexpr long long kMarchFifth = 1709622489; // 2024-03-05 07:08:09 UTC, a Tuesday

class CreateLoggerTest : public LoggerTest
{
protected:
    /// The start time of a logger created over a file with these bytes, at 2024-03-05 07:08:09.
    std::tm start_over(std::string_view bytes)
    {
        const held_clock clock(kMarchFifth);
        destroy();
        folder.write("default.log", bytes);
        create(kInfo, kFile);
        return logger.logStartTime;
    }
};

std::string text_of(const std::tm& time)
{
    char text[64];
    std::strftime(text, sizeof text, "%m/%d/%Y %H:%M:%S", &time);
    return text;
}

// KEPT[identifier]
TEST_F(CreateLoggerTest, FillsTheRecord)
{
    logger.fileHandle = reinterpret_cast<void*>(1);
    logger.detached = true;
    create(3, kConsole);
    EXPECT_EQ(logger.identifier, "TZFRAMEWORK");
    EXPECT_EQ(logger.level, 3);
    EXPECT_EQ(logger.outputFlags, kConsole);
    EXPECT_EQ(logger.fileHandle, nullptr);
    EXPECT_FALSE(logger.detached);
    EXPECT_EQ(logger.writerThread, nullptr);
    EXPECT_NE(logger.writeMutex, nullptr);
    EXPECT_NE(logger.queueMutex, nullptr);
    EXPECT_NE(logger.flushConditional, nullptr);
    EXPECT_EQ(logger.fileName, "default.log");
    EXPECT_EQ(logger.basePath, folder.text());
}

TEST_F(CreateLoggerTest, TakesTheProgramsFolderWhenNoneIsSet)
{
    CreateLogger(&logger, kInfo, 0);
    EXPECT_EQ(logger.basePath, KFramework::GetModuleBasePath());
    DestroyLogger(&logger);
}

TEST_F(CreateLoggerTest, KeepsTheNamesItIsGiven)
{
    SetLoggerFile(&logger, "\xC3\xB6.log");
    create(kInfo, kFile);
    AddLogEntry(&logger, kInfo, "Test", "named");
    EXPECT_EQ(messages_of(folder.read("\xC3\xB6.log")), std::vector<std::string>{"named"});
}

// KEPT[folder-always]
TEST_F(CreateLoggerTest, CreatesTheFolderWhateverTheFlags)
{
    for (const int flags : {0, kConsole, kFile})
    {
        const std::string name = "logs-\xE2\x82\xAC-" + std::to_string(flags);
        SetLoggerBasePath(&logger, folder.text(name));
        CreateLogger(&logger, kInfo, flags);
        EXPECT_TRUE(std::filesystem::is_directory(folder.entry(name)));
        EXPECT_EQ(logger.fileHandle != nullptr, flags == kFile);
        DestroyLogger(&logger);
    }
}

TEST_F(CreateLoggerTest, CreatesOnlyTheLastFolderOfThePath)
{
    SetLoggerBasePath(&logger, folder.text("a\\b"));
    CreateLogger(&logger, kInfo, kFile);
    EXPECT_FALSE(std::filesystem::exists(folder.entry("a")));
    EXPECT_EQ(logger.fileHandle, nullptr);
    AddLogEntry(&logger, kInfo, "Test", "nowhere");
    DestroyLogger(&logger);
}

// KEPT[start-needs-20-bytes]
TEST_F(CreateLoggerTest, ReadsTheStartTimeFromTwentyCharactersAndNotFromNineteen)
{
    EXPECT_EQ(text_of(start_over("12/31/2023 23:59:58 ")), "12/31/2023 23:59:58");
    EXPECT_EQ(text_of(start_over("12/31/2023 23:59:58 - [INFO] [m] x\r\n")), "12/31/2023 23:59:58");
    EXPECT_EQ(text_of(start_over("12/31/2023 23:59:58")), "03/05/2024 07:08:09");
    EXPECT_EQ(text_of(start_over("")), "03/05/2024 07:08:09");
    EXPECT_EQ(text_of(start_over("no time stamp in this line\r\n")), "03/05/2024 07:08:09");
}

TEST_F(CreateLoggerTest, ReadsTheFirstLineAsText)
{
    // 20 bytes, but 19 characters once the line ending is one.
    EXPECT_EQ(text_of(start_over("2/31/2023 23:59:58\r\n")), "03/05/2024 07:08:09");
    EXPECT_EQ(text_of(start_over("2/31/2023 23:59:58\r\n-")).substr(6), "2023 23:59:58");
}

// KEPT[start-weekday]
TEST_F(CreateLoggerTest, RestoresNoDayOfTheWeek)
{
    EXPECT_EQ(start_over("03/05/2024 07:08:09 - [").tm_wday, 0);
    EXPECT_EQ(start_over("").tm_wday, 2);
}

TEST_F(CreateLoggerTest, LeavesTheStartTimeAloneWithoutAFile)
{
    create(kInfo, kConsole);
    EXPECT_EQ(logger.logStartTime.tm_year, 0);
}

TEST_F(CreateLoggerTest, AppendsToALogThatExists)
{
    create(kInfo, kFile);
    AddLogEntry(&logger, kInfo, "Test", "first life");
    const std::string start = text_of(logger.logStartTime);
    destroy();
    create(kInfo, kFile);
    AddLogEntry(&logger, kInfo, "Test", "second life");
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"first life", "second life"}));
    EXPECT_EQ(log().substr(0, 19), text_of(logger.logStartTime)) << "started " << start;
}

TEST_F(CreateLoggerTest, LetsOthersReadTheLogAndNothingElse)
{
    create(kInfo, kFile);
    const std::wstring path = folder.entry("default.log").native();
    const DWORD all = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;
    const HANDLE reader = ::CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                        nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(reader, INVALID_HANDLE_VALUE);
    ::CloseHandle(reader);
    for (const DWORD access : {static_cast<DWORD>(FILE_APPEND_DATA), static_cast<DWORD>(DELETE)})
    {
        EXPECT_EQ(::CreateFileW(path.c_str(), access, all, nullptr, OPEN_EXISTING, 0, nullptr),
                  INVALID_HANDLE_VALUE);
        EXPECT_EQ(::GetLastError(), static_cast<DWORD>(ERROR_SHARING_VIOLATION));
    }

    CKLoggerInstance second;
    SetLoggerBasePath(&second, folder.text());
    CreateLogger(&second, kInfo, kFile);
    EXPECT_EQ(second.fileHandle, nullptr);
    DestroyLogger(&second);
}

TEST_F(CreateLoggerTest, OpensAFileThatChildrenDoNotInherit)
{
    create(kInfo, kFile);
    DWORD flags = HANDLE_FLAG_INHERIT;
    ASSERT_TRUE(::GetHandleInformation(logger.fileHandle, &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0u);
}

// KEPT[create-keeps-rotation]
TEST_F(CreateLoggerTest, ClearsTheCallbackAndKeepsModeAndCompression)
{
    int callback = 0;
    SetLoggerRotation(&logger, 3);
    SetLoggerRotationCompress(&logger, true);
    SetLoggerRotationCallback(&logger, &callback);
    create(kInfo, kFile);
    EXPECT_EQ(logger.rotationMode, 3);
    EXPECT_TRUE(logger.rotationCompress);
    EXPECT_EQ(logger.rotationCallback, nullptr);
}

using DestroyLoggerTest = CreateLoggerTest;

TEST_F(DestroyLoggerTest, ReleasesEveryHandleThatTheLoggerOpened)
{
    const auto live = [this](bool detached)
    {
        create(kInfo, kFile);
        SetLoggerDetachedStatus(&logger, detached);
        AddLogEntry(&logger, kInfo, "Test", "x");
        destroy();
    };
    live(false);
    live(true);
    const std::size_t before = handle_count();
    for (int i = 0; i < 20; ++i)
        live(i % 2 == 1);
    EXPECT_TRUE(wait_until([before] { return handle_count() <= before; }))
        << handle_count() << " after " << before;
}

TEST_F(DestroyLoggerTest, DoesNothingForALoggerThatIsDestroyedOrWasNeverCreated)
{
    create(kInfo, kFile);
    DestroyLogger(&logger);
    DestroyLogger(&logger);
    EXPECT_EQ(logger.fileHandle, nullptr);
    CKLoggerInstance never_created;
    DestroyLogger(&never_created);
}
} // namespace
