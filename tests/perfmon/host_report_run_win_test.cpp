/// examples/host_report as a script runs it, with its output in a pipe.

#include "tests/support/program_run_win.h"

#include "KFramework/core.h"
#include "examples/host_report/amounts.h"
#include "tests/support/winsock_session_win.h"

#include <algorithm>
#include <map>
#include <memory>
#include <regex>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

using kf::test::program_run;

namespace
{
/// All runs at once: most of their time is waiting.
class HostReport : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        for (const char* arguments : {kOnce, kTwice, kHelp, kUncounted, kUnknown})
            runs_[arguments] = std::make_unique<program_run>("host_report", arguments);
    }
    static void TearDownTestSuite() { runs_.clear(); }

    /// Exit code and output of the run with these arguments.
    static std::pair<unsigned long, std::string> outcome(const char* arguments)
    {
        program_run& run = *runs_.at(arguments);
        const unsigned long code = run.wait().value_or(99);
        return {code, run.output()};
    }

    static constexpr const char* kOnce = "";
    static constexpr const char* kTwice = "--watch --count 2";
    static constexpr const char* kHelp = "--help";
    static constexpr const char* kUncounted = "--count 2";
    static constexpr const char* kUnknown = "--watch once";

private:
    static inline std::map<std::string, std::unique_ptr<program_run>> runs_;
};

std::vector<std::string> lines_of(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

/// What stands behind a label at the beginning of a line, without the blanks between.
std::string behind(const std::string& label, const std::string& text)
{
    for (const std::string& line : lines_of(text))
        if (line.rfind(label + "  ", 0) == 0)
            return line.substr(line.find_first_not_of(' ', label.size()));
    return "(no line begins with " + label + ")";
}

void expect_no_control_codes(const std::string& text)
{
    EXPECT_TRUE(std::all_of(text.begin(), text.end(),
                            [](char c) { return c == '\n' || static_cast<unsigned char>(c) >= ' '; }))
        << text;
}

int lines_that_begin(const std::string& text, const std::string& label)
{
    const auto lines = lines_of(text);
    return static_cast<int>(std::count_if(
        lines.begin(), lines.end(), [&](const std::string& line) { return line.rfind(label, 0) == 0; }));
}
} // namespace

TEST_F(HostReport, TellsWhatTheSystemSaysOfThisHost)
{
    const auto [code, text] = outcome(kOnce);
    EXPECT_EQ(code, 0u);

    const kf::test::winsock_session session;
    char name[255] = {};
    ASSERT_EQ(::gethostname(name, sizeof name), 0);
    EXPECT_EQ(behind("Host", text), name);
    SYSTEM_INFO system{};
    ::GetSystemInfo(&system);
    EXPECT_EQ(behind("Threads", text), std::to_string(system.dwNumberOfProcessors));
    MEMORYSTATUSEX memory{};
    memory.dwLength = sizeof memory;
    ASSERT_TRUE(::GlobalMemoryStatusEx(&memory));
    EXPECT_NE(behind("RAM", text).find(" " + host_report::bytes(memory.ullTotalPhys) + " "),
              std::string::npos)
        << text;
    EXPECT_NE(
        behind("Swap (own address space)", text).find(" " + host_report::bytes(memory.ullTotalVirtual) + " "),
        std::string::npos)
        << text;

    EXPECT_EQ(behind("Platform", text).rfind("Windows ", 0), 0u) << text;
    EXPECT_GE(std::stoi(behind("Packages", text)), 1);
    EXPECT_TRUE(std::regex_match(behind("Speed", text), std::regex("[0-9.]+ GHz|unknown"))) << text;
    EXPECT_TRUE(std::regex_match(behind("Network addresses", text),
                                 std::regex("([0-9a-f]{2}:){5}[0-9a-f]{2}|-|unknown")))
        << text;
    EXPECT_TRUE(std::regex_match(behind("Logged on", text),
                                 std::regex("[0-9]+ at the console, [0-9]+ remote|unknown")))
        << text;
}

TEST_F(HostReport, HasEverySectionOnceAndNoBars)
{
    const auto [code, text] = outcome(kOnce);
    EXPECT_EQ(code, 0u);
    for (const char* label : {"Host", "Processor", "Cores per package", "Graphics", "Memory",
                              "Network interface", "Disk", "Core  "})
        EXPECT_EQ(lines_that_begin(text, label), 1) << label << " in\n" << text;
    EXPECT_EQ(text.find('['), std::string::npos) << text;
    const std::string cores = text.substr(text.find("\nCore  ") + 1);
    EXPECT_EQ(std::count(cores.begin(), cores.end(), '\n'), 1 + KFramework::GetProcessorsThreadsCount());
    expect_no_control_codes(text);
}

TEST_F(HostReport, RepeatsItselfWithBarsWhenItWatches)
{
    const auto [code, text] = outcome(kTwice);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(lines_that_begin(text, "Host "), 2) << text;
    EXPECT_EQ(lines_that_begin(text, "Core  "), 2) << text;
    EXPECT_NE(text.find("\n\nHost "), std::string::npos) << "no empty line between the two";
    EXPECT_TRUE(std::regex_search(behind("RAM", text), std::regex("[0-9.]+%  \\[#*\\.*\\]$"))) << text;
    expect_no_control_codes(text);
}

TEST_F(HostReport, RefusesWhatItDoesNotUnderstandInOneLine)
{
    using one_line = std::pair<unsigned long, std::string>;
    EXPECT_EQ(outcome(kUncounted), one_line(2, "host_report: --count goes with --watch\n"));
    EXPECT_EQ(outcome(kUnknown),
              one_line(2, "host_report: 'once' means nothing here; --help tells what does\n"));
}

TEST_F(HostReport, HelpsOnStandardOutput)
{
    const auto [code, text] = outcome(kHelp);
    EXPECT_EQ(code, 0u);
    EXPECT_EQ(text.rfind("usage: host_report [--watch [--count N]]\n", 0), 0u) << text;
    EXPECT_EQ(text.back(), '\n');
}
