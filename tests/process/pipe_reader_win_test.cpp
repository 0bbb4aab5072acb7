/// The thread that drains a pipe into text.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
#include "tests/process/read_pipe_win.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
using namespace KFramework::KProcesses;
using kf::test::handle_count;
using kf::test::import_hook;
using kf::test::kReaderChunk;
using kf::test::read_pipe;
using kf::test::spawned_child;
using kf::test::wait_until;
using kf::test::waiting;

/// UTF-16 text as its bytes.
std::string utf16_bytes(const std::u16string& text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

/// Bytes asked for and given by each read of the library, in order.
std::mutex reads_mutex;
std::vector<DWORD> reads;

BOOL WINAPI note_read(HANDLE file, LPVOID buffer, DWORD size, LPDWORD taken, LPOVERLAPPED overlapped)
{
    {
        const std::lock_guard lock(reads_mutex);
        reads.push_back(size);
    }
    return ::ReadFile(file, buffer, size, taken, overlapped);
}

std::mutex pauses_mutex;
std::vector<DWORD> pauses;

void WINAPI note_pause(DWORD time)
{
    {
        const std::lock_guard lock(pauses_mutex);
        pauses.push_back(time);
    }
    ::Sleep(time);
}

std::vector<DWORD> pauses_so_far()
{
    const std::lock_guard lock(pauses_mutex);
    return pauses;
}

} // namespace

TEST(PipeReader, GathersWhatIsWritten)
{
    read_pipe pipe;
    pipe.write("one\n");
    pipe.write("two\n");
    EXPECT_EQ(pipe.rest(), "one\ntwo\n");
}

TEST(PoolPipeReader, GivesEveryTextOnce)
{
    read_pipe pipe;
    pipe.write("text");
    std::string text;
    ASSERT_TRUE(wait_until([&] { return !(text = PoolPipeReader(pipe.reader)).empty(); }));
    EXPECT_EQ(text, "text");
    EXPECT_EQ(PoolPipeReader(pipe.reader), "");
    pipe.write("more");
    EXPECT_EQ(pipe.rest(), "more");
    EXPECT_EQ(PoolPipeReader(pipe.reader), "");
}

// KEPT[reader-composite]
TEST(PipeReader, TakesBytesApartIntoLetterAndAccent)
{
    ASSERT_EQ(::GetACP(), 1252u) << "this test is written for the Western code page";
    read_pipe pipe;
    pipe.write("caf\xE9 \x80");
    EXPECT_EQ(pipe.rest(), "cafe\xCC\x81 \xE2\x82\xAC");
}

// KEPT[reader-ansi-cut]
TEST(PipeReader, CutsNarrowTextAtItsFirstZero)
{
    read_pipe pipe;
    pipe.write(std::string("ab\0cd", 5));
    EXPECT_EQ(pipe.rest(), "ab");
    read_pipe accents;
    accents.write(std::string("\xE9\0cd", 4));
    EXPECT_EQ(accents.rest(), "e\xCC\x81");
}

TEST(PipeReader, TriesWithoutFlagsWhenTheCodePageTakesNone)
{
    const import_hook hook(
        "MultiByteToWideChar",
        +[](UINT page, DWORD flags, LPCSTR text, int size, LPWSTR wide, int room) -> int WINAPI
        {
            if (page != CP_THREAD_ACP)
                return ::MultiByteToWideChar(page, flags, text, size, wide, room);
            if (flags != 0)
            {
                ::SetLastError(ERROR_INVALID_FLAGS);
                return 0;
            }
            return ::MultiByteToWideChar(CP_UTF8, 0, text, size, wide, room);
        });
    read_pipe pipe;
    pipe.write("\xC3\xA9\xE2\x82\xAC");
    EXPECT_EQ(pipe.rest(), "\xC3\xA9\xE2\x82\xAC");
}

