#include "KFramework/core.h"
#include "KFramework/filesystem.h"
#include "KFramework/socket/stream_state_win.h"
#include "KFramework/socket/trace_text.h"
#include "KFramework/string.h"

#include <boost/thread/lock_guard.hpp>
#include <fcntl.h>
#include <io.h>
#include <optional>
#include <sys/stat.h>

namespace kf::socket
{

namespace
{

using trace_lock = boost::lock_guard<boost::mutex>;

/// Opens for writing as text, emptied, not inherited by child processes; null on failure.
std::FILE* open_trace_file(const std::string& path)
{
    const std::wstring wide = KFramework::KStringHelper::Utf8StringToWideString(path);
    const int descriptor = ::_wopen(wide.c_str(), _O_WRONLY | _O_CREAT | _O_TRUNC | _O_TEXT | _O_NOINHERIT,
                                    _S_IREAD | _S_IWRITE);
    if (descriptor == -1)
        return nullptr;
    std::FILE* const file = ::_fdopen(descriptor, "w");
    if (file == nullptr)
        ::_close(descriptor);
    return file;
}

void write_flushed(std::FILE* file, const std::string& text)
{
    std::fwrite(text.data(), 1, text.size(), file);
    std::fflush(file);
}

/// The hidden pointer is what is open; the field keeps the closed file's handle.
void close_trace(stream_state& state)
{
    // KEPT[trace-handle-stays]: the stream's own field is left as it is.
    if (std::FILE* const file = std::exchange(state.open_trace, nullptr); file != nullptr)
        std::fclose(file);
}

} // namespace

void trace_received(KFramework::KSocket::CKSocketStream& stream, const char* bytes, std::size_t count)
{
    if (!shared(stream.traceEnabled).load())
        return;
    const trace_lock lock(stream.hidden->trace_mutex);
    if (stream.hidden->open_trace != nullptr)
        write_flushed(stream.hidden->open_trace, trace_bytes(bytes, count));
}

} // namespace kf::socket

namespace KFramework::KSocket
{

void CKSocketStream::SetTrace(bool on)
{
    const kf::socket::trace_lock lock(hidden->trace_mutex);
    kf::socket::shared(traceEnabled).store(on);
    kf::socket::close_trace(*hidden);
    if (!on)
        return;
    if (traceFolder.empty())
    {
        traceFolder = GetModuleBasePath() + "\\" + "net-traces";
        KFileSystem::MakeDirectory(traceFolder, false);
        traceFolder += "\\";
    }
    const std::optional<std::string> path = kf::socket::trace_path(traceFolder, host, port);
    traceFile = hidden->open_trace = path ? kf::socket::open_trace_file(*path) : nullptr;
    if (traceFile != nullptr)
        kf::socket::write_flushed(traceFile, kf::socket::trace_opening(host, port));
}

void CKSocketStream::SetTraceFolder(const std::string& folder)
{
    traceFolder = folder;
}

} // namespace KFramework::KSocket
