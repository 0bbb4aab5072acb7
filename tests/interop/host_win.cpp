/// A host that answers every message with the same command, parameter and text, in its own encoding.
///
///     interop_host listen          prints "port N" and serves the one who connects
///     interop_host connect PORT    connects to 127.0.0.1
///
/// Ends with 0 when the peer sends kEnd, with 1 when the connection fails before.

#include <cstdio>
#include <cstring>
#include <cwchar>
#include <string>

#include "KFramework/core.h"
#include "KFramework/socket.h"

using namespace KFramework::KSocket;

namespace
{

constexpr unsigned int kEnd = 0xFFFFFFFF;
constexpr unsigned long long kLargestFrame = 4'000'000;
constexpr int kPatienceSeconds = 60;

bool listen_for_peer(CKSocketStream& stream)
{
    const SOCKET listener = CreateSocket(AF_INET, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    int length = sizeof address;
    if (::bind(listener, reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        ListenSocket(listener) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        return false;
    std::printf("port %d\n", ::ntohs(address.sin_port));
    std::fflush(stdout);
    stream.BindSocket(AcceptSocket(listener, nullptr, nullptr));
    CloseSocket(listener);
    return stream.GetSocket() != INVALID_SOCKET;
}

bool send_queue(CKSocketStream& stream)
{
    while (stream.HasToWrite())
    {
        fd_set writable;
        FD_ZERO(&writable);
        FD_SET(stream.GetSocket(), &writable);
        timeval patience = {kPatienceSeconds, 0};
        if (SelectSocket(0, nullptr, &writable, nullptr, &patience) != 1 || stream.Write() == 0)
            return false;
    }
    return true;
}

/// True when the peer has said that it is done.
bool serve(CKSocketStream& stream)
{
    while (stream.WaitForCompleteMessage(kPatienceSeconds))
    {
        while (stream.HasCompleteMessageAvailable())
        {
            unsigned int command = 0;
            unsigned int parameter = 0;
            char* text = nullptr;
            if (!stream.GetNextMessage(command, &text, &parameter, true))
                continue; // damaged, and gone
            const bool queued = command != kEnd && stream.AddMessage(command, text, parameter, false, true);
            CKSocketStream::DestroyMessageContent(text);
            if (command == kEnd)
                return send_queue(stream);
            if (!queued)
                return false;
        }
        if (!send_queue(stream))
            return false;
    }
    return false;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    WSADATA data;
    if (::WSAStartup(MAKEWORD(2, 2), &data) != 0)
        return 1;
    KFramework::InitializeLibrary(nullptr);
    bool served = false;
    {
        CKSocketStream stream;
        stream.SetMaxIncomingBufferSize(kLargestFrame);
        stream.SetMaxOutgoingBufferSize(kLargestFrame);
        const bool connects = count == 3 && std::wcscmp(arguments[1], L"connect") == 0;
        const bool connected =
            connects ? stream.Connect("127.0.0.1", static_cast<int>(std::wcstol(arguments[2], nullptr, 10)))
                     : listen_for_peer(stream);
        served = connected && stream.GetSocket() != INVALID_SOCKET && serve(stream);
        ShutdownSocket(stream.GetSocket());
        stream.Close();
    }
    KFramework::ShutdownLibrary();
    ::WSACleanup();
    return served ? 0 : 1;
}
