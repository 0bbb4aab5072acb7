#include "tests/support/program_run_win.h"

#include "KFramework/core.h"
#include "KFramework/filesystem.h"
#include "KFramework/string.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"

#include <gtest/gtest.h>

namespace kf::test
{
using namespace KFramework::KProcesses;

namespace
{
constexpr int kLongestRunSeconds = 60;
}

program_run::program_run(const std::string& name, const std::string& arguments) : pipes_(CreatePipes(true))
{
    const std::string program = child_program(name);
    int code = 0;
    std::string text;
    process_ = SpawnProcess(program.c_str(), arguments.c_str(),
                            KFramework::KFileSystem::GetFilePath(program).c_str(), pipes_, nullptr, code,
                            text, nullptr);
    EXPECT_NE(process_, nullptr) << name << " does not start: " << code;
    reader_ = CreatePipeReader(pipes_->stdoutRead, 0);
}

program_run::~program_run()
{
    kill();
    unsigned long code = 0;
    WaitProcess(process_, true, kLongestRunSeconds, code);
    TerminatePipeReader(reader_, false);
    DestroyPipeReader(reader_);
    CloseProcess(process_);
    DeletePipes(pipes_, true);
}

void program_run::say(const std::string& text)
{
    const auto size = static_cast<unsigned int>(text.size());
    const int written = size > 0 ? WritePipe(pipes_->stdinWrite, text.data(), size) : 0;
    EXPECT_EQ(written, static_cast<int>(size));
    ClosePipeHandle(pipes_->stdinWrite);
    pipes_->stdinWrite = nullptr;
}

std::optional<unsigned long> program_run::wait()
{
    unsigned long code = 0;
    if (WaitProcess(process_, true, kLongestRunSeconds, code) != 1)
    {
        ADD_FAILURE() << "still running:\n" << output();
        return std::nullopt;
    }
    // Others may hold the pipe longer than the program lives: all is read once nothing waits in it.
    EXPECT_TRUE(wait_until(
        [this]
        {
            DWORD waiting = 0;
            return ::PeekNamedPipe(pipes_->stdoutRead, nullptr, 0, nullptr, &waiting, nullptr) == FALSE ||
                   waiting == 0;
        }));
    TerminatePipeReader(reader_, false);
    return code;
}

void program_run::kill()
{
    if (running())
        TerminateProcess(process_, false);
}

bool program_run::running()
{
    unsigned long code = 0;
    return WaitProcess(process_, false, 0, code) == 0;
}

const std::string& program_run::output()
{
    output_ += KFramework::KStringHelper::Replace(PoolPipeReader(reader_), "\r\n", "\n", true);
    return output_;
}
} // namespace kf::test
