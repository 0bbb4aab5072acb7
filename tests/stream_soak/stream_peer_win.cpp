/// The other process of the soak tests.
///
///   stream_peer numbers PORT COUNT   exchanges COUNT numbered messages in each direction; 0 when all were right
///   stream_peer crowd PORT STREAMS   connects STREAMS streams that answer everything, ends some; until it is killed

#include "KFramework/core.h"
#include "KFramework/logger.h"
#include "tests/stream_soak/numbered_traffic_win.h"
#include "tests/support/deadline.h"
#include "tests/support/winsock_session_win.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>

namespace
{

using namespace kf::test;

std::unique_ptr<CKSocketStream> connect(int port)
{
    auto stream = std::make_unique<CKSocketStream>();
    if (!stream->Connect("127.0.0.1", port))
    {
        std::fprintf(stderr, "stream_peer: cannot connect to port %d\n", port);
        std::exit(2);
    }
    return stream;
}

int exchange_numbers(int port, unsigned int count)
{
    numbered_end end(2, 1, count, true);
    port_loop loop([&end](CKSocketStream&, const port_loop::message& one) { end.receive(one); });
    CKSocketStream& stream = loop.add(connect(port));
    if (!end.send(stream))
        return 3;
    while (!end.received_all() && !stream.IsDisconnected())
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    if (!numbered_end::confirm(stream))
        return 4;
    const bool done = wait_until([&] { return end.complete() && !stream.HasToWrite(); });
    return done && end.received_all() && end.wrong() == 0 ? 0 : 5;
}

int run_crowd(int port, int count)
{
    port_loop loop([](CKSocketStream& stream, const port_loop::message& one)
                   { stream.AddMessage(one.command, one.text.c_str(), one.parameter + 1, true, false); });
    std::vector<CKSocketStream*> streams;
    for (int i = 0; i < count; ++i)
        streams.push_back(&loop.add(connect(port)));
    std::mt19937 random(1);
    for (;;)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        CKSocketStream& one = *streams[random() % streams.size()];
        if (random() % 2 == 0)
            one.Shutdown();
        else
            one.Close();
    }
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count != 4)
        return 1;
    const std::wstring what = arguments[1];
    const int port = _wtoi(arguments[2]);
    const int number = _wtoi(arguments[3]);
    KFramework::InitializeLibrary("stream_peer");
    KFramework::KLogger::CKLoggerInstance silent; // broken connections are the point here
    KFramework::KLogger::CreateLogger(&silent, 0, 0);
    KFramework::SetDefaultLogger(&silent);
    const winsock_session winsock;
    return what == L"numbers" ? exchange_numbers(port, static_cast<unsigned int>(number))
                              : run_crowd(port, number);
}
