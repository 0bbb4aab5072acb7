#include "KFramework/core.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/sockets_win.h"
#include "KFramework/socket.h"
#include "tests/stream_soak/numbered_traffic_win.h"
#include "tests/support/captured_log_win.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/winsock_session_win.h"

#include <chrono>
#include <gtest/gtest.h>
#include <random>

namespace
{

using namespace kf::test;
using kf::platform::unique_handle;
using kf::platform::unique_socket;

/// Listens on loopback, on a port of the system's choice.
struct listener
{
    listener()
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        int size = sizeof address;
        EXPECT_EQ(::bind(socket.get(), reinterpret_cast<sockaddr*>(&address), size), 0);
        EXPECT_EQ(::listen(socket.get(), SOMAXCONN), 0);
        EXPECT_EQ(::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size), 0);
        port = ::ntohs(address.sin_port);
    }

    [[nodiscard]] SOCKET accept() const
    {
        return KFramework::KSocket::AcceptSocket(socket.get(), nullptr, nullptr);
    }

    unique_socket socket{::socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)};
    int port = 0;
};

/// A child process that is killed when it still runs at the end.
class child
{
public:
    explicit child(const std::string& arguments)
    {
        std::wstring line = utf8_path("\"" + child_program("stream_peer") + "\" " + arguments).wstring();
        STARTUPINFOW start{};
        start.cb = sizeof start;
        PROCESS_INFORMATION made{};
        EXPECT_TRUE(::CreateProcessW(nullptr, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr,
                                     &start, &made));
        process_.reset(made.hProcess);
        ::CloseHandle(made.hThread);
    }
    ~child() { kill(); }
    child(const child&) = delete;
    child& operator=(const child&) = delete;

    void kill()
    {
        ::TerminateProcess(process_.get(), 9);
        ::WaitForSingleObject(process_.get(), 20000);
    }

    [[nodiscard]] DWORD exit_code() const
    {
        DWORD code = STILL_ACTIVE;
        EXPECT_EQ(::WaitForSingleObject(process_.get(), 60000), WAIT_OBJECT_0);
        ::GetExitCodeProcess(process_.get(), &code);
        return code;
    }

private:
    unique_handle process_;
};

/// Passes bytes on in pieces of random sizes until the sender ends.
void relay(SOCKET from, SOCKET to, unsigned int seed)
{
    std::mt19937 random(seed);
    std::vector<char> bytes(32768);
    for (;;)
    {
        const int asked = 1 + static_cast<int>(random() % bytes.size());
        const int received = ::recv(from, bytes.data(), asked, 0);
        if (received <= 0)
            break;
        for (int at = 0; at < received;)
        {
            const unsigned int most = random() % 8 == 0 ? 7 : 9000;
            const int piece = std::min(received - at, 1 + static_cast<int>(random() % most));
            if (!send_all(to, std::string(bytes.data() + at, static_cast<std::size_t>(piece))))
                return;
            at += piece;
        }
    }
    ::shutdown(to, SD_SEND);
}

/// Lets the mutex pool, which never shrinks, grow beyond what a test needs at once.
void grow_mutex_pool()
{
    std::vector<CKSocketStream> streams(40);
    for (CKSocketStream& stream : streams)
        stream.LockRead();
    for (CKSocketStream& stream : streams)
        stream.UnlockRead();
}

class StreamSoak : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        KFramework::InitializeLibrary("stream_soak_test");
        grow_mutex_pool();
    }

    winsock_session winsock_;
    captured_log log_; // keeps the lines of broken connections off standard error
};

TEST_F(StreamSoak, TwoProcessesExchangeNumberedMessagesThroughRandomSplits)
{
    constexpr unsigned int kCount = 20000;
    const listener for_relay;
    const listener for_host;
    child peer("numbers " + std::to_string(for_relay.port) + " " + std::to_string(kCount));

    const unique_socket outer(for_relay.accept());
    KFramework::KSocket::SetNagleStatus(outer.get(), true);
    CKSocketStream connecting;
    ASSERT_TRUE(connecting.Connect("127.0.0.1", for_host.port));
    const unique_socket inner(connecting.GetSocket());
    connecting.UnbindSocket();
    KFramework::KSocket::SetNagleStatus(inner.get(), true);
    std::thread there([&] { relay(outer.get(), inner.get(), 11); });
    std::thread back([&] { relay(inner.get(), outer.get(), 12); });

    numbered_end end(1, 2, kCount, true);
    {
        port_loop loop([&end](CKSocketStream&, const port_loop::message& one) { end.receive(one); });
        CKSocketStream& stream = loop.add(for_host.accept());
        EXPECT_TRUE(end.send(stream));
        while (!end.received_all() && !stream.IsDisconnected())
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        EXPECT_EQ(end.received(), kCount);
        EXPECT_EQ(end.wrong(), 0U);
        EXPECT_TRUE(numbered_end::confirm(stream));
        EXPECT_EQ(peer.exit_code(), 0U);
        EXPECT_TRUE(wait_until([&] { return end.complete(); }));
        EXPECT_TRUE(wait_until([&] { return loop.close_records() == 1; }));
        loop.stop();
        EXPECT_EQ(loop.close_records(stream), 1);
    }
    there.join();
    back.join();
}

