#include "KFramework/platform/windows_win.h"
#include "KFramework/process/pipes_win.h"
#include "KFramework/process/read_plan.h"

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <memory>

namespace kf::process
{
namespace
{
using KFramework::KProcesses::KPipeReader;

constexpr int kJoinMs = 10000;
constexpr int kJoinBrieflyMs = 1000;
constexpr std::uint32_t kBufferBytes = 16384;
constexpr std::uint32_t kTerminatorBytes = 4; // ends both narrow and 16-bit text
static_assert(kChunkBytes + kTerminatorBytes == kBufferBytes);

void request(bool& flag)
{
    std::atomic_ref(flag).store(true);
}

bool stopping(KPipeReader& reader)
{
    return std::atomic_ref(reader.stopRequested).load() || std::atomic_ref(reader.abortRequested).load();
}

void append(KPipeReader& reader, const char* text, std::size_t size)
{
    const boost::lock_guard<boost::mutex> lock(*reader.mutex);
    reader.text.append(text, size);
}

bool is_ascii(const char* text, std::size_t size)
{
    return std::all_of(text, text + size, [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

/// Turns the chunks of one pipe into UTF-8; keeps its buffers from chunk to chunk.
class chunk_converter
{
public:
    /// Text in the thread's own code page, up to its first zero byte.
    void append_ansi(KPipeReader& reader, const char* chunk)
    {
        const std::size_t size = std::strlen(chunk); // KEPT[reader-ansi-cut]
        if (is_ascii(chunk, size))
        {
            append(reader, chunk, size); // the two conversions would give the same bytes
            return;
        }
        // KEPT[reader-composite]: accented letters come out as letter and accent.
        if (!widen(chunk, static_cast<int>(size), MB_COMPOSITE) && ::GetLastError() == ERROR_INVALID_FLAGS)
            static_cast<void>(
                widen(chunk, static_cast<int>(size), 0)); // a code page without such flags, as UTF-8 is
        append_utf16(reader, wide_.data(), wide_.size());
    }

    void append_utf16(KPipeReader& reader, const wchar_t* text, std::size_t units)
    {
        if (units == 0)
            return;
        const int size = static_cast<int>(units);
        narrow_.resize(3 * units); // no unit takes more
        const int bytes = ::WideCharToMultiByte(CP_UTF8, 0, text, size, narrow_.data(),
                                                static_cast<int>(narrow_.size()), nullptr, nullptr);
        if (bytes > 0)
            append(reader, narrow_.data(), ::strnlen(narrow_.data(), static_cast<std::size_t>(bytes)));
    }

private:
    [[nodiscard]] bool widen(const char* text, int size, DWORD flags)
    {
        wide_.clear();
        const int units = ::MultiByteToWideChar(CP_THREAD_ACP, flags, text, size, nullptr, 0);
        if (units <= 0)
            return false;
        wide_.resize(static_cast<std::size_t>(units));
        ::MultiByteToWideChar(CP_THREAD_ACP, flags, text, size, wide_.data(), units);
        return true;
    }

    std::wstring wide_;
    std::string narrow_;
};

/// Reads one chunk, already known to wait; 0 bytes when nothing came.
std::uint32_t read_chunk(KPipeReader& reader, char* buffer, std::uint32_t waiting)
{
    DWORD taken = 0;
    ::SetLastError(ERROR_SUCCESS); // a successful read of nothing leaves an old code standing
    const BOOL read = ::ReadFile(reader.pipe, buffer, std::min(waiting, kChunkBytes), &taken, nullptr);
    const DWORD error = ::GetLastError();
    if (read && taken != 0)
        return taken;
    if (error == ERROR_BROKEN_PIPE)
        request(reader.stopRequested);
    return 0;
}

/// One chunk into the text, as what it looks like. KEPT[reader-halves]: nothing is kept for the next one.
void take_chunk(KPipeReader& reader, chunk_converter& converter, char* buffer, std::uint32_t size)
{
    std::fill_n(buffer + size, kTerminatorBytes, '\0');
    if (reader.detectUnicode != 0 && ::IsTextUnicode(buffer, static_cast<int>(size), nullptr))
        converter.append_utf16(reader, reinterpret_cast<const wchar_t*>(buffer), size / sizeof(wchar_t));
    else
        converter.append_ansi(reader, buffer);
}

void drain(KPipeReader& reader)
{
    const auto buffer = std::make_unique<char[]>(kBufferBytes);
    chunk_converter converter;
    // The size of a chunk decides what it is taken for, so a guessing reader keeps its steady pace.
    pause_plan pauses(reader.detectUnicode == 0);
    while (!stopping(reader)) // KEPT[reader-no-draining]: what still waits then is left
    {
        const auto waiting = bytes_waiting(reader.pipe);
        if (!waiting)
        {
            request(reader.stopRequested);
            continue;
        }
        const std::uint32_t size = *waiting != 0 ? read_chunk(reader, buffer.get(), *waiting) : 0;
        if (size == 0)
        {
            ::Sleep(pauses.next());
            continue;
        }
        pauses.reset();
        take_chunk(reader, converter, buffer.get(), size);
    }
}

/// Joins the thread for so long at most; true when its record is gone.
bool joined(KPipeReader& reader, int limit_ms)
{
    bool timed_out = false;
    KFramework::KProcesses::JoinThread(reader.thread, limit_ms, &timed_out);
    if (!timed_out)
        reader.thread = nullptr;
    return !timed_out;
}

unsigned int run_reader(void* start_record)
{
    drain(*static_cast<KPipeReader*>(KFramework::KProcesses::GetThreadData(start_record)));
    KFramework::KProcesses::EndThread(0, start_record);
    return 0;
}
} // namespace
} // namespace kf::process

namespace KFramework::KProcesses
{
KPipeReader* CreatePipeReader(void* handle, int detectUnicode)
{
    auto* const reader = new KPipeReader;
    reader->mutex = CreateMutexW();
    reader->pipe = handle;
    reader->detectUnicode = detectUnicode;
    reader->thread = SpawnThread(kf::process::run_reader, reader);
    return reader;
}

std::string PoolPipeReader(KPipeReader* reader)
{
    std::string text;
    if (reader == nullptr)
        return text;
    const boost::lock_guard<boost::mutex> lock(*reader->mutex);
    text.swap(reader->text);
    return text;
}

void TerminatePipeReader(KPipeReader* reader, bool abort)
{
    if (reader == nullptr)
        return;
    kf::process::request(abort ? reader->abortRequested : reader->stopRequested);
    if (reader->thread == nullptr || kf::process::joined(*reader, kf::process::kJoinMs))
        return;
    // A killed thread may hold the mutex for ever, so a read that hangs is called off first.
    ::CancelSynchronousIo(reader->thread->threadHandle);
    if (kf::process::joined(*reader, kf::process::kJoinBrieflyMs))
        return;
    TerminateThread(reader->thread);
    // This frees the record. A thread that even the system cannot kill keeps it, and us no longer.
    kf::process::joined(*reader, kf::process::kJoinBrieflyMs);
}

void DestroyPipeReader(KPipeReader* reader)
{
    if (reader == nullptr)
        return;
    DestroyMutex(reader->mutex);
    delete reader;
}
} // namespace KFramework::KProcesses