// KEPT[reader-halves]
TEST(PipeReader, ConvertsTheHalvesOfACutCharacterApart)
{
    constexpr UINT kShiftJis = 932;
    const import_hook hook(
        "MultiByteToWideChar",
        +[](UINT page, DWORD flags, LPCSTR text, int size, LPWSTR wide, int room) -> int WINAPI {
            return ::MultiByteToWideChar(page == CP_THREAD_ACP ? kShiftJis : page, flags, text, size, wide,
                                         room);
        });
    read_pipe whole;
    whole.write("\x82\xA0");
    EXPECT_EQ(whole.rest(), "\xE3\x81\x82");

    read_pipe cut;
    cut.write("\x82");
    ASSERT_TRUE(wait_until([&] { return waiting(cut.pipes->stdoutRead) == 0; }));
    cut.write("\xA0");
    EXPECT_NE(cut.rest(), "\xE3\x81\x82");
}

TEST(PipeReader, ReadsUtf16OfAChildWhenToldToLookForIt)
{
    const spawned_child child("write_utf16", "\"hello wide world \xC3\xA4\"");
    KPipeReader* const reader = CreatePipeReader(child.pipes->stdoutRead, 1);
    EXPECT_TRUE(wait_until([&] { return CheckJoinableThread(reader->thread) == 1; }));
    EXPECT_EQ(PoolPipeReader(reader), "hello wide world \xC3\xA4");
    TerminatePipeReader(reader, false);
    DestroyPipeReader(reader);
}

TEST(PipeReader, CutsUtf16OfAChildAtItsFirstZeroByteOtherwise)
{
    const spawned_child child("write_utf16", "\"hello wide world\"");
    KPipeReader* const reader = CreatePipeReader(child.pipes->stdoutRead, 0);
    EXPECT_TRUE(wait_until([&] { return CheckJoinableThread(reader->thread) == 1; }));
    EXPECT_EQ(PoolPipeReader(reader), "h");
    TerminatePipeReader(reader, false);
    DestroyPipeReader(reader);
}

TEST(PipeReader, TakesAnOddCountOfBytesAsNarrowText)
{
    read_pipe pipe(nullptr);
    pipe.write(utf16_bytes(u"hello") + "!");
    pipe.start(1);
    EXPECT_EQ(pipe.rest(), "h");
}

TEST(PipeReader, EndsUtf16AtItsFirstZeroCharacter)
{
    // The system itself doubts a text that holds one.
    const import_hook hook(
        "IsTextUnicode", +[](const void*, int, LPINT tests) -> BOOL WINAPI { return tests == nullptr; });
    read_pipe pipe(nullptr);
    pipe.write(utf16_bytes(u"hello wide") + std::string(2, '\0') + utf16_bytes(u"world of text"));
    pipe.start(1);
    EXPECT_EQ(pipe.rest(), "hello wide");
}

TEST(PipeReader, TakesNarrowTextAsSuchWhileLookingForUtf16)
{
    read_pipe pipe(1);
    pipe.write("plain text\r\n");
    EXPECT_EQ(pipe.rest(), "plain text\r\n");
}

TEST(PipeReader, ReadsAtMost16380BytesAtOnce)
{
    for (const std::size_t bytes : {kReaderChunk, kReaderChunk + 1})
    {
        read_pipe pipe(nullptr);
        std::string sent(bytes, 'a');
        sent.back() = 'z';
        std::thread writer([&] { pipe.write(sent); }); // blocks: more than the pipe holds
        EXPECT_TRUE(wait_until([&] { return waiting(pipe.pipes->stdoutRead) == bytes; }));
        const import_hook hook("ReadFile", &note_read);
        reads.clear();
        pipe.start(0);
        writer.join();
        EXPECT_EQ(pipe.rest(), sent);
        EXPECT_EQ(reads, bytes == kReaderChunk ? std::vector<DWORD>{kReaderChunk}
                                               : (std::vector<DWORD>{kReaderChunk, 1}));
    }
}

TEST(PipeReader, LosesNothingOfALongOutput)
{
    constexpr std::size_t kLines = 2000;
    constexpr std::size_t kLineBytes = 50000; // 100 MB in all
    const spawned_child child("write_lines", "2000 50000");
    KPipeReader* const reader = CreatePipeReader(child.pipes->stdoutRead, 0);
    std::string text;
    text.reserve(kLines * kLineBytes);
    bool ended = false;
    std::size_t before = 0;
    do // as long as more comes within the deadline
    {
        before = text.size();
        EXPECT_TRUE(wait_until(
            [&]
            {
                ended = CheckJoinableThread(reader->thread) == 1;
                text += PoolPipeReader(reader);
                return ended || text.size() > before;
            }));
    } while (!ended && text.size() > before);
    TerminatePipeReader(reader, false);
    DestroyPipeReader(reader);
    ASSERT_EQ(text.size(), kLines * kLineBytes);
    for (std::size_t line = 0; line < kLines; ++line)
    {
        const std::string number = std::to_string(line);
        std::string expected(kLineBytes - 1 - number.size(), '0');
        expected += number + '\n';
        ASSERT_EQ(text.compare(line * kLineBytes, kLineBytes, expected), 0) << line;
    }
    EXPECT_EQ(child.exit_code(), 0u);
}

