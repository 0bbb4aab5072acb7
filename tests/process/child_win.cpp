#include "tests/process/child_win.h"

#include "tests/support/children.h"
#include "tests/support/deadline.h"

#include <gtest/gtest.h>

namespace kf::test
{
using namespace KFramework::KProcesses;

spawned_child::spawned_child(const std::string& program, const std::string& arguments, bool merge_std_err,
                             KClientLib::KEnvironment* environment)
    : pipes(CreatePipes(merge_std_err))
{
    process = SpawnProcess(child_program(program).c_str(), arguments.c_str(), children_folder().c_str(),
                           pipes, environment, error, error_text, nullptr);
    EXPECT_NE(process, nullptr) << program << ": error " << error;
}

spawned_child::~spawned_child()
{
    if (process != nullptr)
    {
        TerminateProcess(process, false);
        static_cast<void>(exit_code());
        CloseProcess(process);
    }
    DeletePipes(pipes, true);
}

std::string spawned_child::output() const
{
    return read_to_end(pipes->stdoutRead);
}

std::string spawned_child::errors() const
{
    return read_to_end(pipes->stderrRead);
}

unsigned long spawned_child::exit_code() const
{
    unsigned long code = 0;
    EXPECT_EQ(WaitProcess(process, true, static_cast<int>(kDeadline.count()), code), 1);
    return code;
}

std::string read_to_end(void* pipe)
{
    std::string all;
    char buffer[4096];
    EXPECT_TRUE(wait_until(
        [&]
        {
            // Open is asked before reading: what was written before the break is read first.
            const bool open = PeekPipe(pipe);
            int taken = 0;
            while ((taken = ReadPipe(pipe, buffer, sizeof buffer)) > 0)
                all.append(buffer, static_cast<std::size_t>(taken));
            return !open;
        }))
        << "the pipe does not end";
    return all;
}

std::string children_folder()
{
    const std::string program = child_program("end_with");
    return program.substr(0, program.rfind('\\'));
}
} // namespace kf::test
