/// The thread that drains a pipe into text.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "tests/process/child_win.h"
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
using kf::test::spawned_child;
using kf::test::wait_until;

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
            TerminatePipeReader(reader, false);
            DestroyPipeReader(reader);
        }
        DeletePipes(pipes, true);
    }

    void start(int detect_unicode) { reader = CreatePipeReader(pipes->stdoutRead, detect_unicode); }

    void write(const std::string& bytes) const
    {
        EXPECT_EQ(WritePipe(pipes->stdoutWrite, bytes.data(), static_cast<unsigned int>(bytes.size())),
                  static_cast<int>(bytes.size()));
    }

    void close_writer()
    {
        if (pipes->stdoutWrite != nullptr)
            ClosePipeHandle(std::exchange(pipes->stdoutWrite, nullptr));
    }

    /// Waits until the reader has ended by itself.
    [[nodiscard]] bool ended() const
    {
        return wait_until([this] { return CheckJoinableThread(reader->thread) == 1; });
    }

    /// All the text, once the writer is gone and the reader has ended.
    [[nodiscard]] std::string rest()
    {
        close_writer();
        EXPECT_TRUE(ended());
        return PoolPipeReader(reader);
    }

    KPipesHandles* pipes = CreatePipes(true);
    KPipeReader* reader = nullptr;
};

/// UTF-16 text as its bytes.
std::string utf16_bytes(const std::u16string& text)
{
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(char16_t)};
}

