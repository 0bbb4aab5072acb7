#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/sessions_win.h"
#include "KFramework/platform/wipe.h"
#include "KFramework/process.h"
#include "KFramework/process/command_line.h"
#include "KFramework/process/environment.h"
#include "KFramework/process/pipes_win.h"
#include "KFramework/string.h"

#include <cstdlib>
#include <memory>
#include <optional>

namespace kf::process
{
namespace
{
using KClientLib::KEnvironment;
using KFramework::KProcesses::KPipesHandles;
using KFramework::KStringHelper::Utf8StringToWideString;

/// KEPT[spawn-inherits]: on in every case; the pipe ends of the child rely on it.
constexpr BOOL kInheritHandles = TRUE;
/// KEPT[spawn-flags]
constexpr DWORD kCreationFlags =
    CREATE_DEFAULT_ERROR_MODE | CREATE_UNICODE_ENVIRONMENT | NORMAL_PRIORITY_CLASS | CREATE_NEW_CONSOLE;
static_assert(kCreationFlags == 0x4000430);

/// The block of a child's environment; wiped before it is freed.
class environment_block
{
public:
    explicit environment_block(KEnvironment* environment)
        : block_(KFramework::KProcesses::GetEnvironmentWideString(environment)),
          bytes_(environment != nullptr ? block_units(environment->variables) * sizeof(wchar_t) : 0)
    {
    }
    ~environment_block()
    {
        if (block_ == nullptr)
            return;
        platform::wipe(block_, bytes_);
        std::free(block_);
    }
    environment_block(const environment_block&) = delete;
    environment_block& operator=(const environment_block&) = delete;

    void* get() const { return block_; }

private:
    void* block_;
    std::size_t bytes_;
};

/// Closes the child's pipe ends when the attempt to start it is over.
class child_ends
{
public:
    explicit child_ends(KPipesHandles* pipes) : pipes_(pipes) {}
    ~child_ends()
    {
        if (pipes_ != nullptr)
            close_child_ends(*pipes_);
    }
    child_ends(const child_ends&) = delete;
    child_ends& operator=(const child_ends&) = delete;

private:
    KPipesHandles* pipes_;
};

STARTUPINFOW startup_info(const KPipesHandles* pipes)
{
    STARTUPINFOW info{};
    info.cb = sizeof info;
    info.dwFlags = STARTF_USESHOWWINDOW;
    info.wShowWindow = SW_HIDE;
    if (pipes != nullptr)
    {
        info.dwFlags |= STARTF_USESTDHANDLES;
        info.hStdInput = pipes->stdinRead;
        info.hStdOutput = pipes->stdoutWrite;
        info.hStdError = pipes->mergeStdErr ? pipes->stdoutWrite : pipes->stderrWrite;
    }
    return info;
}

/// What a child is started from, besides its handles.
struct start_request
{
    const char* executable;
    const char* arguments;
    const char* working_directory;
    void* environment;
    void* user_token;
};

/// Starts the child; gives the system's error code when it does not start. A
/// start that fails may leave any code, 0 too, so that none means success.
[[nodiscard]] std::optional<DWORD> start_child(const start_request& request, STARTUPINFOW& startup,
                                               PROCESS_INFORMATION& started)
{
    if (request.executable == nullptr || request.working_directory == nullptr)
        return ERROR_INVALID_PARAMETER;

    std::string line =
        child_command_line(request.executable, request.arguments != nullptr ? request.arguments : "");
    const platform::wiped_at_end wipe_line(line);

    const platform::impersonation user(request.user_token);
    const std::wstring executable = Utf8StringToWideString(request.executable);
    std::wstring wide_line = Utf8StringToWideString(line);
    const platform::wiped_at_end wipe_wide_line(wide_line);
    const std::wstring folder = Utf8StringToWideString(request.working_directory);

    if (!::CreateProcessW(executable.c_str(), wide_line.data(), nullptr, nullptr, kInheritHandles,
                          kCreationFlags, request.environment, folder.c_str(), &startup, &started))
        return ::GetLastError(); // before the impersonation ends, which may change it
    return std::nullopt;
}

/// Reads UTF-16 as if it were narrow text: for all common texts its first
/// character, because that is followed by a zero byte.
std::string read_as_narrow(const wchar_t* text)
{
    return text != nullptr ? reinterpret_cast<const char*>(text) : "";
}

void erase_first(std::string& text, char unwanted)
{
    if (const std::size_t at = text.find(unwanted); at != std::string::npos)
        text.erase(at, 1);
}

/// The system's message for an error code; empty when it has none.
std::string error_text(DWORD error)
{
    platform::local_memory<wchar_t> message;
    ::FormatMessageW(FORMAT_MESSAGE_ALLOCATE_BUFFER | FORMAT_MESSAGE_FROM_SYSTEM |
                         FORMAT_MESSAGE_IGNORE_INSERTS,
                     nullptr, error, MAKELANGID(LANG_NEUTRAL, SUBLANG_DEFAULT),
                     reinterpret_cast<wchar_t*>(message.put()), 0, nullptr);
    // KEPT[spawn-error-text]: one character, as callers have always logged it.
    std::string text = read_as_narrow(message.get());
    erase_first(text, '\n');
    erase_first(text, '\r');
    return text;
}
} // namespace
} // namespace kf::process

namespace KFramework::KProcesses
{
KProcess* SpawnProcess(const char* executable, const char* arguments, const char* workingDirectory,
                       KPipesHandles* pipes, KClientLib::KEnvironment* environment, int& errorCode,
                       std::string& errorText, void* userToken)
{
    const kf::process::child_ends ends(pipes);
    auto process = std::make_unique<KProcess>();
    process->pipes = pipes;

    STARTUPINFOW startup = kf::process::startup_info(pipes);
    PROCESS_INFORMATION started{};
    const kf::process::environment_block block(environment);
    const auto error = kf::process::start_child(
        {executable, arguments, workingDirectory, block.get(), userToken}, startup, started);
    if (error)
    {
        errorCode = static_cast<int>(*error);
        errorText = kf::process::error_text(*error);
        return nullptr;
    }
    process->processHandle = started.hProcess;
    process->threadHandle = started.hThread;
    process->processId = started.dwProcessId;
    process->threadId = started.dwThreadId;
    return process.release();
}

KProcess* ProcessFromPid(unsigned long)
{
    return nullptr; // KEPT[process-from-pid]
}

unsigned long GetProcessPid(KProcess* process)
{
    return process != nullptr ? process->processId : 0;
}

unsigned long GetCurrentProcessPid()
{
    return ::GetCurrentProcessId();
}
} // namespace KFramework::KProcesses