TEST(PipeReader, EndsByItselfWhenTheChildIsGone)
{
    const spawned_child child("write_utf16", "ab");
    KPipeReader* const reader = CreatePipeReader(child.pipes->stdoutRead, 0);
    EXPECT_TRUE(wait_until([&] { return CheckJoinableThread(reader->thread) == 1; }));
    EXPECT_TRUE(reader->stopRequested);
    EXPECT_FALSE(reader->abortRequested);
    TerminatePipeReader(reader, false);
    EXPECT_EQ(PoolPipeReader(reader), "a"); // stays until the reader goes
    DestroyPipeReader(reader);
}

TEST(PipeReader, EndsWhenThePipeCannotBeAsked)
{
    KPipeReader* const reader = CreatePipeReader(nullptr, 0);
    EXPECT_TRUE(wait_until([&] { return CheckJoinableThread(reader->thread) == 1; }));
    TerminatePipeReader(reader, true);
    DestroyPipeReader(reader);
}

TEST(PipeReader, EndsWhenThePipeBreaksDuringARead)
{
    for (static BOOL succeeds : {TRUE, FALSE})
    {
        read_pipe pipe(nullptr);
        pipe.write("lost");
        const import_hook hook(
            "ReadFile",
            +[](HANDLE, LPVOID, DWORD, LPDWORD taken, LPOVERLAPPED) -> BOOL WINAPI
            {
                *taken = 0;
                ::SetLastError(ERROR_BROKEN_PIPE);
                return succeeds;
            });
        pipe.start(0);
        EXPECT_TRUE(pipe.ended()) << succeeds;
        EXPECT_EQ(PoolPipeReader(pipe.reader), "");
    }
}

TEST(PipeReader, GoesOnAfterAnyOtherFailureOfARead)
{
    static std::atomic<int> failures = 0;
    failures = 3;
    read_pipe pipe(nullptr);
    pipe.write("kept");
    const import_hook hook(
        "ReadFile",
        +[](HANDLE file, LPVOID buffer, DWORD size, LPDWORD taken, LPOVERLAPPED overlapped) -> BOOL WINAPI
        {
            if (failures-- > 0)
            {
                *taken = 0;
                ::SetLastError(ERROR_NOT_ENOUGH_MEMORY);
                return FALSE;
            }
            return ::ReadFile(file, buffer, size, taken, overlapped);
        });
    pipe.start(0);
    EXPECT_EQ(pipe.rest(), "kept");
}

TEST(PipeReader, LooksAgainAtOnceAfterDataAndBacksOff)
{
    const import_hook hook("Sleep", &note_pause);
    pauses.clear();
    read_pipe pipe;
    ASSERT_TRUE(wait_until([] { return !pauses_so_far().empty(); }));
    EXPECT_EQ(pauses_so_far().front(), 100u); // nothing has come yet
    pipe.write("x");
    ASSERT_TRUE(wait_until([] { return pauses_so_far().back() == 4; }));
    ASSERT_TRUE(wait_until([] { return pauses_so_far().back() == 100; }));
    std::vector<DWORD> kinds = pauses_so_far();
    kinds.erase(std::unique(kinds.begin(), kinds.end()), kinds.end());
    EXPECT_EQ(kinds, (std::vector<DWORD>{100, 0, 1, 4, 100}));
}

TEST(PipeReader, KeepsItsPaceWhileLookingForUtf16)
{
    const import_hook hook("Sleep", &note_pause);
    pauses.clear();
    read_pipe pipe(1);
    pipe.write("x");
    ASSERT_TRUE(wait_until([] { return pauses_so_far().size() >= 3; }));
    EXPECT_EQ(pauses_so_far(), std::vector<DWORD>(pauses_so_far().size(), 100));
}
