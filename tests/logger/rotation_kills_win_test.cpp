/// A rotation whose program ends at each of its calls to the system in turn, and the next start of the logger.

#include "tests/children/killed_rotation.h"
#include "tests/support/child_win.h"
#include "tests/logger/clocks_win.h"
#include "tests/logger/log_leftovers_win.h"

#include <cstdio>
#include <deque>
#include <memory>
#include <sstream>

namespace
{
using namespace kf::test;
using namespace KFramework::KLogger;

constexpr DWORD kTrapped = 77;

/// One program, ended at one call, in a folder of its own.
struct killed_rotation
{
    killed_rotation(bool compress, int call)
        : number(call),
          program("kill_in_rotation", {folder.text(), compress ? "1" : "0", std::to_string(call)})
    {
    }

    int number;
    temporary_folder folder;
    child program;
};

class KilledRotation : public testing::TestWithParam<bool>
{
protected:
    static void SetUpTestSuite() { KFramework::InitializeLibrary(nullptr); }

    static log_leftovers leftovers_of(const temporary_folder& folder)
    {
        return read_leftovers(folder, "default.log", &killed_rotation_message);
    }

    /// @param optional  a line that may be there once or not at all.
    static void expect_lines(const log_leftovers& leftovers, int end, int optional)
    {
        for (int line = 0; line < end; ++line)
            if (line != optional)
            {
                EXPECT_TRUE(leftovers.found.contains(line)) << "line " << line << " is lost";
            }
        for (const auto& [line, count] : leftovers.found)
            EXPECT_TRUE(count == 1 && line >= 0 && line < end) << count << " times line " << line;
    }

    /// Starts the logger on what is left, at the moment of the kill, and lets it rotate.
    ///
    /// @param line  the first line to log.
    /// @return  the line after the last.
    static int log_again(const temporary_folder& folder, int line)
    {
        held_clock clock(kKilledRotationStart + kHourSeconds);
        CKLoggerInstance logger;
        SetLoggerBasePath(&logger, folder.text());
        CreateLogger(&logger, kInfo, kFile);
        SetLoggerRotation(&logger, 1);
        SetLoggerRotationCompress(&logger, GetParam());
        const auto add = [&]
        { AddLogEntry(&logger, kInfo, "Test", "%s", killed_rotation_message(line++).c_str()); };
        add();
        // As if the period of the killed rotation had to end once more: its names must not be used twice.
        long long started = kKilledRotationStart;
        KFramework::LocalTime_R(&started, &logger.logStartTime);
        add();
        clock.set(kKilledRotationStart + 2 * kHourSeconds);
        add();
        clock.set(kKilledRotationStart + 3 * kHourSeconds);
        add();
        DestroyLogger(&logger);
        return line;
    }

    static std::vector<std::string> calls_of_rotation()
    {
        killed_rotation whole(GetParam(), -1);
        std::istringstream said(whole.program.everything());
        std::vector<std::string> calls;
        for (std::string name; std::getline(said, name);)
            calls.push_back(name.substr(0, name.find('\r')));
        EXPECT_EQ(whole.program.wait(), 0u);
        expect_lines(leftovers_of(whole.folder), kLinesBeforeRotation + 1, -1);
        return calls;
    }
};

TEST_P(KilledRotation, LosesNoLineWhicheverCallItEndsAt)
{
    constexpr std::size_t kAtOnce = 3;
    const std::vector<std::string> calls = calls_of_rotation();
    const int points = static_cast<int>(calls.size()) + 1; // before each call, and after the last
    int ignored = 0;
    int packed = 0;
    int without_log = 0;
    std::deque<std::unique_ptr<killed_rotation>> running;
    for (int point = 0; point < points; ++point)
    {
        while (running.size() < kAtOnce && point + static_cast<int>(running.size()) < points)
            running.push_back(
                std::make_unique<killed_rotation>(GetParam(), point + static_cast<int>(running.size())));
        killed_rotation& killed = *running.front();
        SCOPED_TRACE("ended " + (point + 1 < points ? "before call " + std::to_string(point) + ", " +
                                                          calls[static_cast<std::size_t>(point)]
                                                    : std::string("after the last call")));
        ASSERT_EQ(killed.number, point);
        ASSERT_EQ(killed.program.wait(), kTrapped);

        const log_leftovers leftovers = leftovers_of(killed.folder);
        expect_lines(leftovers, kLinesBeforeRotation + 1, kLinesBeforeRotation);
        ignored += leftovers.ignored;
        packed += leftovers.packed;
        without_log += std::filesystem::exists(killed.folder.entry("default.log")) ? 0 : 1;

        const int end = log_again(killed.folder, kLinesBeforeRotation + 1);
        const log_leftovers after = leftovers_of(killed.folder);
        expect_lines(after, end, kLinesBeforeRotation);
        EXPECT_GT(after.rotated.size(), leftovers.rotated.size()) << "the log did not rotate again";
        running.pop_front();
    }
    std::printf(
        "%s: ended at %d points of a rotation; %d times the log itself was gone, %d compressed files were "
        "ignored beside their plain file, %d were whole\n",
        GetParam() ? "compressing" : "not compressing", points, without_log, ignored, packed);
    EXPECT_GT(points, GetParam() ? 30 : 8);
    EXPECT_GT(without_log, 0);
    EXPECT_EQ(ignored > 0, GetParam());
}

INSTANTIATE_TEST_SUITE_P(Compressing, KilledRotation, testing::Bool());
} // namespace