unsigned long waiting(void* pipe)
{
    DWORD count = 0;
    ::PeekNamedPipe(pipe, nullptr, 0, nullptr, &count, nullptr);
    return count;
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

constexpr std::size_t kChunk = 16380;
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
    for (const std::size_t bytes : {kChunk, kChunk + 1})
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
        EXPECT_EQ(reads, bytes == kChunk ? std::vector<DWORD>{kChunk} : (std::vector<DWORD>{kChunk, 1}));
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

// KEPT[reader-no-draining]
TEST(TerminatePipeReader, StopsAtTheNextCheckWithoutDraining)
{
    for (const bool abort : {false, true})
    {
        static std::atomic<KPipeReader*> held = nullptr;
        static std::atomic<bool> looking = false;
        held = nullptr;
        looking = false;
        read_pipe pipe(nullptr);
        const std::string sent(kChunk + 1000, 'a');
        std::thread writer(
            [&] { WritePipe(pipe.pipes->stdoutWrite, sent.data(), static_cast<unsigned int>(sent.size())); });
        EXPECT_TRUE(wait_until([&] { return waiting(pipe.pipes->stdoutRead) == sent.size(); }));
        // Holds the reader between its check and its look at the pipe until it is told to stop.
        const import_hook hook(
            "PeekNamedPipe",
            +[](HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, LPDWORD count,
                LPDWORD left) -> BOOL WINAPI
            {
                looking = true;
                EXPECT_TRUE(wait_until(
                    []
                    {
                        KPipeReader* const reader = held;
                        return reader != nullptr && (std::atomic_ref(reader->stopRequested).load() ||
                                                     std::atomic_ref(reader->abortRequested).load());
                    }));
                return ::PeekNamedPipe(file, buffer, size, read, count, left);
            });
        pipe.start(0);
        held = pipe.reader;
        EXPECT_TRUE(wait_until([] { return looking.load(); }));
        TerminatePipeReader(pipe.reader, abort);
        EXPECT_EQ(pipe.reader->stopRequested, !abort);
        EXPECT_EQ(pipe.reader->abortRequested, abort);
        EXPECT_EQ(PoolPipeReader(pipe.reader).size(), kChunk); // one read, and the rest is left
        EXPECT_EQ(waiting(pipe.pipes->stdoutRead), 1000u);
        ClosePipeHandle(
            std::exchange(pipe.pipes->stdoutRead, nullptr)); // sets a writer free that still waits
        writer.join();
    }
}

TEST(TerminatePipeReader, MayBeCalledTwice)
{
    read_pipe pipe;
    TerminatePipeReader(pipe.reader, false);
    // Forgotten here too, so that a failure is no second join of a freed record.
    EXPECT_EQ(std::exchange(pipe.reader->thread, nullptr), nullptr);
    TerminatePipeReader(pipe.reader, true);
    EXPECT_TRUE(pipe.reader->abortRequested);
}

namespace
{
/// A read that hangs until the event is set, and what is done about it.
HANDLE release_read = nullptr;
std::atomic<bool> read_hangs = false;
std::atomic<int> cancelled = 0;
std::atomic<int> killed = 0;
std::mutex joins_mutex;
std::vector<DWORD> joins;

BOOL WINAPI hang(HANDLE, LPVOID, DWORD, LPDWORD taken, LPOVERLAPPED)
{
    read_hangs = true;
    ::WaitForSingleObject(release_read, INFINITE);
    *taken = 0;
    ::SetLastError(ERROR_OPERATION_ABORTED);
    return FALSE;
}

DWORD longest_brief_wait = 0;

/// Waits that would be long end soon.
DWORD WINAPI impatient(HANDLE handle, DWORD time)
{
    if (handle == release_read)
        return ::WaitForSingleObject(handle, time);
    const std::lock_guard lock(joins_mutex);
    joins.push_back(time);
    return ::WaitForSingleObject(handle, time == 10000 ? 50 : std::min(time, longest_brief_wait));
}

BOOL WINAPI note_kill(HANDLE thread, DWORD code)
{
    ++killed;
    return ::TerminateThread(thread, code);
}

void prepare_hang(DWORD brief_wait = INFINITE)
{
    longest_brief_wait = brief_wait;
    release_read = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    read_hangs = false;
    cancelled = 0;
    killed = 0;
    joins.clear();
}
} // namespace

TEST(TerminatePipeReader, CallsOffAReadThatHangsBeforeAnythingElse)
{
    prepare_hang();
    read_pipe pipe(nullptr);
    pipe.write("x");
    const import_hook read("ReadFile", &hang);
    const import_hook wait("WaitForSingleObject", &impatient);
    const import_hook kill("TerminateThread", &note_kill);
    const import_hook cancel(
        "CancelSynchronousIo",
        +[](HANDLE) -> BOOL WINAPI
        {
            ++cancelled;
            return ::SetEvent(release_read);
        });
    pipe.start(0);
    ASSERT_TRUE(wait_until([] { return read_hangs.load(); }));
    TerminatePipeReader(pipe.reader, false);
    EXPECT_EQ(cancelled, 1);
    EXPECT_EQ(killed, 0);
    EXPECT_EQ(joins, (std::vector<DWORD>{10000, 1000}));
    ::CloseHandle(release_read);
}

TEST(TerminatePipeReader, KillsAThreadThatStillHangsAndFreesItsRecord)
{
    prepare_hang();
    const std::size_t before = handle_count();
    {
        read_pipe pipe(nullptr);
        pipe.write("x");
        const import_hook read("ReadFile", &hang);
        const import_hook wait("WaitForSingleObject", &impatient);
        const import_hook kill("TerminateThread", &note_kill);
        const import_hook cancel(
            "CancelSynchronousIo",
            +[](HANDLE) -> BOOL WINAPI
            {
                ++cancelled;
                return FALSE;
            });
        pipe.start(0);
        ASSERT_TRUE(wait_until([] { return read_hangs.load(); }));
        TerminatePipeReader(pipe.reader, false);
        EXPECT_EQ(cancelled, 1);
        EXPECT_EQ(killed, 1);
        EXPECT_EQ(joins, (std::vector<DWORD>{10000, 1000, 1000}));
        EXPECT_EQ(pipe.reader->thread, nullptr);
        EXPECT_EQ(PoolPipeReader(pipe.reader), ""); // the mutex is free
    }
    EXPECT_EQ(handle_count(), before);
    ::CloseHandle(release_read);
}

TEST(TerminatePipeReader, IsNotHeldUpByAThreadThatCannotBeKilled)
{
    prepare_hang(50);
    read_pipe pipe(nullptr);
    pipe.write("x");
    const import_hook read("ReadFile", &hang);
    const import_hook kill(
        "TerminateThread", +[](HANDLE, DWORD) -> BOOL WINAPI { return FALSE; });
    const import_hook cancel(
        "CancelSynchronousIo", +[](HANDLE) -> BOOL WINAPI { return FALSE; });
    pipe.start(0);
    ASSERT_TRUE(wait_until([] { return read_hangs.load(); }));
    {
        const import_hook wait("WaitForSingleObject", &impatient);
        TerminatePipeReader(pipe.reader, false);
    }
    EXPECT_EQ(joins, (std::vector<DWORD>{10000, 1000, 1000}));
    EXPECT_NE(pipe.reader->thread, nullptr);
    ::SetEvent(release_read);
    TerminatePipeReader(pipe.reader, false); // it has come back: joined after all
    EXPECT_EQ(pipe.reader->thread, nullptr);
    ::CloseHandle(release_read);
}

TEST(TerminatePipeReader, StandsAThreadThatCouldNotBeStarted)
{
    read_pipe pipe(nullptr);
    {
        const import_hook hook(
            "_beginthreadex",
            +[](void*, unsigned, unsigned(__stdcall*)(void*), void*, unsigned, unsigned*) -> std::uintptr_t
            { return 0; });
        pipe.start(0);
    }
    TerminatePipeReader(pipe.reader, false);
    EXPECT_EQ(pipe.reader->thread, nullptr);
}

TEST(DestroyPipeReader, GivesBackEverythingOfAHundredReaders)
{
    {
        const read_pipe first;
    }
    const std::size_t before = handle_count();
    {
        std::vector<std::unique_ptr<read_pipe>> readers;
        for (int i = 0; i < 100; ++i)
            readers.push_back(std::make_unique<read_pipe>(i % 2));
        for (const auto& pipe : readers)
            pipe->write("some text");
        for (const auto& pipe : readers)
            pipe->close_writer(); // so that they end side by side
    }
    EXPECT_EQ(handle_count(), before);
}

TEST(PipeReader, TakesNull)
{
    EXPECT_EQ(PoolPipeReader(nullptr), "");
    TerminatePipeReader(nullptr, false);
    DestroyPipeReader(nullptr);
}
