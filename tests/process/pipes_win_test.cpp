/// Pipe sets and single pipe ends.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using kf::test::handle_count;
using kf::test::import_hook;

/// A set that is deleted with everything still open in it.
struct delete_all
{
    void operator()(KPipesHandles* pipes) const { DeletePipes(pipes, true); }
};
using pipe_set = std::unique_ptr<KPipesHandles, delete_all>;

bool inheritable(void* handle)
{
    DWORD flags = 0;
    EXPECT_TRUE(::GetHandleInformation(handle, &flags));
    return (flags & HANDLE_FLAG_INHERIT) != 0;
}

std::vector<HANDLE> closed;
decltype(&::CloseHandle) really_close = nullptr;

BOOL WINAPI note_close(HANDLE handle)
{
    closed.push_back(handle);
    return really_close(handle);
}

int pipes_to_allow = 0;
decltype(&::CreatePipe) really_create = nullptr;

BOOL WINAPI create_some(PHANDLE read, PHANDLE write, LPSECURITY_ATTRIBUTES attributes, DWORD size)
{
    EXPECT_EQ(size, 0u);
    EXPECT_TRUE(attributes->bInheritHandle);
    EXPECT_EQ(attributes->lpSecurityDescriptor, nullptr);
    return pipes_to_allow-- > 0 ? really_create(read, write, attributes, size) : FALSE;
}

BOOL WINAPI raise_on_close(HANDLE)
{
    ::RaiseException(0xC0000008, 0, 0, nullptr);
    return TRUE;
}
} // namespace

TEST(CreatePipes, JoinsEndsOfThreePipes)
{
    const pipe_set pipes(CreatePipes(false));
    ASSERT_NE(pipes, nullptr);
    EXPECT_FALSE(pipes->mergeStdErr);
    char byte = 0;
    EXPECT_EQ(WritePipe(pipes->stdoutWrite, "o", 1), 1);
    EXPECT_EQ(WritePipe(pipes->stderrWrite, "e", 1), 1);
    EXPECT_EQ(WritePipe(pipes->stdinWrite, "i", 1), 1);
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, &byte, 1), 1);
    EXPECT_EQ(byte, 'o');
    EXPECT_EQ(ReadPipe(pipes->stderrRead, &byte, 1), 1);
    EXPECT_EQ(byte, 'e');
    EXPECT_EQ(ReadPipe(pipes->stdinRead, &byte, 1), 1);
    EXPECT_EQ(byte, 'i');
}

TEST(CreatePipes, LetsChildrenInheritTheirEndsOnly)
{
    const pipe_set pipes(CreatePipes(false));
    EXPECT_FALSE(inheritable(pipes->stdoutRead));
    EXPECT_FALSE(inheritable(pipes->stdinWrite));
    EXPECT_FALSE(inheritable(pipes->stderrRead));
    EXPECT_TRUE(inheritable(pipes->stdinRead));
    EXPECT_TRUE(inheritable(pipes->stdoutWrite));
    EXPECT_TRUE(inheritable(pipes->stderrWrite));
}

TEST(CreatePipes, MakesNoErrorPipeWhenMerging)
{
    const std::size_t before = handle_count();
    const pipe_set pipes(CreatePipes(true));
    EXPECT_TRUE(pipes->mergeStdErr);
    EXPECT_EQ(pipes->stderrRead, nullptr);
    EXPECT_EQ(pipes->stderrWrite, nullptr);
    EXPECT_EQ(handle_count(), before + 4);
}

TEST(CreatePipes, GivesNullAndLeavesNothingOpenWhenAPipeCannotBeMade)
{
    const std::size_t before = handle_count();
    const import_hook hook("CreatePipe", &create_some);
    really_create = hook.original();
    for (int allowed = 0; allowed < 3; ++allowed)
    {
        pipes_to_allow = allowed;
        EXPECT_EQ(CreatePipes(false), nullptr) << allowed;
        EXPECT_EQ(handle_count(), before) << allowed;
    }
    pipes_to_allow = 2;
    const pipe_set merged(CreatePipes(true));
    EXPECT_NE(merged, nullptr);
}

TEST(CreatePipes, ClosesOnlyHandlesItMade)
{
    const import_hook create("CreatePipe", &create_some);
    really_create = create.original();
    const import_hook close("CloseHandle", &note_close);
    really_close = close.original();
    closed.clear();
    pipes_to_allow = 1;
    EXPECT_EQ(CreatePipes(false), nullptr);
    EXPECT_EQ(closed.size(), 2u);
}

// KEPT[delete-pipes-order]
TEST(DeletePipes, ClosesTheChildsInputFirstAndTheErrorPipeLast)
{
    for (const bool merge : {false, true})
    {
        KPipesHandles* const pipes = CreatePipes(merge);
        std::vector<HANDLE> expected{pipes->stdinRead, pipes->stdoutWrite, pipes->stdoutRead,
                                     pipes->stdinWrite};
        if (!merge)
            expected.insert(expected.end(), {pipes->stderrWrite, pipes->stderrRead});
        const import_hook hook("CloseHandle", &note_close);
        really_close = hook.original();
        closed.clear();
        DeletePipes(pipes, true);
        EXPECT_EQ(closed, expected);
    }
}

