#pragma once
/// A program of the examples as a test runs it.

#include "KFramework/socket.h" // before <windows.h>

#include "KFramework/process.h"

#include <optional>
#include <string>

namespace kf::test
{
/// One program with its output gathered; ended with the object if it still runs.
class program_run
{
public:
    program_run(const std::string& name, const std::string& arguments);
    ~program_run();
    program_run(const program_run&) = delete;
    program_run& operator=(const program_run&) = delete;

    /// Gives it its standard input; nothing comes after it.
    void say(const std::string& text);

    /// Waits, up to a minute, for the end; fails the test and gives nothing when it does not come.
    std::optional<unsigned long> wait();

    /// Ends it at once, as a crash would.
    void kill();

    bool running();

    /// Everything it has written so far, standard error included, with "\n" line ends.
    const std::string& output();

private:
    KFramework::KProcesses::KPipesHandles* pipes_;
    KFramework::KProcesses::KProcess* process_;
    KFramework::KProcesses::KPipeReader* reader_;
    std::string output_;
};
} // namespace kf::test
