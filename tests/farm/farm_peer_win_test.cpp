// Workers that the test plays: silent, greedy, lying.

#include "farm_fixture_win.h"
#include "farm_peer_win.h"

#include "KFramework/core.h"
#include "image_files.h"
#include "load.h"
#include "tests/support/winsock_session_win.h"

#include <filesystem>

using namespace farm_test;
namespace files = KFramework::KFileSystem;

TEST_F(Farm, GivesTheFrameOfASilentWorkerToAnother)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments(kSmallJob + " --silence 3"));
    const std::string at = port();
    peer mute(at);
    mute.join("mute");
    mute.send(farm::command::ready, "");
    ASSERT_TRUE(mute.receive(farm::command::order));
    program_run ada("farm_worker", worker_arguments(at, "ada"));

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(
        server.output().find("\nmute       0       0     1          -                -  (left early)\n"),
        std::string::npos)
        << server.output();
    EXPECT_NE(folder.read("farm_server.log").find("mute has been silent for too long"), std::string::npos);
    expect_all_frames();
}

TEST_F(Farm, DropsAnAnswerForAnOrderThatIsNotTheSenders)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    peer liar(at);
    liar.join("liar");
    for (unsigned int ticket = 0; ticket < 20; ++ticket)
        liar.send(farm::command::done, "", ticket);
    liar.send(farm::command::heartbeat, farm::load_text("100 50.4 7 ", "4294967296 1073741824 9 9 9"));
    program_run ada("farm_worker", worker_arguments(at, "ada"));
    ASSERT_TRUE(liar.receive(farm::command::farewell));
    liar.close();

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(folder.read("farm_server.log").find("liar: a late answer for ticket 0 is dropped"),
              std::string::npos);
    EXPECT_NE(server.output().find("\nliar       0       0     0        75%      1.0/4.0 GiB\n"),
              std::string::npos)
        << server.output();
    expect_all_frames();
}

TEST_F(Farm, TakesAFailureWithoutAReasonForAFailure)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    peer terse(at);
    terse.join("terse");
    terse.send(farm::command::ready, "");
    ASSERT_TRUE(terse.receive(farm::command::order));
    terse.send(farm::command::heartbeat, farm::load_text("1 1 ", "8 4 1 1 1"));
    terse.send(farm::command::heartbeat, "\x1B[2J\n\x1B[2J");
    terse.send(farm::command::failed, "", terse.ticket);
    terse.close();
    program_run ada("farm_worker", worker_arguments(at, "ada"));

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(folder.read("farm_server.log").find("failed at terse (try 1 of 3): "), std::string::npos);
    EXPECT_NE(
        server.output().find("\nterse      0       1     0          -                -  (left early)\n"),
        std::string::npos)
        << server.output();
    EXPECT_EQ(server.output().find('\x1B'), std::string::npos);
    expect_all_frames();
}

TEST_F(Farm, NeverTakesAnEarlierServersPartsForAWorkers)
{
    const kf::test::winsock_session winsock;
    const farm::image old{kWidth, kHeight, std::vector<std::uint8_t>(3 * kWidth * kHeight)};
    std::filesystem::create_directory(folder.entry("parts"));
    ASSERT_TRUE(farm::save_png(old, files::GetFileFromMask(folder.text("parts\\1.####.png"), 1)));
    program_run server("farm_server", server_arguments("--frames 1 --width 96 --height 54 --tries 1"));
    peer idler(port());
    idler.join("idler");
    idler.send(farm::command::ready, "");
    ASSERT_TRUE(idler.receive(farm::command::order));
    EXPECT_EQ(idler.ticket, 1U);
    idler.send(farm::command::done, "", idler.ticket);
    ASSERT_TRUE(idler.receive(farm::command::farewell));
    idler.close();

    EXPECT_EQ(server.wait(), 1U) << server.output();
    EXPECT_NE(folder.read("farm_server.log").find("its file is missing or damaged"), std::string::npos);
}

TEST_F(Farm, GivesTheFrameOfAWorkerThatNeverAnswersToAnother)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments(kSmallJob + " --limit 4 --silence 3"));
    const std::string at = port();
    peer busy(at);
    busy.join("busy");
    busy.send(farm::command::ready, "");
    ASSERT_TRUE(busy.receive(farm::command::order));
    peer dumb(at); // says nothing at all
    peer shy(at);  // never asks for work, so no failed frame must wait for it
    shy.join("shy");
    program_run ada("farm_worker", worker_arguments(at, "ada"));
    const auto ended = [&]
    {
        busy.beat();
        shy.beat();
        KFramework::MicroSleep(100);
        return !server.running();
    };
    static_cast<void>(wait_until(ended));

    EXPECT_EQ(server.wait(), 0U) << server.output();
    const std::string log = folder.read("farm_server.log");
    EXPECT_NE(log.find("busy neither answers nor asks for work"), std::string::npos);
    EXPECT_NE(log.find("shy neither answers nor asks for work"), std::string::npos);
    EXPECT_NE(log.find("connection 2 has not said hello"), std::string::npos);
    expect_all_frames();
}

TEST_F(Farm, EndsAWorkerThatAsksAgainWithoutAnAnswer)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    peer greedy(at);
    greedy.join("greedy");
    greedy.send(farm::command::ready, "");
    ASSERT_TRUE(greedy.receive(farm::command::order));
    greedy.send(farm::command::ready, "");
    EXPECT_FALSE(greedy.receive(farm::command::order));
    program_run ada("farm_worker", worker_arguments(at, "ada"));

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(
        server.output().find("\ngreedy     0       0     1          -                -  (left early)\n"),
        std::string::npos)
        << server.output();
    expect_all_frames();
}
