#include "KFramework/process/batch_environment.h"

#include "KFramework/core.h"
#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "KFramework/process/pipes_win.h"
#include "KFramework/string.h"

#include <algorithm>

namespace kf::process
{
namespace
{
using namespace KFramework::KProcesses;

constexpr int kPauseMs = 50;
constexpr unsigned int kBufferBytes = 2048;

/// The value of a variable of this process as UTF-8; empty when it is unset.
std::string own_variable(const wchar_t* name)
{
    std::wstring value;
    DWORD size = ::GetEnvironmentVariableW(name, nullptr, 0);
    while (size > value.size()) // it may have grown meanwhile
    {
        value.resize(size);
        size = ::GetEnvironmentVariableW(name, value.data(), size);
    }
    value.resize(size);
    return KFramework::KStringHelper::WideStringToUtf8String(value.data());
}

std::string shell_path()
{
    const std::string named = own_variable(L"COMSPEC");
    return named.empty() ? kDefaultShell : named;
}

/// Moves what waits in a pipe, one buffer at most, to the end of a text; gives
/// the number of bytes.
std::size_t take_waiting(void* pipe, std::string& text)
{
    char buffer[kBufferBytes];
    const int taken = ReadPipe(pipe, buffer, kBufferBytes - 1);
    if (taken <= 0)
        return 0;
    text.append(buffer, static_cast<std::size_t>(taken));
    return static_cast<std::size_t>(taken);
}

/// Everything the shell prints while it runs, and what it left in the pipe.
std::string gather_output(KProcess* shell, void* pipe)
{
    std::string printed;
    unsigned long code = 0;
    do
    {
        if (take_waiting(pipe, printed) == 0)
            KFramework::MicroSleep(kPauseMs);
    } while (WaitProcess(shell, false, 0, code) != 1);

    // No more than waits now: a grandchild that holds the pipe may write for ever.
    std::size_t left = bytes_waiting(pipe).value_or(0);
    while (left != 0)
    {
        const std::size_t taken = take_waiting(pipe, printed);
        if (taken == 0)
            break;
        left -= std::min(left, taken);
    }
    return printed;
}
} // namespace
} // namespace kf::process

namespace KFramework::KProcesses
{
bool MergeEnvironmentWithBatFile(KClientLib::KEnvironment* environment, const std::string& batchFile,
                                 std::string& errorText)
{
    if (environment == nullptr)
        return false;
    const std::string shell = kf::process::shell_path();
    const std::string arguments = kf::process::batch_arguments(shell, batchFile);
    KPipesHandles* const pipes = CreatePipes(true);
    if (pipes == nullptr)
        return false;

    int error = 0;
    std::string text;
    KProcess* const process =
        SpawnProcess(shell.c_str(), arguments.c_str(), KFileSystem::GetFilePath(shell).c_str(), pipes,
                     environment, error, text, nullptr);
    if (process == nullptr)
    {
        DeletePipes(pipes, true);
        errorText = text;
        return false;
    }
    kf::process::close_end(pipes->stdinWrite); // who asks for input finds its end
    const std::string printed = kf::process::gather_output(process, pipes->stdoutRead);
    kf::process::close_end(pipes->stdoutRead);
    unsigned long code = 0;
    WaitProcess(process, true, 0, code);
    DeletePipes(pipes, false);
    delete process; // KEPT[merge-leaks-handles]: its two handles stay open
    kf::process::merge_printed_variables(printed, environment->variables);
    return true;
}
} // namespace KFramework::KProcesses
