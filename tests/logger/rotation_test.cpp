#include "KFramework/logger/rotation.h"

#include <gtest/gtest.h>

#include <map>
#include <set>
#include <string>
#include <vector>

namespace
{
using namespace kf::logger;

/// Notes what is asked for; every step may have failed, for all rotate() can see.
class noting_port final : public rotation_port
{
public:
    bool exists(const std::string& path) override
    {
        steps.push_back("exists " + path);
        return taken.contains(path);
    }
    void close_log() override { steps.emplace_back("close"); }
    void move(const std::string& from, const std::string& to) override
    {
        steps.push_back("move " + from + " " + to);
    }
    void compress(const std::string& from, const std::string& to) override
    {
        steps.push_back("compress " + from + " " + to);
    }
    void remove(const std::string& path) override { steps.push_back("remove " + path); }
    void open_log(const std::string& path) override { steps.push_back("open " + path); }

    std::set<std::string> taken;
    std::vector<std::string> steps;
};

const log_location kLog{"C:\\l", "d.log"};

rotation_request daily_request(bool compress)
{
    rotation_request request{2, compress, {}, {}, 77};
    request.start.tm_year = request.now.tm_year = 124;
    request.start.tm_mon = request.now.tm_mon = 2;
    request.start.tm_mday = 5;
    request.now.tm_mday = 6;
    return request;
}

// KEPT[period-that-ends]
TEST(Rotate, MovesTheLogAsideAndOpensItAnew)
{
    noting_port port;
    EXPECT_EQ(rotate(port, kLog, daily_request(false)), "C:\\l\\77.03.05.2024.d.log");
    EXPECT_EQ(port.steps, (std::vector<std::string>{
                              "exists C:\\l\\77.03.05.2024.d.log", "exists C:\\l\\77.03.05.2024.d.log.gz",
                              "close", "move C:\\l\\d.log C:\\l\\77.03.05.2024.d.log", "open C:\\l\\d.log"}));
}

// KEPT[failed-compression]
TEST(Rotate, CompressesThenRemovesThePlainFileWhateverCameOfIt)
{
    noting_port port;
    EXPECT_EQ(rotate(port, kLog, daily_request(true)), "C:\\l\\77.03.05.2024.d.log.gz");
    EXPECT_EQ(port.steps, (std::vector<std::string>{
                              "exists C:\\l\\77.03.05.2024.d.log", "exists C:\\l\\77.03.05.2024.d.log.gz",
                              "close", "move C:\\l\\d.log C:\\l\\77.03.05.2024.d.log",
                              "compress C:\\l\\77.03.05.2024.d.log C:\\l\\77.03.05.2024.d.log.gz",
                              "remove C:\\l\\77.03.05.2024.d.log", "open C:\\l\\d.log"}));
}

TEST(Rotate, TouchesNothingWhileThePeriodLasts)
{
    noting_port port;
    rotation_request request = daily_request(false);
    request.now = request.start;
    EXPECT_EQ(rotate(port, kLog, request), std::nullopt);
    EXPECT_TRUE(port.steps.empty());
}

TEST(Rotate, LeavesTheLogOpenWhileEitherNameIsTaken)
{
    for (const bool compress : {false, true})
        for (const char* taken : {"C:\\l\\77.03.05.2024.d.log", "C:\\l\\77.03.05.2024.d.log.gz"})
        {
            noting_port port;
            port.taken = {taken};
            EXPECT_EQ(rotate(port, kLog, daily_request(compress)), std::nullopt);
            for (const std::string& step : port.steps)
                EXPECT_TRUE(step.starts_with("exists ")) << step;

            rotation_request later = daily_request(compress);
            ++later.server_seconds;
            EXPECT_TRUE(rotate(port, kLog, later)) << "the next second's name is free";
        }
}

TEST(Rotate, NeverDestroysALineWhileTheServerTimeStandsStill)
{
    // A model of the folder: every line goes to the log, rotation looks due at each, and the clock never ticks.
    class folder final : public rotation_port
    {
    public:
        bool exists(const std::string& path) override { return files.contains(path); }
        void close_log() override {}
        void move(const std::string& from, const std::string& to) override
        {
            files[to] = files[from]; // as MvFile: replaces
            files.erase(from);
        }
        void compress(const std::string& from, const std::string& to) override { files[to] = files[from]; }
        void remove(const std::string& path) override { files.erase(path); }
        void open_log(const std::string& path) override { files[path]; }
        std::map<std::string, int> files;
    };
    for (const bool compress : {false, true})
    {
        folder port;
        for (int line = 0; line < 1000; ++line)
        {
            rotate(port, kLog, daily_request(compress));
            ++port.files[kLog.path()];
        }
        int kept = 0;
        for (const auto& [name, lines] : port.files)
            kept += lines;
        EXPECT_EQ(kept, 1000);
    }
}
} // namespace
