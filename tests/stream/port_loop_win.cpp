#include "tests/stream/port_loop_win.h"

#include "tests/support/deadline.h"

#include <cstring>
#include <gtest/gtest.h>

namespace kf::test
{

namespace socket_functions = KFramework::KSocket;

socket_pair::socket_pair(bool blocking)
{
    EXPECT_EQ(socket_functions::CreateLoopbackPipes(ends_), 0);
    for (const SOCKET end : ends_)
        socket_functions::SetBlockStatus(end, blocking);
}

socket_pair::~socket_pair()
{
    for (const SOCKET end : ends_)
        socket_functions::CloseSocket(end);
}

void socket_pair::close_second() noexcept
{
    socket_functions::CloseSocket(release_second());
}

bool send_all(SOCKET socket, const std::string& bytes)
{
    for (std::size_t at = 0; at < bytes.size();)
    {
        const int sent = ::send(socket, bytes.data() + at, static_cast<int>(bytes.size() - at), 0);
        if (sent <= 0)
            return false;
        at += static_cast<std::size_t>(sent);
    }
    return true;
}

std::string receive_exactly(SOCKET socket, std::size_t count)
{
    std::string bytes(count, '\0');
    std::size_t at = 0;
    while (at < count)
    {
        const int received = ::recv(socket, bytes.data() + at, static_cast<int>(count - at), 0);
        if (received <= 0)
            break;
        at += static_cast<std::size_t>(received);
    }
    bytes.resize(at);
    return bytes;
}

std::string frame(unsigned int command, const std::string& text, unsigned int parameter)
{
    char* block = nullptr;
    std::size_t payload = 0;
    std::size_t size = 0;
    socket_functions::EncodeSocketMessage(static_cast<int>(command), text.c_str(), parameter, &block,
                                          &payload, &size);
    std::string bytes(block, size);
    socket_functions::DestroyEncodedSocketMessage(block);
    return bytes;
}

std::string incompressible_text(std::size_t length, unsigned int seed)
{
    // All values but 0: nearly eight bits of information in each byte.
    std::string text(length, ' ');
    std::uint64_t state = 88172645463325252ULL + seed;
    for (char& c : text)
    {
        state ^= state << 13;
        state ^= state >> 7;
        state ^= state << 17;
        c = static_cast<char>(1 + state % 255);
    }
    return text;
}

std::string frame_of_size(std::size_t bytes, unsigned int command)
{
    const std::string payload = incompressible_text(bytes - 13, command);
    std::string whole(13, '\0');
    whole[0] = 1;
    const auto length = static_cast<std::uint32_t>(payload.size());
    std::memcpy(&whole[1], &length, 4);
    std::memcpy(&whole[9], &command, 4);
    return whole + payload;
}

port_loop::port_loop(handler on_message, unsigned int threads)
    : on_message_(std::move(on_message)), port_(::CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0))
{
    for (unsigned int i = 0; i < threads; ++i)
        threads_.emplace_back([this] { run(); });
}

port_loop::~port_loop()
{
    stop();
    ::CloseHandle(port_);
}

CKSocketStream& port_loop::add(std::unique_ptr<CKSocketStream> stream)
{
    CKSocketStream& added = *stream;
    streams_.push_back(std::move(stream));
    added.RegisterCompletionPort(port_);
    added.SetupReadEvent();
    return added;
}

CKSocketStream& port_loop::add(SOCKET socket)
{
    auto stream = std::make_unique<CKSocketStream>();
    stream->BindSocket(socket);
    return add(std::move(stream));
}

int port_loop::close_records(const CKSocketStream& stream)
{
    const std::lock_guard lock(mutex_);
    return closes_[&stream];
}

void port_loop::stop()
{
    if (threads_.empty())
        return;
    for (const auto& stream : streams_)
        stream->Close();
    EXPECT_TRUE(wait_until(
        [this]
        {
            for (const auto& stream : streams_)
                if (!HasOverlappedIoCompleted(&stream->readEvent.overlapped) ||
                    !HasOverlappedIoCompleted(&stream->writeEvent.overlapped))
                    return false;
            return true;
        }))
        << "an operation is still outstanding";
    for (std::size_t i = 0; i < threads_.size(); ++i)
        ::PostQueuedCompletionStatus(port_, 0, 0, nullptr);
    for (std::thread& thread : threads_)
        thread.join();
    threads_.clear();
    drain();
}

void port_loop::drain()
{
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* record = nullptr;
    for (;;)
    {
        const bool good = ::GetQueuedCompletionStatus(port_, &bytes, &key, &record, 0);
        if (record == nullptr)
            return;
        handle(*reinterpret_cast<CKSocketStream*>(key), reinterpret_cast<CKSocketOverlappedStruct*>(record),
               bytes, good);
    }
}

void port_loop::run()
{
    for (;;)
    {
        DWORD bytes = 0;
        ULONG_PTR key = 0;
        OVERLAPPED* record = nullptr;
        const bool good = ::GetQueuedCompletionStatus(port_, &bytes, &key, &record, INFINITE);
        if (record == nullptr)
            return;
        handle(*reinterpret_cast<CKSocketStream*>(key), reinterpret_cast<CKSocketOverlappedStruct*>(record),
               bytes, good);
    }
}

void port_loop::handle(CKSocketStream& stream, CKSocketOverlappedStruct* record, unsigned int bytes,
                       bool good)
{
    switch (record->event)
    {
    case KFramework::KSocket::kSocketIORead:
        handle_read(stream, bytes, good);
        break;
    case KFramework::KSocket::kSocketIOWrite:
        handle_write(stream, bytes, good);
        break;
    case KFramework::KSocket::kSocketIOClose:
        handle_close(stream, record);
        break;
    }
}

void port_loop::handle_read(CKSocketStream& stream, unsigned int bytes, bool good)
{
    if (!good || bytes == 0)
    {
        stream.readEvent.Unmark();
        stream.SetDisconnected(true);
        stream.Close();
        return;
    }
    stream.IncrementReadBytes(bytes, true);
    stream.readEvent.Unmark();
    while (stream.HasCompleteMessageAvailable())
    {
        message taken{};
        char* content = nullptr;
        if (!stream.GetNextMessage(taken.command, &content, &taken.parameter, true))
        {
            if (stream.IsDisconnected())
                return;
            continue; // a damaged frame; the next one may be whole
        }
        if (content != nullptr)
            taken.text = content;
        CKSocketStream::DestroyMessageContent(content);
        on_message_(stream, std::move(taken));
    }
    stream.SetupReadEvent();
}

void port_loop::handle_write(CKSocketStream& stream, unsigned int bytes, bool good)
{
    if (!good)
    {
        stream.writeEvent.Unmark();
        stream.SetDisconnected(true);
        stream.Close();
        return;
    }
    stream.DecrementSentBytes(bytes, true);
    stream.writeEvent.Unmark();
    if (stream.HasToWrite())
        stream.IOCPSend();
}

void port_loop::handle_close(CKSocketStream& stream, CKSocketOverlappedStruct* record)
{
    stream.SetDisconnected(true);
    delete record;
    stream.Close(); // ends what is outstanding
    const std::lock_guard lock(mutex_);
    ++closes_[&stream];
    ++close_records_;
}

} // namespace kf::test
