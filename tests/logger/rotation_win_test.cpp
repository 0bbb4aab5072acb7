#include "KFramework/filesystem.h"
#include "KFramework/process.h"
#include "tests/support/child_win.h"
#include "tests/logger/clocks_win.h"
#include "tests/logger/logger_fixture_win.h"
#include "tests/support/captured_output_win.h"

#include <fstream>
#include <functional>
#include <io.h>
#include <set>
#include <share.h>

namespace
{
using namespace kf::test;
using namespace KFramework::KLogger;

constexpr long long kMonday = 1709547300;     // 2024-03-04 10:15:00 UTC
constexpr long long kMarchSixth = 1709683200; // 2024-03-06 00:00:00 UTC
constexpr long long kApril = 1711929600;      // 2024-04-01 00:00:00 UTC
constexpr long long kMinute = 60;
constexpr long long kDay = 86'400;

const std::string kSeed = "03/05/2024 07:08:09 - [INFO] [Test] seed\r\n";

std::vector<std::string> called_with;
std::function<void()> inside_callback;

void note_rotation(const char* path)
{
    called_with.emplace_back(path);
    if (inside_callback)
        inside_callback();
}

class CheckLogRotationTest : public LoggerTest
{
protected:
    CheckLogRotationTest()
    {
        called_with.clear();
        inside_callback = nullptr;
    }

    void rotate_by(int mode, bool compress = false)
    {
        create(kInfo, kFile);
        SetLoggerRotation(&logger, mode);
        SetLoggerRotationCompress(&logger, compress);
        SetLoggerRotationCallback(&logger, reinterpret_cast<void*>(&note_rotation));
    }

    void add(const char* message) { AddLogEntry(&logger, kInfo, "Test", "%s", message); }

    std::set<std::string> names()
    {
        std::set<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
            names.insert(utf8_text(entry.path().filename()));
        return names;
    }

    /// The lines of every file, packed ones too.
    std::size_t count_all_lines()
    {
        std::size_t count = 0;
        for (const std::string& name : names())
            count += lines_of(content(name)).size();
        return count;
    }

    std::string content(const std::string& name)
    {
        if (!name.ends_with(".gz"))
            return folder.read(name);
        std::string text;
        EXPECT_TRUE(KFramework::KFileSystem::UncompressFileToText(folder.text(name).c_str(), text)) << name;
        return text;
    }
};

TEST_F(CheckLogRotationTest, MovesADailyLogAsideUnderItsDate)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2);
    add("new day");
    add("same day");
    EXPECT_EQ(names(), (std::set<std::string>{"1709683200.03.05.2024.default.log", "default.log"}));
    EXPECT_EQ(folder.read("1709683200.03.05.2024.default.log"), kSeed);
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"new day", "same day"}));
    EXPECT_EQ(called_with, std::vector<std::string>{folder.text("1709683200.03.05.2024.default.log")});
}

// KEPT[period-that-ends]
TEST_F(CheckLogRotationTest, NamesTheStartOfThePeriodInEachMode)
{
    const struct
    {
        int mode;
        const char* suffix;
    } rows[] = {{1, "03.05.2024.07"}, {2, "03.05.2024"}, {3, "03.2024"}};
    for (const auto& row : rows)
        for (const bool compress : {false, true})
        {
            const std::string file = "m" + std::to_string(row.mode) + (compress ? "z.log" : ".log");
            const std::string rotated =
                "1711929600." + std::string(row.suffix) + "." + file + (compress ? ".gz" : "");
            folder.write(file, kSeed);
            const held_clock clock(kApril);
            SetLoggerFile(&logger, file.c_str());
            rotate_by(row.mode, compress);
            called_with.clear();
            add("new");
            EXPECT_EQ(content(rotated), kSeed);
            EXPECT_EQ(messages_of(folder.read(file)), std::vector<std::string>{"new"});
            EXPECT_EQ(called_with, std::vector<std::string>{folder.text(rotated)});
            destroy();
        }
    EXPECT_EQ(names().size(), 12u) << "a plain file stayed beside its compressed one";
}

TEST_F(CheckLogRotationTest, NeverRotatesInOtherModes)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kApril);
    for (const int mode : {0, 4, -1, 99})
    {
        rotate_by(mode);
        add("x");
        destroy();
    }
    EXPECT_EQ(names(), std::set<std::string>{"default.log"});
    EXPECT_TRUE(called_with.empty());
}

