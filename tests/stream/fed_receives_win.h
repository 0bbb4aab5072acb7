#pragma once
/// Replaces the library's receives: bytes come from a text, in pieces of a chosen size, with no network between.

#include "KFramework/socket.h"
#include "tests/support/import_hook_win.h"

#include <string>

namespace kf::test
{

class fed_receives
{
public:
    /// @param bytes  what arrives.
    /// @param piece  bytes per receive at most; a receive also takes no more than it has room for.
    fed_receives(std::string bytes, std::size_t piece);
    ~fed_receives();
    fed_receives(const fed_receives&) = delete;
    fed_receives& operator=(const fed_receives&) = delete;

    /// Bytes not delivered yet.
    [[nodiscard]] std::size_t left() const noexcept { return bytes_.size() - at_; }
    /// The room that the last receive offered.
    [[nodiscard]] std::size_t last_room() const noexcept { return last_room_; }
    /// Receives asked for.
    [[nodiscard]] int calls() const noexcept { return calls_; }
    /// Bytes of the last receive.
    [[nodiscard]] unsigned int last_bytes() const noexcept { return last_bytes_; }

private:
    static int PASCAL polled(SOCKET socket, char* room, int size, int flags);
    static int PASCAL posted(SOCKET socket, WSABUF* buffers, DWORD count, DWORD* received, DWORD* flags,
                             WSAOVERLAPPED* record, LPWSAOVERLAPPED_COMPLETION_ROUTINE routine);
    unsigned int deliver(char* room, std::size_t size);

    std::string bytes_;
    std::size_t piece_;
    std::size_t at_ = 0;
    std::size_t last_room_ = 0;
    unsigned int last_bytes_ = 0;
    int calls_ = 0;
    import_hook<int PASCAL(SOCKET, char*, int, int)> polled_hook_;
    import_hook<int PASCAL(SOCKET, WSABUF*, DWORD, DWORD*, DWORD*, WSAOVERLAPPED*,
                           LPWSAOVERLAPPED_COMPLETION_ROUTINE)>
        posted_hook_;
};

/// How a whole frame came through the completion path of a stream.
///
/// Posts receives and counts what they bring, as a host does, until nothing is left or the stream shuts down.
///
/// @return  whether the stream still lives.
bool run_posted(KFramework::KSocket::CKSocketStream& stream, fed_receives& feed);

/// The same through Read.
bool run_polled(KFramework::KSocket::CKSocketStream& stream, fed_receives& feed);

} // namespace kf::test