std::atomic<int> posted_records = 0;
BOOL(WINAPI* real_post)(HANDLE, DWORD, ULONG_PTR, OVERLAPPED*) = nullptr;

BOOL WINAPI count_post(HANDLE port, DWORD bytes, ULONG_PTR key, OVERLAPPED* record)
{
    ++posted_records;
    return real_post(port, bytes, key, record);
}

/// One round against a crowd in another process that dies in the middle.
void meet_crowd(int streams)
{
    std::mt19937 random(7);
    const listener server;
    child peer("crowd " + std::to_string(server.port) + " " + std::to_string(streams));
    port_loop loop([](CKSocketStream& stream, const port_loop::message& one)
                   { stream.AddMessage(one.command, one.text.c_str(), one.parameter + 1, true, false); },
                   4);
    std::vector<CKSocketStream*> all;
    for (int i = 0; i < streams; ++i)
        all.push_back(&loop.add(server.accept()));
    for (int i = 0; i < streams * 3; ++i)
    {
        CKSocketStream& one = *all[random() % all.size()];
        one.AddMessage(1, incompressible_text(random() % 3000, random()).c_str(), 0, true, false);
        if (random() % 12 == 0)
            one.Shutdown();
        else if (random() % 12 == 0)
            one.Close();
    }
    peer.kill();
    // Now and then the Wine server keeps a killed process's connection open; a host ends such streams when their
    // heartbeats fail to come.
    const auto silence = std::chrono::steady_clock::now() + std::chrono::seconds(2);
    while (loop.close_records() != streams && std::chrono::steady_clock::now() < silence)
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    for (CKSocketStream* const one : all)
        if (!one->IsDisconnected())
            one->Shutdown();
    EXPECT_TRUE(wait_until([&] { return loop.close_records() == streams; })) << loop.close_records();
    loop.stop();
    for (CKSocketStream* const one : all)
        EXPECT_EQ(loop.close_records(*one), 1);
}

TEST_F(StreamSoak, EveryStreamHasOneCloseRecordWhenItsPeerShutsDownClosesOrIsKilled)
{
    constexpr int kStreams = 200;
    const import_hook post("PostQueuedCompletionStatus", &count_post);
    real_post = post.original();
    meet_crowd(10); // what the runtime keeps for itself
    const std::size_t before = handle_count();
    posted_records = 0;
    meet_crowd(kStreams);
    EXPECT_EQ(posted_records, kStreams);
    // The logger's and the global mutex live on, and make their event when two threads first meet there.
    constexpr std::size_t kLongLivedMutexes = 4;
    EXPECT_TRUE(wait_until([&] { return handle_count() <= before + kLongLivedMutexes; }))
        << handle_count() << " instead of " << before;
}

TEST_F(StreamSoak, ThreeHundredStreamsTalkForSeconds)
{
    constexpr int kPairs = 150;
    constexpr std::chrono::seconds kTime{15};
    struct record_of_stream
    {
        std::atomic<unsigned int> next = 0;
        CKSocketStream* stream = nullptr;
    };
    std::vector<record_of_stream> records(2 * kPairs);
    std::atomic<bool> stop = false;
    std::atomic<unsigned int> wrong = 0;
    std::atomic<unsigned int> total = 0;
    port_loop loop(
        [&](CKSocketStream& stream, const port_loop::message& one)
        {
            auto& own = *static_cast<record_of_stream*>(stream.GetData());
            if (one.parameter != own.next++ || one.text != numbered_text(one.command, one.parameter))
                ++wrong;
            ++total;
            // The first end of a pair sends command 0, the second answers each with command 1.
            const unsigned int command = 1 - one.command;
            const unsigned int number = one.parameter + one.command;
            if (!stop)
                stream.AddMessage(command, numbered_text(command, number).c_str(), number, false, false);
        },
        4);
    for (std::size_t i = 0; i < kPairs; ++i)
    {
        socket_pair pair;
        for (record_of_stream* const own : {&records[2 * i], &records[2 * i + 1]})
        {
            auto stream = std::make_unique<CKSocketStream>();
            stream->SetData(own);
            stream->BindSocket(own == &records[2 * i] ? pair.release_first() : pair.release_second());
            own->stream = &loop.add(std::move(stream));
        }
    }
    for (std::size_t i = 0; i < kPairs; ++i)
        EXPECT_TRUE(records[2 * i].stream->AddMessage(0, numbered_text(0, 0).c_str(), 0, false, false));
    std::this_thread::sleep_for(kTime);
    stop = true;
    EXPECT_EQ(wrong, 0U);
    EXPECT_GT(total, 2U * kPairs);
    for (const record_of_stream& own : records)
    {
        EXPECT_GT(own.next, 0U);
        EXPECT_FALSE(own.stream->IsDisconnected());
    }
    loop.stop();
    EXPECT_EQ(loop.close_records(), 2 * kPairs);
}

} // namespace