// KEPT[hourly-weekday]
TEST_F(CheckLogRotationTest, TakesTheSameHourAWeekLaterForTheSamePeriod)
{
    held_clock clock(kMonday);
    rotate_by(1);
    add("Monday 10:15");
    clock.set(kMonday + 7 * kDay + 15 * kMinute);
    add("a week later, 10:30");
    EXPECT_EQ(names().size(), 1u);
    clock.set(kMonday + 7 * kDay + 45 * kMinute);
    add("11:00");
    EXPECT_TRUE(names().contains("1710154800.03.04.2024.10.default.log"));
    EXPECT_EQ(messages_of(log()), std::vector<std::string>{"11:00"});
}

// KEPT[start-weekday]
TEST_F(CheckLogRotationTest, MayRotateAnHourlyLogAtOnceAfterARestart)
{
    folder.write("default.log", "03/04/2024 10:15:00 - [INFO] [Test] seed\r\n");
    const held_clock clock(kMonday + kMinute);
    rotate_by(1);
    add("the same hour");
    EXPECT_EQ(called_with.size(), 1u);
    add("still the same hour");
    EXPECT_EQ(called_with.size(), 1u);
}

// KEPT[rotation-clock]
TEST_F(CheckLogRotationTest, AsksTheServerTimeAndStartsThePeriodByTheLiveClock)
{
    held_clock clock(kMonday);
    rotate_by(2);
    add("Monday");
    clock.set(kMonday + kDay, false);
    add("Tuesday, but the server time stands still");
    EXPECT_TRUE(called_with.empty());
    KFramework::UpdateServerTime();
    clock.set(kMonday + 2 * kDay, false);
    add("Wednesday, with Tuesday's server time");
    EXPECT_EQ(called_with, std::vector<std::string>{folder.text("1709633700.03.04.2024.default.log")});
    EXPECT_EQ(logger.logStartTime.tm_mday, 6);
}

TEST_F(CheckLogRotationTest, LosesNothingWhileTheServerTimeStandsInAnotherPeriod)
{
    for (const bool compress : {false, true})
    {
        const temporary_folder other;
        store_server_time(kMarchSixth); // and the live clock is years ahead
        SetLoggerBasePath(&logger, other.text());
        CreateLogger(&logger, kInfo, kFile);
        SetLoggerRotation(&logger, 2);
        SetLoggerRotationCompress(&logger, compress);
        for (int i = 0; i < 1000; ++i)
            add("kept");
        DestroyLogger(&logger);
        std::size_t lines = 0;
        for (const auto& entry : std::filesystem::directory_iterator(other.path()))
        {
            const std::string name = utf8_text(entry.path().filename());
            std::string text = other.read(name);
            if (name.ends_with(".gz"))
            {
                EXPECT_TRUE(KFramework::KFileSystem::UncompressFileToText(other.text(name).c_str(), text));
            }
            lines += lines_of(text).size();
        }
        EXPECT_EQ(lines, 1000u);
    }
}

TEST_F(CheckLogRotationTest, WaitsUntilTheRotatedNameIsFree)
{
    for (const std::string taken :
         {"1709683200.03.05.2024.default.log", "1709683200.03.05.2024.default.log.gz"})
    {
        folder.write("default.log", kSeed);
        folder.write(taken, "precious");
        held_clock clock(kMarchSixth);
        rotate_by(2);
        add("into the old file");
        EXPECT_TRUE(called_with.empty());
        EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"seed", "into the old file"}));
        clock.set(kMarchSixth + 1);
        add("into the new file");
        EXPECT_EQ(called_with, std::vector<std::string>{folder.text("1709683201.03.05.2024.default.log")});
        EXPECT_EQ(messages_of(log()), std::vector<std::string>{"into the new file"});
        EXPECT_EQ(folder.read(taken), "precious");
        destroy();
        std::filesystem::remove(folder.entry("1709683201.03.05.2024.default.log"));
        std::filesystem::remove(folder.entry(taken));
        called_with.clear();
    }
}

DWORD WINAPI refuse_to_look(LPCWSTR)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_FILE_ATTRIBUTES;
}

TEST_F(CheckLogRotationTest, TakesANameThatCannotBeLookedUpForTaken)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2);
    {
        const import_hook hook("GetFileAttributesW", &refuse_to_look);
        add("into the old file");
    }
    EXPECT_TRUE(called_with.empty());
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"seed", "into the old file"}));
    add("into the new file");
    EXPECT_EQ(called_with.size(), 1u);
    EXPECT_EQ(messages_of(log()), std::vector<std::string>{"into the new file"});
}

std::string appearing;

