// The whole farm: real programs, real sockets, a worker that is killed, clients that talk rubbish.

#include "farm_fixture_win.h"

#include "KFramework/socket.h"
#include "image_files.h"
#include "tests/support/children.h"
#include "tests/support/winsock_session_win.h"

#include <tlhelp32.h>

#include <regex>

using namespace farm_test;
namespace files = KFramework::KFileSystem;

namespace
{
/// Whether any process of this name runs.
bool runs(const wchar_t* name)
{
    const HANDLE list = ::CreateToolhelp32Snapshot(TH32CS_SNAPPROCESS, 0);
    PROCESSENTRY32W entry = {};
    entry.dwSize = sizeof entry;
    bool found = false;
    for (BOOL more = ::Process32FirstW(list, &entry); more; more = ::Process32NextW(list, &entry))
        found = found || std::wstring(entry.szExeFile) == name;
    ::CloseHandle(list);
    return found;
}
} // namespace

TEST_F(Farm, RendersAllFramesWhenAWorkerIsKilledInTheMiddle)
{
    folder.write("farm.conf", conf_with_key("# a small job\n[job]\nframes = 6\nwidth = 96\nheight = 54\n"));
    program_run server("farm_server", server_arguments(""));
    const std::string at = port();
    program_run ada("farm_worker", worker_arguments(at, "ada"));
    program_run bob("farm_worker", worker_arguments(at, "bob"));
    ASSERT_TRUE(wait_until([this] { return files::GetFirstFileWithPrefix(folder.text("frame.")) != ""; }));
    bob.kill();

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_EQ(ada.wait(), 0U) << ada.output();
    EXPECT_NE(server.output().find("6 of 6 frames in"), std::string::npos) << server.output();
    EXPECT_NE(server.output().find("\ndone: frames 1-6\n"), std::string::npos) << server.output();
    const std::string job = "job: frames 1-6 of frame.####.png, 96 x 54, up to 60 seconds each\n";
    EXPECT_TRUE(server.output().starts_with(job + "bundle: ")) << server.output();
    EXPECT_EQ(ada.output(), job);
    expect_all_frames();
    const std::regex row("\nada +[0-9]+ +0 +[0-9]+ +[0-9]{1,3}% +[0-9]+\\.[0-9]/[0-9]+\\.[0-9] GiB\n");
    EXPECT_TRUE(std::regex_search(server.output(), row)) << server.output();
    const std::string conf = folder.read("farm.conf");
    for (const char* const kept :
         {"# a small job\r\n", "[job]\r\nframes = 6\r\nwidth = 96\r\nheight = 54\r\n",
          "\r\npatience = 60\r\n",
          "[worker]\r\n\r\npriority = normal\r\nprocessors = all\r\nserver = 127.0.0.1\r\n"})
        EXPECT_NE(conf.find(kept), std::string::npos) << kept << " in " << conf;
}

TEST_F(Farm, GoesOnWhenAClientSendsRubbish)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    std::vector<SOCKET> strangers;
    for (const std::string& rubbish :
         {std::string("GET / HTTP/1.1\r\nHost: x\r\n\r\n"), std::string(13, '\0'), std::string(13, '\xFF'),
          std::string("\x01\x02\x00\x00\x00\x00\x00\x00\x00\x01\x00\x00\x00..", 15),
          std::string(200'000, 'x')})
    {
        const SOCKET stranger = KFramework::KSocket::CreateSocket(AF_INET, 0);
        ASSERT_TRUE(KFramework::KSocket::ConnectSocket(stranger, "127.0.0.1", std::stoi(at)));
        ::send(stranger, rubbish.data(), static_cast<int>(rubbish.size()), 0);
        strangers.push_back(stranger);
    }
    program_run ada("farm_worker", worker_arguments(at, "ada"));
    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_EQ(ada.wait(), 0U);
    for (const SOCKET stranger : strangers)
        KFramework::KSocket::CloseSocket(stranger);
    expect_all_frames();
}

TEST_F(Farm, AbandonsFramesThatFailThreeTimes)
{
    // A program that ends with an error on a renderer's arguments.
    program_run server("farm_server", server_arguments("--frames 1"));
    program_run ada(
        "farm_worker",
        worker_arguments(port(), "ada", "--renderer " + quoted(kf::test::child_program("farm_server"))));
    EXPECT_EQ(server.wait(), 1U);
    EXPECT_EQ(ada.wait(), 0U);
    EXPECT_NE(server.output().find("0 of 1 frames in"), std::string::npos) << server.output();
    EXPECT_NE(server.output().find("\ndone: no frames\nabandoned: frame 1\n"), std::string::npos)
        << server.output();
    EXPECT_NE(server.output().find("farm_server: some frames are missing\n"), std::string::npos)
        << server.output();
}

TEST_F(Farm, EndsTheWorkerAndItsRendererWhenTheServerGoesAway)
{
    program_run server("farm_server", server_arguments("--width 1600 --height 900"));
    program_run ada("farm_worker", worker_arguments(port(), "ada"));
    ASSERT_TRUE(wait_until([&] { return server.output().find("1 worker") != std::string::npos; }));
    server.kill();
    EXPECT_EQ(ada.wait(), 5U);
    EXPECT_NE(ada.output().find("farm_worker: the server went away\n"), std::string::npos) << ada.output();
    EXPECT_TRUE(wait_until([] { return !runs(L"farm_render.exe"); }));
}

TEST_F(Farm, NeverTakesAnEarlierJobsPicturesForItsOwn)
{
    farm::image old{kWidth, kHeight, std::vector<std::uint8_t>(3 * kWidth * kHeight)};
    for (int frame = 1; frame <= kFrames; ++frame)
        ASSERT_TRUE(farm::save_png(old, frame_file(frame)));
    ASSERT_TRUE(farm::save_png(old, folder.text("contact-sheet.png")));
    program_run server("farm_server", server_arguments(kSmallJob + " --patience 1"));
    EXPECT_EQ(server.wait(), 1U);
    EXPECT_NE(server.output().find("farm_server: some frames are missing\n"), std::string::npos)
        << server.output();
    EXPECT_FALSE(files::CheckFile(frame_file(1)));
    EXPECT_FALSE(files::CheckFile(folder.text("contact-sheet.png")));
}

TEST_F(Farm, EndsARendererThatTakesTooLong)
{
    program_run server("farm_server",
                       server_arguments("--frames 1 --width 4000 --height 3000 --limit 1 --tries 1"));
    program_run ada("farm_worker", worker_arguments(port(), "ada"));
    EXPECT_EQ(server.wait(), 1U) << server.output();
    EXPECT_EQ(ada.wait(), 0U) << ada.output();
    EXPECT_NE(folder.read("farm_server.log").find("(try 1 of 1): the renderer took more than 1 seconds"),
              std::string::npos);
}

TEST_F(Farm, GivesUpWithoutWorkers)
{
    program_run server("farm_server", server_arguments("--patience 1"));
    EXPECT_EQ(server.wait(), 1U);
    EXPECT_NE(server.output().find("no worker for 1 seconds, giving up"), std::string::npos)
        << server.output();
}
