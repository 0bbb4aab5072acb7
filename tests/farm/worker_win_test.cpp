// A worker whose server, played by the test, sends what no server of ours would.

#include "tests/support/program_run_win.h"

#include "KFramework/core.h"
#include "job.h"
#include "protocol.h"
#include "tests/support/deadline.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/winsock_session_win.h"

#include <gtest/gtest.h>

namespace
{
using kf::test::program_run;
namespace sockets = KFramework::KSocket;

/// Waits on the loopback interface for one worker.
class played_server
{
public:
    played_server() : listener_(sockets::CreateSocket(AF_INET, 0))
    {
        sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
        int length = sizeof address;
        EXPECT_EQ(::bind(listener_, reinterpret_cast<sockaddr*>(&address), length), 0);
        EXPECT_EQ(sockets::ListenSocket(listener_), 0);
        ::getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &length);
        port = ::ntohs(address.sin_port);
    }
    ~played_server()
    {
        stream_.Close();
        sockets::CloseSocket(listener_);
    }
    played_server(const played_server&) = delete;
    played_server& operator=(const played_server&) = delete;

    void accept()
    {
        fd_set ready;
        FD_ZERO(&ready);
        FD_SET(listener_, &ready);
        timeval limit{static_cast<long>(kf::test::kDeadline.count()), 0};
        ASSERT_EQ(sockets::SelectSocket(0, &ready, nullptr, nullptr, &limit), 1);
        sockaddr_storage address = {};
        int length = sizeof address;
        stream_.BindSocket(sockets::AcceptSocket(listener_, &address, &length));
    }

    void send(farm::command what, const std::string& text)
    {
        stream_.AddMessage(static_cast<unsigned int>(what), text.c_str(), 1, false, false);
        stream_.FlushWrite();
    }

    int port = 0;

private:
    SOCKET listener_;
    sockets::CKSocketStream stream_;
};

/// What is sent to a worker, message by message.
using messages = std::vector<std::pair<farm::command, std::string>>;

class FarmWorkerConversation : public testing::Test
{
protected:
    /// The exit code of a worker that is told this; keeps its output.
    unsigned long tell(const messages& all)
    {
        const kf::test::temporary_folder folder;
        played_server server;
        program_run worker("farm_worker", "--name ada --port " + std::to_string(server.port) +
                                              " --log-folder \"" + folder.text() + "\" --config \"" +
                                              folder.text("farm.conf") + "\"");
        server.accept();
        for (const auto& [what, text] : all)
            server.send(what, text);
        const unsigned long code = worker.wait().value_or(99);
        output = worker.output();
        return code;
    }

    const kf::test::winsock_session winsock;
    const std::string bundle = to_bundle(farm::job{5, 3});
    const std::string order = to_text(farm::order{8, "C:\\x\\1.####.png"});
    /// Behind what must end the conversation: a worker that goes on finds it and ends with code 0.
    const messages::value_type farewell{farm::command::farewell, ""};
    std::string output;
};
} // namespace

TEST_F(FarmWorkerConversation, EndsAtAFarewellAndSaysWhatTheJobIs)
{
    EXPECT_EQ(tell({{farm::command::job, bundle}, {farm::command::farewell, ""}}), 0U);
    EXPECT_EQ(output, "job: frames 5-7 of frame.####.png, 320 x 180, up to 60 seconds each\n");
}

TEST_F(FarmWorkerConversation, EndsWithAServerWhoseJobIsNone)
{
    EXPECT_EQ(tell({{farm::command::job, bundle.substr(4)}, farewell}), 5U);
    EXPECT_EQ(output, "farm_worker: the server went away\n");
}

TEST_F(FarmWorkerConversation, EndsWithAServerThatDescribesTwoJobs)
{
    EXPECT_EQ(tell({{farm::command::job, bundle}, {farm::command::job, bundle}, farewell}), 5U);
}

TEST_F(FarmWorkerConversation, EndsWithAServerThatOrdersBeforeItDescribes)
{
    EXPECT_EQ(tell({{farm::command::order, order}, farewell}), 5U);
}

TEST_F(FarmWorkerConversation, EndsWithAServerThatOrdersAFrameOutsideItsJob)
{
    EXPECT_EQ(tell({{farm::command::job, bundle}, {farm::command::order, order}, farewell}), 5U);
}

TEST_F(FarmWorkerConversation, EndsWithAServerThatOrdersMoreThanItWasAskedFor)
{
    messages all{{farm::command::job, bundle}};
    for (int i = 0; i < 100; ++i) // the worker may have begun with the first
        all.emplace_back(farm::command::order, to_text(farm::order{5, "C:\\x\\1.####.png"}));
    all.push_back(farewell);
    EXPECT_EQ(tell(all), 5U);
}

TEST_F(FarmWorkerConversation, EndsAtARefusalAndSaysWhy)
{
    EXPECT_EQ(tell({{farm::command::refused, "ask\x1B[2J\nlater"}}), 6U);
    EXPECT_EQ(
        output,
        "farm_worker: the server refuses this worker: ask [2J later; neither FARM_PASSWORD nor password "
        "in section [worker] of farm.conf is there\n");
}

TEST_F(FarmWorkerConversation, EndsWithAServerThatRefusesAfterItsJob)
{
    EXPECT_EQ(tell({{farm::command::job, bundle}, {farm::command::refused, "no"}, farewell}), 5U);
}
