// Who comes in: workers with a wrong password, without one, and clients that do not wait to be let in.

#include "farm_fixture_win.h"
#include "farm_peer_win.h"

#include "KFramework/services.h"
#include "tests/support/winsock_session_win.h"

using namespace farm_test;

namespace
{
const std::string kRefusal = "farm_worker: the server refuses this worker: ";

std::string hello(const std::string& name, const std::string& password)
{
    return "name=" + name + "\npassword=" + password + "\n";
}

bool says(const std::string& text, const std::string& part)
{
    return text.find(part) != std::string::npos;
}
} // namespace

TEST_F(Farm, LetsOnlyWorkersInThatKnowThePassword)
{
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    const temporary_folder own; // a worker's own configuration
    own.write("worker.conf", "[worker]\npassword = " + farm_password() + "\n");
    const std::string alone = "--port " + at + " --log-folder " + quoted(folder.text()) + " --config " +
                              quoted(own.text("worker.conf"));

    give_password("not-" + farm_password());
    program_run eve("farm_worker", alone + " --name eve"); // the variable wins over the file
    give_password("");
    program_run joe("farm_worker", worker_arguments(at, "joe"));
    EXPECT_EQ(eve.wait(), 6U);
    EXPECT_EQ(eve.output(), kRefusal + "wrong password\n");
    EXPECT_EQ(joe.wait(), 6U);
    EXPECT_EQ(joe.output(), kRefusal +
                                "no password; neither FARM_PASSWORD nor password in section [worker] of "
                                "farm.conf is there\n");
    program_run ada("farm_worker", alone + " --name ada");
    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_EQ(ada.wait(), 0U) << ada.output();

    const std::string log = folder.read("farm_server.log");
    for (const std::string& all : {log, server.output()})
    {
        EXPECT_TRUE(says(all, "worker eve from 127.0.0.1:")) << all;
        EXPECT_TRUE(says(all, " is refused: wrong password")) << all;
        EXPECT_TRUE(says(all, "worker joe from 127.0.0.1:")) << all;
        EXPECT_TRUE(says(all, " is refused: no password")) << all;
        EXPECT_FALSE(says(all, farm_password()));
    }
    EXPECT_FALSE(says(server.output(), "\neve  ")) << server.output();
    EXPECT_FALSE(says(eve.output() + joe.output() + ada.output(), farm_password()));
    expect_all_frames();
}

TEST_F(Farm, EndsAStrangerThatSaysMoreThanAHello)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    std::string noise; // does not compress well
    for (std::uint32_t i = 0, state = 1; i < 2000; ++i)
    {
        state = state * 1664525 + 1013904223;
        noise += static_cast<char>('!' + (state >> 16) % 90);
    }
    peer whole(at);
    whole.send(farm::command::hello, noise);
    EXPECT_FALSE(whole.receive(farm::command::job));
    const SOCKET half = KFramework::KSocket::CreateSocket(AF_INET, 0); // promises 60,000 bytes
    ASSERT_TRUE(KFramework::KSocket::ConnectSocket(half, "127.0.0.1", std::stoi(at)));
    const std::string start = std::string("\x01\x60\xEA\0\0\0\0\0\0\x01\0\0\0", 13) + noise;
    EXPECT_EQ(::send(half, start.data(), static_cast<int>(start.size()), 0), static_cast<int>(start.size()));
    char byte = 0;
    EXPECT_LE(::recv(half, &byte, 1, 0), 0);
    KFramework::KSocket::CloseSocket(half);
    peer longest(at); // in name and password
    longest.send(farm::command::hello, hello(std::string(40, 'n'), noise.substr(0, 200)));
    EXPECT_TRUE(longest.receive(farm::command::refused));
    EXPECT_EQ(longest.text, "wrong password");

    const std::string log = folder.read("farm_server.log");
    EXPECT_TRUE(says(log, "connection 1 says too much before it is let in")) << log;
    EXPECT_TRUE(says(log, "connection 2 says too much before it is let in")) << log;
}

TEST_F(Farm, HearsNothingFromAClientBeforeItIsLetIn)
{
    const kf::test::winsock_session winsock;
    // Checked so slowly that what is sent behind a hello comes before the check's end.
    const std::string key = KFramework::KServices::GeneratePBKDF2Key(farm_password(), "a grain", 200'000);
    folder.write("farm.conf", "[server]\nkey = " + key + "\n");
    program_run server("farm_server", server_arguments());
    const std::string at = port();

    peer stubborn(at); // does not leave
    stubborn.send(farm::command::hello, "name=stubborn\n");
    EXPECT_TRUE(stubborn.receive(farm::command::refused));
    EXPECT_EQ(stubborn.text, "no password");
    peer early(at);
    early.send(farm::command::ready, "");
    EXPECT_FALSE(early.receive(farm::command::order));
    peer hasty(at);
    hasty.send(farm::command::hello, hello("hasty", farm_password()));
    hasty.send(farm::command::ready, "");
    EXPECT_FALSE(hasty.receive(farm::command::job));
    peer garbled(at);
    garbled.send(farm::command::hello, hello("garbled", "\x01\x02"));
    EXPECT_FALSE(garbled.receive(farm::command::job));
    peer guesser(at);
    guesser.send(farm::command::hello, hello("guesser", "password"));
    EXPECT_TRUE(guesser.receive(farm::command::refused));
    EXPECT_EQ(guesser.text, "wrong password");
    guesser.send(farm::command::hello, hello("guesser", farm_password()));
    EXPECT_FALSE(guesser.receive(farm::command::job));
    EXPECT_FALSE(stubborn.receive(farm::command::job)); // ended after two seconds

    program_run ada("farm_worker", worker_arguments(at, "ada"));
    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_EQ(ada.wait(), 0U) << ada.output();
    const std::string log = folder.read("farm_server.log");
    EXPECT_TRUE(says(log, "connection 2 does not speak our language (command 2)")) << log;
    EXPECT_TRUE(says(log, "connection 3 does not speak our language (command 2)")) << log;
    EXPECT_TRUE(says(log, "connection 4 does not speak our language (command 1)")) << log;
    EXPECT_TRUE(says(log, "connection 5 does not speak our language (command 1)")) << log;
    EXPECT_TRUE(says(log, "stubborn does not leave")) << log;
    EXPECT_FALSE(says(log, " to early") || says(log, " to hasty") || says(log, " to guesser")) << log;
    EXPECT_TRUE(says(log, "connection 6 is worker ada")) << log;
    expect_all_frames();
}
