// What a worker makes of its renderer: priority, processors, and its end with everything it has started.

#include "KFramework/socket.h" // before <windows.h>

#include "farm_fixture_win.h"

#include "KFramework/core.h"
#include "KFramework/process.h"
#include "scheduling.h"
#include "tests/support/children.h"

#include <vector>

using namespace farm_test;

namespace
{
/// A process that was there; its id cannot become another's while this lives.
class seen_process
{
public:
    explicit seen_process(unsigned long id)
        : id_(id), handle_(::OpenProcess(SYNCHRONIZE | PROCESS_QUERY_INFORMATION, FALSE, id))
    {
        EXPECT_NE(handle_, nullptr) << id;
    }
    ~seen_process() { ::CloseHandle(handle_); }
    seen_process(const seen_process&) = delete;
    seen_process& operator=(const seen_process&) = delete;

    unsigned long id() const { return id_; }
    DWORD priority() const { return ::GetPriorityClass(handle_); }
    bool ended() const { return ::WaitForSingleObject(handle_, 0) == WAIT_OBJECT_0; }

private:
    unsigned long id_;
    HANDLE handle_;
};

/// The ids behind a word in the server's log, which holds the renderers' output.
std::vector<unsigned long> ids_behind(const std::string& word, const std::string& log)
{
    std::vector<unsigned long> ids;
    for (auto at = log.find(word); at != std::string::npos; at = log.find(word, at + word.size()))
        ids.push_back(std::stoul(log.substr(at + word.size())));
    return ids;
}
} // namespace

TEST_F(Farm, RunsTheRendererAsToldAndEndsItWithEverythingItStarted)
{
    namespace processes = KFramework::KProcesses;
    folder.write("farm.conf", conf_with_key("[worker]\npriority = idle\nprocessors = 0\n"));
    program_run server("farm_server", server_arguments("--frames 1 --limit 2 --tries 1"));
    const std::string renderer = quoted(kf::test::child_program("render_forever"));
    program_run ada("farm_worker", worker_arguments(port(), "ada", "--renderer " + renderer));
    std::vector<unsigned long> ids;
    const auto all_there = [&]
    {
        ids = ids_behind("tree ", folder.read("farm_server.log"));
        return ids.size() == 3;
    };
    ASSERT_TRUE(wait_until(all_there)) << folder.read("farm_server.log");
    const seen_process root(ids[0]);
    const seen_process below(ids[1]);
    const seen_process lowest(ids[2]);
    EXPECT_EQ(processes::GetParentPid(lowest.id()), below.id());
    EXPECT_EQ(processes::GetParentPid(below.id()), root.id());
    EXPECT_EQ(root.priority(), static_cast<DWORD>(IDLE_PRIORITY_CLASS));
    for (const seen_process* const one : {&root, &below, &lowest})
    {
        EXPECT_EQ(processes::GetProcessAffinityMask(one->id()), 1U);
        EXPECT_FALSE(one->ended());
    }

    EXPECT_EQ(server.wait(), 1U) << server.output();
    EXPECT_EQ(ada.wait(), 0U) << ada.output();
    EXPECT_NE(folder.read("farm_server.log").find("(try 1 of 1): the renderer took more than 2 seconds"),
              std::string::npos);
    EXPECT_EQ(folder.read("farm_server.log").find("knows the password"), std::string::npos);
    EXPECT_TRUE(wait_until([&] { return root.ended() && below.ended() && lowest.ended(); }));
}

TEST_F(Farm, StopsAWorkerWhoseRendererCannotRunAsTold)
{
    folder.write("farm.conf", "[worker]\nport = 1\npriority = fast\n");
    program_run hasty("farm_worker", "--log-folder " + quoted(folder.text()) + configuration());
    EXPECT_EQ(hasty.wait(), 2U);
    EXPECT_TRUE(
        hasty.output().ends_with(": priority in section [worker] is wrong: the priority must be idle, "
                                 "normal or high, not \"fast\"\n"))
        << hasty.output();
    folder.write("farm.conf", "[worker]\nport = 1\n");
    const int there = KFramework::GetProcessorsThreadsCount();
    program_run wide("farm_worker",
                     "--log-folder " + quoted(folder.text()) + configuration() + " --processors 0-63");
    EXPECT_EQ(wide.wait(), there < 64 ? 2U : 3U);
    EXPECT_EQ(wide.output(),
              "farm_worker: " +
                  (there < 64 ? farm::lacking_processors(~0ULL, there) : "cannot reach 127.0.0.1:1") + "\n");
    program_run vague("farm_worker",
                      "--log-folder " + quoted(folder.text()) + configuration() + " --processors some");
    EXPECT_EQ(vague.wait(), 2U);
    EXPECT_EQ(vague.output(), "farm_worker: the processors must be all or a list like 0-3,6, not \"some\"\n");
}