TEST(DeletePipes, ClosesNothingWhenToldSo)
{
    KPipesHandles* const pipes = CreatePipes(false);
    const KPipesHandles ends = *pipes;
    const std::size_t before = handle_count();
    DeletePipes(pipes, false);
    EXPECT_EQ(handle_count(), before);
    for (void* const end : {ends.stdoutRead, ends.stdinWrite, ends.stderrRead, ends.stdinRead,
                            ends.stdoutWrite, ends.stderrWrite})
        ClosePipeHandle(end);
    EXPECT_EQ(handle_count(), before - 6);
}

TEST(DeletePipes, SurvivesTheExceptionOfABadHandle)
{
    KPipesHandles* const pipes = CreatePipes(false);
    const KPipesHandles ends = *pipes;
    {
        const import_hook hook("CloseHandle", &raise_on_close);
        DeletePipes(pipes, true);
    }
    for (void* const end : {ends.stdoutRead, ends.stdinWrite, ends.stderrRead, ends.stdinRead,
                            ends.stdoutWrite, ends.stderrWrite})
        ClosePipeHandle(end);
}

TEST(DeletePipes, SkipsEndsThatAreNull)
{
    KPipesHandles* const pipes = CreatePipes(true);
    ClosePipeHandle(pipes->stdinWrite);
    pipes->stdinWrite = nullptr;
    const import_hook hook("CloseHandle", &note_close);
    really_close = hook.original();
    closed.clear();
    DeletePipes(pipes, true);
    EXPECT_EQ(closed.size(), 3u);
}

TEST(DeletePipes, TakesNull)
{
    DeletePipes(nullptr, true);
}

TEST(ReadPipe, GivesMinusOneAtOnceWhenNothingWaits)
{
    const pipe_set pipes(CreatePipes(true));
    char buffer[4];
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), -1);
}

// KEPT[read-pipe-room]
TEST(ReadPipe, LeavesRoomForATerminatorOnlyWhenMoreWaitsThanFits)
{
    const pipe_set pipes(CreatePipes(true));
    WritePipe(pipes->stdoutWrite, "0123456789", 10);
    char buffer[] = "####";
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), 3);
    EXPECT_STREQ(buffer, "012#");
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), 3);
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), 4); // exactly four wait: all are taken
    EXPECT_STREQ(buffer, "6789");
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), -1);
}

TEST(ReadPipe, TakesNothingIntoNoRoom)
{
    const pipe_set pipes(CreatePipes(true));
    WritePipe(pipes->stdoutWrite, "ab", 2);
    char byte = '#';
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, &byte, 0), -1);
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, &byte, 1), 0); // two wait, one fits, that is the terminator's
    EXPECT_EQ(byte, '#');
}

TEST(ReadPipe, GivesWhatWaitsInABrokenPipeAndThenMinusOne)
{
    const pipe_set pipes(CreatePipes(true));
    WritePipe(pipes->stdoutWrite, "ab", 2);
    ClosePipeHandle(std::exchange(pipes->stdoutWrite, nullptr));
    char buffer[4];
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), 2);
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), -1);
}

TEST(ReadPipe, GivesMinusOneWhenTheReadFails)
{
    const pipe_set pipes(CreatePipes(true));
    WritePipe(pipes->stdoutWrite, "ab", 2);
    const import_hook hook(
        "ReadFile", +[](HANDLE, LPVOID, DWORD, LPDWORD, LPOVERLAPPED) -> BOOL WINAPI { return FALSE; });
    char buffer[4];
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), -1);
}

TEST(WritePipe, GivesMinusOneWhenNobodyCanRead)
{
    const pipe_set pipes(CreatePipes(true));
    ClosePipeHandle(std::exchange(pipes->stdoutRead, nullptr));
    EXPECT_EQ(WritePipe(pipes->stdoutWrite, "a", 1), -1);
    EXPECT_EQ(WritePipe(nullptr, "a", 1), -1);
}

TEST(WritePipe, GivesTheCountOfBytes)
{
    const pipe_set pipes(CreatePipes(true));
    EXPECT_EQ(WritePipe(pipes->stdinWrite, "a\0b", 3), 3);
    EXPECT_EQ(WritePipe(pipes->stdinWrite, "", 0), 0);
    char buffer[4];
    EXPECT_EQ(ReadPipe(pipes->stdinRead, buffer, 4), 3);
}

// KEPT[peek-pipe-open]
TEST(PeekPipe, SaysThatThePipeIsOpenWhetherDataWaitsOrNot)
{
    const pipe_set pipes(CreatePipes(true));
    EXPECT_TRUE(PeekPipe(pipes->stdoutRead));
    WritePipe(pipes->stdoutWrite, "a", 1);
    EXPECT_TRUE(PeekPipe(pipes->stdoutRead));
    char buffer[4];
    EXPECT_EQ(ReadPipe(pipes->stdoutRead, buffer, 4), 1);
    EXPECT_TRUE(PeekPipe(pipes->stdoutRead));
    ClosePipeHandle(std::exchange(pipes->stdoutWrite, nullptr));
    EXPECT_FALSE(PeekPipe(pipes->stdoutRead));
}
