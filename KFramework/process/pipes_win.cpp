#include "KFramework/process/pipes_win.h"

#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/process/read_plan.h"

#include <utility>

namespace kf::process
{
namespace
{
/// Both ends of one anonymous pipe while a set is being made.
struct pipe_ends
{
    platform::unique_handle read;
    platform::unique_handle write;

    bool open()
    {
        SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        return ::CreatePipe(read.put(), write.put(), &inheritable, 0) != FALSE;
    }
};

void keep_from_children(HANDLE end)
{
    ::SetHandleInformation(end, HANDLE_FLAG_INHERIT, 0);
}

void pass_to_children(HANDLE end)
{
    ::SetHandleInformation(end, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
}
} // namespace

std::optional<std::uint32_t> bytes_waiting(void* pipe)
{
    DWORD waiting = 0;
    if (!::PeekNamedPipe(pipe, nullptr, 0, nullptr, &waiting, nullptr))
        return std::nullopt;
    return waiting;
}

void close_end(void*& end)
{
    if (void* const handle = std::exchange(end, nullptr); handle != nullptr)
        platform::guarded_close(handle);
}

void close_child_ends(KFramework::KProcesses::KPipesHandles& pipes)
{
    close_end(pipes.stdoutWrite);
    close_end(pipes.stdinRead);
    if (!pipes.mergeStdErr)
        close_end(pipes.stderrWrite);
}
} // namespace kf::process

namespace KFramework::KProcesses
{
KPipesHandles* CreatePipes(bool mergeStdErr)
{
    kf::process::pipe_ends out, in, err;
    if (!out.open() || !in.open() || (!mergeStdErr && !err.open()))
        return nullptr; // the ends already open close themselves

    kf::process::keep_from_children(out.read.get());
    kf::process::keep_from_children(in.write.get());
    kf::process::pass_to_children(in.read.get());
    kf::process::pass_to_children(out.write.get());
    if (!mergeStdErr)
    {
        kf::process::keep_from_children(err.read.get());
        kf::process::pass_to_children(err.write.get());
    }

    auto* const pipes = new KPipesHandles;
    // Nothing below can fail: from here the handles belong to the record.
    pipes->stdoutRead = out.read.release();
    pipes->stdinWrite = in.write.release();
    pipes->stderrRead = err.read.release();
    pipes->stdinRead = in.read.release();
    pipes->stdoutWrite = out.write.release();
    pipes->stderrWrite = err.write.release();
    pipes->mergeStdErr = mergeStdErr;
    return pipes;
}

void DeletePipes(KPipesHandles* pipes, bool closeHandles)
{
    if (pipes != nullptr && closeHandles)
    {
        // KEPT[delete-pipes-order]
        kf::process::close_end(pipes->stdinRead);
        kf::process::close_end(pipes->stdoutWrite);
        kf::process::close_end(pipes->stdoutRead);
        kf::process::close_end(pipes->stdinWrite);
        if (!pipes->mergeStdErr)
        {
            kf::process::close_end(pipes->stderrWrite);
            kf::process::close_end(pipes->stderrRead);
        }
    }
    delete pipes;
}

void ClosePipeHandle(void* handle)
{
    ::CloseHandle(handle);
}

int WritePipe(void* handle, const void* data, unsigned int size)
{
    DWORD written = 0;
    return ::WriteFile(handle, data, size, &written, nullptr) ? static_cast<int>(written) : -1;
}

int ReadPipe(void* handle, void* buffer, unsigned int size)
{
    const auto wanted = kf::process::bytes_to_read(kf::process::bytes_waiting(handle).value_or(0), size);
    if (!wanted)
        return -1;
    DWORD taken = 0;
    return ::ReadFile(handle, buffer, *wanted, &taken, nullptr) ? static_cast<int>(taken) : -1;
}

bool PeekPipe(void* handle)
{
    // KEPT[peek-pipe-open]: says that the pipe is open, not that data waits.
    return kf::process::bytes_waiting(handle).has_value();
}
} // namespace KFramework::KProcesses
