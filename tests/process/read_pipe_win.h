#pragma once
/// A pipe with a reader on it, for the tests of pipe readers.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/support/deadline.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <string>
#include <utility>

namespace kf::test
{
/// The most a reader takes from its pipe at once.
inline constexpr std::size_t kReaderChunk = 16380;

/// Bytes that wait in a pipe.
inline unsigned long waiting(void* pipe)
{
    DWORD count = 0;
    ::PeekNamedPipe(pipe, nullptr, 0, nullptr, &count, nullptr);
    return count;
}

/// A pipe with a reader on it; both end with the test.
class read_pipe
{
public:
    explicit read_pipe(int detect_unicode = 0) { start(detect_unicode); }
    /// The pipe first, so that it can be filled before the reader begins.
    explicit read_pipe(std::nullptr_t) {}
    read_pipe(const read_pipe&) = delete;
    read_pipe& operator=(const read_pipe&) = delete;
    ~read_pipe()
    {
        close_writer();
        if (reader != nullptr)
        {
            KFramework::KProcesses::TerminatePipeReader(reader, false);
            KFramework::KProcesses::DestroyPipeReader(reader);
        }
        KFramework::KProcesses::DeletePipes(pipes, true);
    }

    void start(int detect_unicode)
    {
        reader = KFramework::KProcesses::CreatePipeReader(pipes->stdoutRead, detect_unicode);
    }

    void write(const std::string& bytes) const
    {
        EXPECT_EQ(KFramework::KProcesses::WritePipe(pipes->stdoutWrite, bytes.data(),
                                                    static_cast<unsigned int>(bytes.size())),
                  static_cast<int>(bytes.size()));
    }

    void close_writer()
    {
        if (pipes->stdoutWrite != nullptr)
            KFramework::KProcesses::ClosePipeHandle(std::exchange(pipes->stdoutWrite, nullptr));
    }

    /// Waits until the reader has ended by itself.
    [[nodiscard]] bool ended() const
    {
        return wait_until([this]
                          { return KFramework::KProcesses::CheckJoinableThread(reader->thread) == 1; });
    }

    /// All the text, once the writer is gone and the reader has ended.
    [[nodiscard]] std::string rest()
    {
        close_writer();
        EXPECT_TRUE(ended());
        return KFramework::KProcesses::PoolPipeReader(reader);
    }

    KFramework::KProcesses::KPipesHandles* pipes = KFramework::KProcesses::CreatePipes(true);
    KFramework::KProcesses::KPipeReader* reader = nullptr;
};
} // namespace kf::test