/// The file appears right after it was looked for and not found.
DWORD WINAPI look_too_early(LPCWSTR path)
{
    const DWORD attributes = ::GetFileAttributesW(path);
    const DWORD error = ::GetLastError();
    if (utf8_path(appearing) == path)
        std::ofstream(utf8_path(appearing), std::ios::binary) << "precious";
    ::SetLastError(error);
    return attributes;
}

TEST_F(CheckLogRotationTest, NeverMovesOntoAFileThatAppearsAtTheLastMoment)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2);
    appearing = folder.text("1709683200.03.05.2024.default.log");
    const import_hook hook("GetFileAttributesW", &look_too_early);
    add("into the old file");
    EXPECT_EQ(folder.read("1709683200.03.05.2024.default.log"), "precious");
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"seed", "into the old file"}));
}

TEST_F(CheckLogRotationTest, WorksInAFolderThatNoCodePageCanName)
{
    const std::string name = "\xE2\x82\xAC\xE6\x97\xA5\xE6\x9C\xAC";
    std::filesystem::create_directory(folder.entry(name));
    folder.write(name + "\\default.log", kSeed);
    const held_clock clock(kMarchSixth);
    SetLoggerBasePath(&logger, folder.text(name));
    CreateLogger(&logger, kInfo, kFile);
    SetLoggerRotation(&logger, 2);
    SetLoggerRotationCompress(&logger, true);
    add("new");
    DestroyLogger(&logger);
    std::string packed = folder.read(name + "\\1709683200.03.05.2024.default.log.gz");
    std::string text;
    EXPECT_TRUE(KFramework::KFileSystem::UncompressBufferToText(packed.data(), packed.size(), text));
    EXPECT_EQ(text, kSeed);
    EXPECT_EQ(messages_of(folder.read(name + "\\default.log")), std::vector<std::string>{"new"});
}

FILE* __cdecl refuse_writing(const wchar_t* path, const wchar_t* mode)
{
    return mode[0] == L'w' ? nullptr : ::_wfsopen(path, mode, _SH_DENYNO);
}

// KEPT[failed-compression]
TEST_F(CheckLogRotationTest, GoesOnAfterAFailedCompressionAsIfItHadWorked)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2, true);
    const import_hook hook("_wfopen", &refuse_writing);
    add("new");
    EXPECT_EQ(called_with, std::vector<std::string>{folder.text("1709683200.03.05.2024.default.log.gz")});
    EXPECT_EQ(names(), std::set<std::string>{"default.log"});
    EXPECT_EQ(messages_of(log()), std::vector<std::string>{"new"});
}

int opened_wide = 0;
int inheritable = 0;

FILE* __cdecl note_inheritance(const wchar_t* path, const wchar_t* mode)
{
    FILE* const file = ::_wfsopen(path, mode, _SH_DENYNO);
    DWORD flags = 0;
    ++opened_wide;
    if (file == nullptr ||
        !::GetHandleInformation(reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(file))), &flags) ||
        (flags & HANDLE_FLAG_INHERIT) != 0)
        ++inheritable;
    return file;
}

TEST_F(CheckLogRotationTest, CompressesThroughFilesThatNoChildInherits)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2, true);
    const import_hook hook("_wfopen", &note_inheritance);
    opened_wide = inheritable = 0;
    add("new");
    EXPECT_EQ(opened_wide, 2); // the plain file and the packed one
    EXPECT_EQ(inheritable, 0);
}

TEST_F(CheckLogRotationTest, LosesNothingWhenAnotherProcessKeepsTheFileFromMoving)
{
    for (const bool compress : {false, true})
    {
        const std::string rotated =
            std::string("1709683200.03.05.2024.default.log") + (compress ? ".gz" : "");
        folder.write("default.log", kSeed);
        const held_clock clock(kMarchSixth);
        rotate_by(2, compress);
        child holder("hold_file", {folder.text("default.log")});
        holder.wait_for("held");
        add("first");
        add("second");
        EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"seed", "first", "second"}));
        EXPECT_EQ(called_with, std::vector<std::string>{folder.text(rotated)});
        EXPECT_FALSE(names().contains("1709683200.03.05.2024.default.log"));
        called_with.clear();
        destroy();
    }
}

HANDLE WINAPI refuse_to_open(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)
{
    ::SetLastError(ERROR_ACCESS_DENIED);
    return INVALID_HANDLE_VALUE;
}

