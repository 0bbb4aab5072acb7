#include "tests/stream/fed_receives_win.h"

#include <algorithm>
#include <cstring>

namespace kf::test
{

namespace
{

fed_receives* current = nullptr;

} // namespace

fed_receives::fed_receives(std::string bytes, std::size_t piece)
    : bytes_(std::move(bytes)), piece_(piece), polled_hook_("recv", &polled), posted_hook_("WSARecv", &posted)
{
    current = this;
}

fed_receives::~fed_receives()
{
    current = nullptr;
}

unsigned int fed_receives::deliver(char* room, std::size_t size)
{
    ++calls_;
    last_room_ = size;
    last_bytes_ = static_cast<unsigned int>(std::min({size, piece_, left()}));
    std::memcpy(room, bytes_.data() + at_, last_bytes_);
    at_ += last_bytes_;
    return last_bytes_;
}

int PASCAL fed_receives::polled(SOCKET, char* room, int size, int)
{
    return static_cast<int>(current->deliver(room, static_cast<std::size_t>(size)));
}

int PASCAL fed_receives::posted(SOCKET, WSABUF* buffers, DWORD, DWORD*, DWORD*, WSAOVERLAPPED*,
                                LPWSAOVERLAPPED_COMPLETION_ROUTINE)
{
    current->deliver(buffers->buf, buffers->len);
    return 0;
}

bool run_posted(KFramework::KSocket::CKSocketStream& stream, fed_receives& feed)
{
    while (feed.left() != 0)
    {
        const int before = feed.calls();
        stream.SetupReadEvent();
        if (feed.calls() == before)
            return false;
        stream.IncrementReadBytes(feed.last_bytes(), true);
        stream.readEvent.Unmark();
    }
    return true;
}

bool run_polled(KFramework::KSocket::CKSocketStream& stream, fed_receives& feed)
{
    while (feed.left() != 0)
        if (stream.Read() < 1)
            return false;
    return true;
}

} // namespace kf::test
