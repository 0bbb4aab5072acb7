#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/manual_port_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"

#include <atomic>
#include <cstring>
#include <gtest/gtest.h>

namespace
{

using namespace kf::test;

/// A listening socket on loopback, on a port of the system's choice.
class listener
{
public:
    explicit listener(int family) : socket_(::socket(family, SOCK_STREAM, IPPROTO_TCP))
    {
        sockaddr_storage address{};
        int size = family == AF_INET ? int{sizeof(sockaddr_in)} : int{sizeof(sockaddr_in6)};
        address.ss_family = static_cast<short>(family);
        if (family == AF_INET)
            reinterpret_cast<sockaddr_in&>(address).sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        else
            reinterpret_cast<sockaddr_in6&>(address).sin6_addr = in6addr_loopback;
        EXPECT_EQ(::bind(socket_, reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(::listen(socket_, 5), 0);
        EXPECT_EQ(::getsockname(socket_, reinterpret_cast<sockaddr*>(&address), &size), 0);
        port_ =
            ::ntohs(reinterpret_cast<sockaddr_in&>(address).sin_port); // at the same place in both families
    }
    ~listener() { close(); }
    listener(const listener&) = delete;
    listener& operator=(const listener&) = delete;

    [[nodiscard]] int port() const noexcept { return port_; }
    [[nodiscard]] SOCKET accept() const { return ::accept(socket_, nullptr, nullptr); }
    void close() { ::closesocket(std::exchange(socket_, INVALID_SOCKET)); }

private:
    SOCKET socket_;
    int port_ = 0;
};

class Connect : public testing::Test
{
protected:
    winsock_session winsock_;
    CKSocketStream stream_;

    void TearDown() override { stream_.Close(); }

    void expect_failed_dual_stack()
    {
        EXPECT_EQ(stream_.GetSocket(), INVALID_SOCKET);
        EXPECT_FALSE(stream_.IsDisconnected());
        EXPECT_STREQ(stream_.GetSocketHost(), "Unknown");
        EXPECT_EQ(stream_.GetSocketPort(), 0);
    }
};

bool begins_with(const std::string& text, const std::string& beginning)
{
    return text.compare(0, beginning.size(), beginning) == 0;
}

void expect_talk(CKSocketStream& stream, const listener& server)
{
    const SOCKET peer = server.accept();
    ASSERT_TRUE(stream.AddMessage(1, "hello", 2, false, false));
    EXPECT_EQ(stream.Write(), 18);
    EXPECT_EQ(receive_exactly(peer, 18), frame(1, "hello", 2));
    ::closesocket(peer);
}

TEST_F(Connect, TakesTheIPv4PathForANumericAddress)
{
    captured_output error(captured_output::stream::error);
    const listener server(AF_INET);
    stream_.SetDisconnected(true);
    stream_.UpdateHeartBeat(1);
    EXPECT_TRUE(stream_.Connect("127.0.0.1", server.port()));
    EXPECT_STREQ(stream_.GetSocketHost(), "127.0.0.1");
    EXPECT_EQ(stream_.GetSocketPort(), server.port());
    EXPECT_FALSE(stream_.IsDisconnected());
    EXPECT_GE(stream_.lastHeartbeat, 1'600'000'000);
    DWORD flags = HANDLE_FLAG_INHERIT;
    EXPECT_TRUE(::GetHandleInformation(reinterpret_cast<HANDLE>(stream_.GetSocket()), &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0U);
    expect_talk(stream_, server);
    EXPECT_EQ(error.text(), "");
}

TEST_F(Connect, TakesTheDualStackPathForAnIPv6Address)
{
    captured_output error(captured_output::stream::error);
    const listener server(AF_INET6);
    EXPECT_TRUE(stream_.Connect("::1", server.port()));
    EXPECT_STREQ(stream_.GetSocketHost(), "::1");
    EXPECT_EQ(stream_.GetSocketPort(), server.port());
    EXPECT_NE(stream_.GetSocket(), INVALID_SOCKET);
    DWORD flags = HANDLE_FLAG_INHERIT;
    EXPECT_TRUE(::GetHandleInformation(reinterpret_cast<HANDLE>(stream_.GetSocket()), &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0U);
    expect_talk(stream_, server);
    EXPECT_EQ(error.text(), "");
}

TEST_F(Connect, FailsSilentlyWhenAnIPv4PeerRefuses)
{
    captured_output error(captured_output::stream::error);
    listener server(AF_INET);
    server.close();
    EXPECT_FALSE(stream_.Connect("127.0.0.1", server.port()));
    EXPECT_EQ(stream_.GetSocket(), INVALID_SOCKET);
    EXPECT_TRUE(stream_.IsDisconnected());
    EXPECT_STREQ(stream_.GetSocketHost(), "127.0.0.1");
    EXPECT_EQ(stream_.GetSocketPort(), server.port());
    EXPECT_EQ(error.text(), "");
}

SOCKET PASCAL no_socket(int, int, int)
{
    ::WSASetLastError(WSAEMFILE);
    return INVALID_SOCKET;
}

TEST_F(Connect, FailsOnBothPathsWithoutASocket)
{
    for (const char* const host : {"127.0.0.1", "::1"})
    {
        captured_output error(captured_output::stream::error);
        const import_hook hook("socket", &no_socket);
        stream_.SetDisconnected(false);
        EXPECT_FALSE(stream_.Connect(host, 9));
        EXPECT_TRUE(stream_.IsDisconnected());
        EXPECT_EQ(stream_.GetSocket(), INVALID_SOCKET);
        EXPECT_EQ(error.text(), "Error while calling socket(): 10024\n");
    }
}

int WSAAPI name_not_found(const char*, const char*, const addrinfo*, addrinfo**)
{
    return WSAHOST_NOT_FOUND;
}

BOOL WSAAPI connect_by_no_name(SOCKET, LPWSTR, LPWSTR, LPDWORD, LPSOCKADDR, LPDWORD, LPSOCKADDR,
                               const timeval*, LPWSAOVERLAPPED)
{
    ::WSASetLastError(WSAHOST_NOT_FOUND);
    return FALSE;
}

// KEPT[dual-stack-success]
TEST_F(Connect, ReportsSuccessWithoutASocketWhenTheNameIsUnknown)
{
    captured_output error(captured_output::stream::error);
    const import_hook lookup("getaddrinfo", &name_not_found);
    const import_hook by_name("WSAConnectByNameW", &connect_by_no_name);
    stream_.UpdateHeartBeat(1);
    stream_.SetDisconnected(true);
    EXPECT_TRUE(stream_.Connect("no.such.host", 80));
    expect_failed_dual_stack();
    EXPECT_GE(stream_.lastHeartbeat, 1'600'000'000);
    EXPECT_TRUE(begins_with(error.text(), "WSAConnectByName() failed with error: 11001\n")) << error.text();
}

std::atomic<int> refused_option = 0;
int(WSAAPI* real_setsockopt)(SOCKET, int, int, const char*, int) = nullptr;

int WSAAPI refuse_one_option(SOCKET socket, int level, int name, const char* value, int size)
{
    if (name != refused_option)
        return real_setsockopt(socket, level, name, value, size);
    ::WSASetLastError(WSAENOPROTOOPT);
    return SOCKET_ERROR;
}

// KEPT[dual-stack-success]
TEST_F(Connect, ReportsSuccessWhenTheSocketCannotBeDualStack)
{
    captured_output error(captured_output::stream::error);
    const listener server(AF_INET6);
    const import_hook option("setsockopt", &refuse_one_option);
    real_setsockopt = option.original();
    refused_option = IPV6_V6ONLY;
    EXPECT_TRUE(stream_.Connect("::1", server.port()));
    expect_failed_dual_stack();
    EXPECT_TRUE(begins_with(error.text(), "Error while setting IPV6_V6 only to false\n")) << error.text();
}

// KEPT[dual-stack-success]
TEST_F(Connect, ReportsSuccessWhenTheConnectionsContextCannotBeUpdated)
{
    captured_output error(captured_output::stream::error);
    const listener server(AF_INET6);
    const import_hook option("setsockopt", &refuse_one_option);
    real_setsockopt = option.original();
    refused_option = 0x7010;
    EXPECT_TRUE(stream_.Connect("::1", server.port()));
    EXPECT_EQ(stream_.GetSocket(), INVALID_SOCKET);
    EXPECT_FALSE(stream_.IsDisconnected());
    EXPECT_EQ(error.text(), "setsockopt for SO_UPDATE_CONNECT_CONTEXT failed with error: 10042\n");
    EXPECT_STREQ(stream_.GetSocketHost(), "::1"); // the peer's address was known
}

int(PASCAL* real_close)(SOCKET) = nullptr;

TEST_F(Connect, SaysWhenTheFailedSocketCannotBeClosed)
{
    const import_hook close(
        "closesocket",
        +[](SOCKET socket) PASCAL -> int
        {
            real_close(socket);
            ::WSASetLastError(WSAENOTSOCK);
            return SOCKET_ERROR;
        });
    real_close = close.original();
    {
        captured_output error(captured_output::stream::error);
        listener server(AF_INET);
        server.close();
        EXPECT_FALSE(stream_.Connect("127.0.0.1", server.port()));
        EXPECT_EQ(error.text(), "Error while closing socket(): 10038\n");
    }
    captured_output error(captured_output::stream::error);
    const import_hook lookup("getaddrinfo", &name_not_found);
    const import_hook by_name("WSAConnectByNameW", &connect_by_no_name);
    EXPECT_TRUE(stream_.Connect("no.such.host", 80));
    EXPECT_TRUE(begins_with(error.text(), "WSAConnectByName() failed with error: 11001\n"
                                          "Error while closing socket(): 10038\n"))
        << error.text();
}

int(WSAAPI* real_lookup)(const char*, const char*, const addrinfo*, addrinfo**) = nullptr;
hostent*(WSAAPI* real_by_name)(const char*) = nullptr;
std::string asked;

int WSAAPI lookup_loopback(const char* name, const char* service, const addrinfo* hints, addrinfo** result)
{
    asked += std::string(name) + (service == nullptr && hints == nullptr ? ";" : "?");
    return real_lookup("127.0.0.1", nullptr, nullptr, result);
}

hostent* WSAAPI by_name_loopback(const char* name)
{
    asked += std::string(name) + ";";
    return real_by_name("127.0.0.1");
}

TEST_F(Connect, LooksANameUpTwiceOnTheIPv4Path)
{
    asked.clear();
    const listener server(AF_INET);
    const import_hook lookup("getaddrinfo", &lookup_loopback);
    const import_hook by_name("gethostbyname", &by_name_loopback);
    real_lookup = lookup.original();
    real_by_name = by_name.original();
    EXPECT_TRUE(stream_.Connect("farm.test", server.port()));
    EXPECT_EQ(asked, "farm.test;farm.test;");
    EXPECT_STREQ(stream_.GetSocketHost(), "127.0.0.1");
}

unsigned long asked_address = 0;

TEST_F(Connect, ConnectsToNoAddressWhenTheSecondLookUpFindsNothing)
{
    const import_hook by_name(
        "gethostbyname", +[](const char*) WSAAPI -> hostent* { return nullptr; });
    const import_hook connect(
        "connect",
        +[](SOCKET, const sockaddr* address, int) WSAAPI -> int
        {
            asked_address = reinterpret_cast<const sockaddr_in*>(address)->sin_addr.s_addr;
            ::WSASetLastError(WSAECONNREFUSED);
            return SOCKET_ERROR; // nothing leaves the machine
        });
    EXPECT_FALSE(stream_.Connect("127.0.0.1", 9));
    EXPECT_EQ(asked_address, ::inet_addr(""));
    EXPECT_TRUE(stream_.IsDisconnected());
}

char*(WSAAPI* real_text)(in_addr) = nullptr;
std::atomic<bool> got_in = false;
std::atomic<int> texts = 0;
std::atomic<int> unguarded_texts = 0;
std::vector<std::thread> intruders;

TEST_F(Connect, ReadsTheSharedAddressTextUnderTheGlobalMutex)
{
    texts = unguarded_texts = 0;
    const import_hook text(
        "inet_ntoa",
        +[](in_addr address) WSAAPI -> char*
        {
            got_in = false;
            intruders.emplace_back(
                []
                {
                    KFramework::LockGlobalMutex();
                    got_in = true;
                    KFramework::UnlockGlobalMutex();
                });
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
            unguarded_texts += got_in ? 1 : 0;
            ++texts;
            return real_text(address);
        });
    real_text = text.original();
    const listener server(AF_INET);
    EXPECT_TRUE(stream_.Connect("127.0.0.1", server.port()));
    for (std::thread& intruder : intruders)
        intruder.join();
    intruders.clear();
    EXPECT_EQ(texts, 2);
    EXPECT_EQ(unguarded_texts, 0);
}

TEST_F(OnPort, ConnectClosesTheOldConnectionFirstAndPostsItsRecord)
{
    const listener server(AF_INET);
    EXPECT_TRUE(stream_->Connect("127.0.0.1", server.port()));
    EXPECT_EQ(port_.take_close_records(), 1);
    EXPECT_EQ(stream_->completionPort, nullptr);
    EXPECT_EQ(receive_exactly(pair_.second(), 1), "");
    expect_talk(*stream_, server);
}

TEST_F(OnPort, ConnectKeepsAnUnboundConnectionAndPostsNothing)
{
    const listener server(AF_INET);
    stream_->UnbindSocket();
    EXPECT_TRUE(stream_->Connect("127.0.0.1", server.port()));
    EXPECT_EQ(port_.take_close_records(), 0);
    EXPECT_TRUE(send_all(socket_, "x"));
    EXPECT_EQ(receive_exactly(pair_.second(), 1), "x");
    ::closesocket(socket_);
}

} // namespace