TEST_F(CheckLogRotationTest, GoesOnWithTheConsoleWhenTheLogCannotBeOpenedAnew)
{
    folder.write("default.log", kSeed);
    held_clock clock(kMarchSixth);
    rotate_by(2);
    logger.outputFlags = kConsole | kFile;
    captured_output console(captured_output::stream::output);
    {
        const import_hook hook("CreateFileW", &refuse_to_open);
        add("shown");
    }
    EXPECT_EQ(logger.fileHandle, nullptr);
    EXPECT_EQ(called_with.size(), 1u);
    add("shown too");
    EXPECT_NE(console.text().find("shown too\n"), std::string::npos);
    EXPECT_FALSE(names().contains("default.log"));

    clock.set(kMarchSixth + kDay);
    KFramework::KProcesses::LockMutex(logger.writeMutex);
    CheckLogRotation(&logger);
    KFramework::KProcesses::UnlockMutex(logger.writeMutex);
    add("in the file again");
    EXPECT_EQ(messages_of(log()), std::vector<std::string>{"in the file again"});
}

int give_a_result(const char* path)
{
    called_with.emplace_back(path);
    return -1;
}

// KEPT[callback-result]
TEST_F(CheckLogRotationTest, IgnoresWhatTheCallbackReturns)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2);
    SetLoggerRotationCallback(&logger, reinterpret_cast<void*>(&give_a_result));
    add("new");
    EXPECT_EQ(called_with.size(), 1u);
    EXPECT_EQ(messages_of(log()), std::vector<std::string>{"new"});
}

TEST_F(CheckLogRotationTest, WritesWhatTheCallbackLogsRightAfterTheEntry)
{
    for (const bool detached : {false, true})
    {
        folder.write("default.log", kSeed);
        held_clock clock(kMarchSixth);
        rotate_by(2);
        inside_callback = [&]
        {
            AddLogEntry(&logger, kInfo, "Test", "from the callback %d", 1);
            AddLogEntry(&logger, kExtended, "Test", "above the level");
            AddLogEntry(&logger, kInfo, "Test", "from the callback %d", 2);
            FlushDetachedThread(&logger);
            SetLoggerDetachedStatus(&logger, !detached);
            CheckLogRotation(&logger);
        };
        SetLoggerDetachedStatus(&logger, detached);
        add("entry");
        FlushDetachedThread(&logger);
        add("next");
        destroy();
        EXPECT_EQ(messages_of(log()),
                  (std::vector<std::string>{"entry", "from the callback 1", "from the callback 2", "next"}));
        std::filesystem::remove(folder.entry("1709683200.03.05.2024.default.log"));
        EXPECT_EQ(called_with.size(), 1u);
        called_with.clear();
    }
}

TEST_F(CheckLogRotationTest, EndsThoughTheCallbackLogsAndFreesTheNameEachTime)
{
    folder.write("default.log", kSeed);
    rotate_by(2);
    store_server_time(kMarchSixth); // every line looks due: the live clock is years ahead
    inside_callback = [&]
    {
        std::filesystem::remove(utf8_path(called_with.back()));
        add("from the callback");
    };
    add("entry");
    EXPECT_EQ(called_with.size(), 1u);
    EXPECT_EQ(messages_of(log()), (std::vector<std::string>{"entry", "from the callback"}));
}

TEST_F(CheckLogRotationTest, CanBeCalledByTheHostUnderTheWriteMutex)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2);
    inside_callback = [&] { add("from the callback"); };
    KFramework::KProcesses::LockMutex(logger.writeMutex);
    CheckLogRotation(&logger);
    CheckLogRotation(&logger);
    KFramework::KProcesses::UnlockMutex(logger.writeMutex);
    EXPECT_EQ(called_with.size(), 1u);
    EXPECT_EQ(messages_of(log()), std::vector<std::string>{"from the callback"});
}

TEST_F(CheckLogRotationTest, KeepsTheNamesOfCreateLogger)
{
    folder.write("default.log", kSeed);
    const held_clock clock(kMarchSixth);
    rotate_by(2);
    SetLoggerFile(&logger, "later.log");
    SetLoggerBasePath(&logger, folder.text("later"));
    add("new");
    EXPECT_EQ(names(), (std::set<std::string>{"1709683200.03.05.2024.default.log", "default.log"}));
}

TEST_F(CheckLogRotationTest, IsNotReachedWithoutTheFileFlag)
{
    const held_clock clock(kMarchSixth);
    create(kInfo, 0);
    SetLoggerRotation(&logger, 2);
    add("x");
    EXPECT_TRUE(names().empty());
}
} // namespace
