/// Logs whose program is killed at random moments.

#include "tests/children/killed_log.h"
#include "tests/logger/log_leftovers_win.h"
#include "tests/support/child_win.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <deque>
#include <memory>
#include <random>
#include <stdexcept>
#include <thread>

namespace
{
using namespace kf::test;

constexpr int kKills = 200;

/// The record in memory that the killed programs map too.
class shared_record
{
public:
    shared_record()
    {
        mapping_.reset(::CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0,
                                            sizeof(kill_record), utf8_path(name()).c_str()));
        record_ = static_cast<kill_record*>(
            ::MapViewOfFile(mapping_.get(), FILE_MAP_ALL_ACCESS, 0, 0, sizeof(kill_record)));
        if (record_ == nullptr)
            throw std::runtime_error("no shared memory");
        record_->life = -1;
    }
    ~shared_record() { ::UnmapViewOfFile(record_); }
    shared_record(const shared_record&) = delete;
    shared_record& operator=(const shared_record&) = delete;

    [[nodiscard]] std::string name() const
    {
        return "kf-killed-logs-" + std::to_string(::GetCurrentProcessId());
    }
    kill_record* operator->() const { return record_; }

private:
    kf::platform::unique_handle mapping_;
    kill_record* record_ = nullptr;
};

/// What is known of one log over all lives of its program.
struct log_history
{
    killed_log_kind kind;
    std::set<int> current{}; ///< lines that the last life left in the log itself
    int late = 0;    ///< the line that the last life was at: Wine tells of a death while the system may still
                     ///< be at the last write, whose line can come after the log has been read
    int checked = 0; ///< lines whose AddLogEntry had returned
    int killed_rotating = 0;
    int ignored = 0;
    int packed = 0;
};

class KilledLogs : public testing::Test
{
protected:
    static void SetUpTestSuite() { KFramework::InitializeLibrary(nullptr); }

    std::unique_ptr<child> start(int life)
    {
        return std::unique_ptr<child>(
            new child("log_until_killed", {record.name(), std::to_string(life), folder.text()}));
    }

    /// Whether every log of the living program has got some lines.
    [[nodiscard]] bool all_have_lines(int count)
    {
        return wait_until(
            [&]
            {
                return std::all_of(std::begin(record->logs), std::end(record->logs),
                                   [&](const killed_log& log)
                                   { return log.returned >= log.first + count - 1; });
            });
    }

    /// Compares the files of a log with what its killed program had been promised, and takes the rotated ones away.
    void check(log_history& history)
    {
        const std::string file = kKilledLogFiles[history.kind];
        SCOPED_TRACE(file);
        killed_log& log = record->logs[history.kind];
        const log_leftovers leftovers =
            read_leftovers(folder, file, [&](int line) { return killed_message(history.kind, line); });

        std::set<int> promised = history.current;
        for (int line = log.first; line <= log.returned; ++line)
            promised.insert(line);
        if (history.kind == kDetachedLog)
            drop_unwritten(promised, leftovers.found);
        for (const int line : promised)
            EXPECT_TRUE(leftovers.found.contains(line)) << "line " << line << " is lost";
        for (const auto& [line, count] : leftovers.found)
        {
            EXPECT_EQ(count, 1) << "line " << line;
            EXPECT_TRUE(promised.contains(line) || line == log.returned + 1 || line == history.late)
                << "line " << line << " came from nowhere, " << log.first << " to " << log.returned
                << " had returned";
        }

        history.checked += log.returned - log.first + 1;
        history.killed_rotating += log.rotating;
        history.ignored += leftovers.ignored;
        history.packed += leftovers.packed;
        history.current = leftovers.current;
        for (const std::string& name : leftovers.rotated)
            std::filesystem::remove(folder.entry(name));
        history.late = log.returned + 1;
        log.first = log.returned + 2;
        log.returned = log.first - 1;
    }

    /// What was still queued may be missing: the last lines, without a gap before them.
    static void drop_unwritten(std::set<int>& promised, const std::map<int, int>& found)
    {
        while (!promised.empty() && !found.contains(*promised.rbegin()))
            promised.erase(std::prev(promised.end()));
    }

    temporary_folder folder;
    shared_record record;
    std::mt19937 random{20240305};
};

TEST_F(KilledLogs, HoldEveryLineWhoseEntryReturnedInOneFile)
{
    constexpr int kStartedAhead = 2; // programs that load while another one logs
    log_history histories[] = {{kPlainLog}, {kPackedLog}, {kDetachedLog}};
    for (killed_log& log : record->logs)
        log.returned = log.first - 1;
    std::deque<std::unique_ptr<child>> programs;
    for (int life = 0; life < kKills && !HasFailure(); ++life)
    {
        SCOPED_TRACE("life " + std::to_string(life));
        while (static_cast<int>(programs.size()) <= kStartedAhead)
            programs.push_back(start(life + static_cast<int>(programs.size())));
        record->life = life;
        ASSERT_TRUE(all_have_lines(2));
        const auto end = std::chrono::steady_clock::now() + std::chrono::microseconds(random() % 25'000);
        while (std::chrono::steady_clock::now() < end)
            std::this_thread::yield();
        programs.front()->kill();
        programs.pop_front();
        for (log_history& history : histories)
            check(history);
    }
    for (const log_history& history : histories)
    {
        const int rotations = record->logs[history.kind].rotations;
        std::printf(
            "%s: %d kills, %d lines checked, %d compressed files read, %d ignored beside their plain file\n",
            kKilledLogFiles[history.kind], kKills, history.checked, history.packed, history.ignored);
        if (history.kind == kDetachedLog)
            continue; // its entries do not tell when it rotates
        std::printf("    %d kills fell into a rotation, %d rotations came to their end\n",
                    history.killed_rotating, rotations);
        EXPECT_GT(history.killed_rotating, kKills / 20);
        EXPECT_GT(rotations, kKills / 20);
    }
}
} // namespace
