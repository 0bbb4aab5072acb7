#pragma once
/// A logger in a folder of its own, and the clocks a test moves.

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace kf::test
{
constexpr int kSevere = 1;
constexpr int kInfo = 2;
constexpr int kExtended = 3;
constexpr int kDebug = 4;

constexpr int kConsole = 2;
constexpr int kFile = 4;

/// Cuts a log into its lines without their endings; a last line that has none fails the test.
[[nodiscard]] inline std::vector<std::string> lines_of(const std::string& log)
{
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (std::size_t end; (end = log.find("\r\n", begin)) != std::string::npos; begin = end + 2)
        lines.push_back(log.substr(begin, end - begin));
    EXPECT_EQ(begin, log.size()) << "a torn line at the end";
    return lines;
}

/// What follows the prefix of a line whose module is "Test".
[[nodiscard]] inline std::string message_of(const std::string& line)
{
    constexpr std::string_view kModule = "] [Test] ";
    const std::size_t at = line.find(kModule);
    EXPECT_NE(at, std::string::npos) << line;
    return at == std::string::npos ? "" : line.substr(at + kModule.size());
}

[[nodiscard]] inline std::vector<std::string> messages_of(const std::string& log)
{
    std::vector<std::string> messages;
    for (const std::string& line : lines_of(log))
        messages.push_back(message_of(line));
    return messages;
}

class LoggerTest : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        static const bool initialised = (KFramework::InitializeLibrary(nullptr), true);
        (void)initialised;
        KFramework::UpdateServerTime();
    }

    ~LoggerTest() override { destroy(); }

    void create(int level, int flags)
    {
        KFramework::KLogger::SetLoggerBasePath(&logger, folder.text());
        KFramework::KLogger::CreateLogger(&logger, level, flags);
        created_ = true;
    }

    void destroy()
    {
        if (created_)
            KFramework::KLogger::DestroyLogger(&logger);
        created_ = false;
    }

    /// The log as it is on disk.
    std::string log() { return folder.read("default.log"); }

    temporary_folder folder;
    KFramework::KLogger::CKLoggerInstance logger;

private:
    bool created_ = false;
};
} // namespace kf::test
