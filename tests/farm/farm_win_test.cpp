// The whole farm: real programs, real sockets, a worker that is killed, peers that talk rubbish.

#include "tests/support/program_run_win.h"

#include "KFramework/core.h"
#include "KFramework/filesystem.h"
#include "image_files.h"
#include "protocol.h"
#include "scene.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"
#include "tests/support/temporary_folder.h"
#include "tests/support/winsock_session_win.h"

#include <gtest/gtest.h>

#include <tlhelp32.h>

#include <filesystem>

namespace
{
using kf::test::program_run;
using kf::test::temporary_folder;
using kf::test::wait_until;
namespace files = KFramework::KFileSystem;

constexpr int kFrames = 6;
constexpr int kWidth = 96;
constexpr int kHeight = 54;

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

const std::string kSmallJob = "--frames 6 --width 96 --height 54";

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

/// A worker played by the test.
class peer
{
public:
    explicit peer(const std::string& port)
    {
        stream_.Connect("127.0.0.1", std::stoi(port));
        EXPECT_NE(stream_.GetSocket(), INVALID_SOCKET);
    }
    ~peer() { close(); }
    peer(const peer&) = delete;
    peer& operator=(const peer&) = delete;

    void send(farm::command what, const std::string& text, unsigned int parameter = 0)
    {
        EXPECT_TRUE(
            stream_.AddMessage(static_cast<unsigned int>(what), text.c_str(), parameter, false, false));
        stream_.FlushWrite();
    }

    /// Reads messages up to one of this kind.
    bool receive(farm::command expected)
    {
        while (stream_.WaitForCompleteMessage(static_cast<int>(kf::test::kDeadline.count())))
        {
            unsigned int what = 0;
            char* text = nullptr;
            stream_.GetNextMessage(what, &text, &ticket, true);
            stream_.DestroyMessageContent(text);
            if (what == static_cast<unsigned int>(expected))
                return true;
        }
        return false;
    }

    /// A sign of life; nothing once the server has ended the connection.
    void beat()
    {
        stream_.AddMessage(static_cast<unsigned int>(farm::command::heartbeat), "", 0, false, false);
        stream_.FlushWrite();
    }

    void close() { stream_.Close(); }

    unsigned int ticket = 0; ///< of the last message received

private:
    KFramework::KSocket::CKSocketStream stream_;
};

/// The test uses streams itself, so it is a host too.
class library_host : public testing::Environment
{
public:
    void SetUp() override { KFramework::InitializeLibrary(nullptr); }
    void TearDown() override { KFramework::ShutdownLibrary(); }
};
const testing::Environment* const host = testing::AddGlobalTestEnvironment(new library_host);

class Farm : public testing::Test
{
protected:
    std::string server_arguments(const std::string& job = kSmallJob) const
    {
        return job + " --progress plain --output " + quoted(folder.text()) + " --port-file " +
               quoted(folder.text("port")) + configuration();
    }

    /// A file of the test's own: the usual one lies beside the programs.
    std::string configuration() const { return " --config " + quoted(folder.text("farm.conf")); }

    /// The port that a started server has chosen.
    std::string port()
    {
        std::error_code ignored;
        const auto written = [&]
        { return std::filesystem::file_size(folder.entry("port"), ignored) + 1 > 2; };
        EXPECT_TRUE(wait_until(written)); // a missing file's size is all ones
        const std::string text = folder.read("port");
        return text.substr(0, text.find('\n'));
    }

    std::string worker_arguments(const std::string& port, const std::string& name,
                                 const std::string& more = {}) const
    {
        return "--port " + port + " --name " + name + " --log-folder " + quoted(folder.text()) +
               configuration() + " " + more;
    }

    std::string frame_file(int frame) const
    {
        return files::GetFileFromMask(folder.text("frame.####.png"), frame);
    }

    /// Every frame is exactly what the scene gives for it, and nothing else is left.
    void expect_all_frames() const
    {
        for (int frame = 1; frame <= kFrames; ++frame)
        {
            const auto read = farm::load_png(frame_file(frame));
            ASSERT_TRUE(read) << frame;
            EXPECT_EQ(
                read->pixels,
                farm::draw_scene(kWidth, kHeight, static_cast<double>(frame % kFrames) / kFrames, {}).pixels)
                << frame;
        }
        EXPECT_TRUE(files::CheckFile(folder.text("contact-sheet.png")));
        EXPECT_EQ(files::GetFirstFileWithPrefix(folder.text("parts\\") + "1"), "");
    }

    temporary_folder folder{"-\xC3\xA9"};
};
} // namespace

TEST_F(Farm, RendersAllFramesWhenAWorkerIsKilledInTheMiddle)
{
    folder.write("farm.conf", "# a small job\n[job]\nframes = 6\nwidth = 96\nheight = 54\n");
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
    const std::string conf = folder.read("farm.conf");
    for (const char* const kept :
         {"# a small job\r\n", "[job]\r\nframes = 6\r\nwidth = 96\r\nheight = 54\r\n",
          "[server]\r\n\r\npatience = 60\r\n", "[worker]\r\n\r\nserver = 127.0.0.1\r\n"})
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

TEST_F(Farm, GivesTheFrameOfASilentWorkerToAnother)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments(kSmallJob + " --silence 3"));
    const std::string at = port();
    peer mute(at);
    mute.send(farm::command::hello, "name=mute");
    mute.send(farm::command::ready, "");
    ASSERT_TRUE(mute.receive(farm::command::order));
    program_run ada("farm_worker", worker_arguments(at, "ada"));

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(
        server.output().find("mute                                         0       0     1  (left early)"),
        std::string::npos)
        << server.output();
    EXPECT_NE(folder.read("farm_server.log").find("has been silent for too long"), std::string::npos);
    expect_all_frames();
}

TEST_F(Farm, DropsAnAnswerForAnOrderThatIsNotTheSenders)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    peer liar(at);
    liar.send(farm::command::hello, "name=liar");
    for (unsigned int ticket = 0; ticket < 20; ++ticket)
        liar.send(farm::command::done, "", ticket);
    program_run ada("farm_worker", worker_arguments(at, "ada"));
    ASSERT_TRUE(liar.receive(farm::command::farewell));
    liar.close();

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(folder.read("farm_server.log").find("liar: a late answer for ticket 0 is dropped"),
              std::string::npos);
    expect_all_frames();
}

TEST_F(Farm, TakesAFailureWithoutAReasonForAFailure)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    peer terse(at);
    terse.send(farm::command::hello, "name=terse");
    terse.send(farm::command::ready, "");
    ASSERT_TRUE(terse.receive(farm::command::order));
    terse.send(farm::command::failed, "", terse.ticket);
    terse.close();
    program_run ada("farm_worker", worker_arguments(at, "ada"));

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(folder.read("farm_server.log").find("failed at terse (try 1 of 3): "), std::string::npos);
    expect_all_frames();
}

TEST_F(Farm, GivesTheFrameOfAWorkerThatNeverAnswersToAnother)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments(kSmallJob + " --limit 4 --silence 3"));
    const std::string at = port();
    peer busy(at);
    busy.send(farm::command::hello, "name=busy");
    busy.send(farm::command::ready, "");
    ASSERT_TRUE(busy.receive(farm::command::order));
    peer shy(at); // never asks for work, so no failed frame must wait for it
    shy.send(farm::command::hello, "name=shy");
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
    expect_all_frames();
}

TEST_F(Farm, EndsAWorkerThatAsksAgainWithoutAnAnswer)
{
    const kf::test::winsock_session winsock;
    program_run server("farm_server", server_arguments());
    const std::string at = port();
    peer greedy(at);
    greedy.send(farm::command::hello, "name=greedy");
    greedy.send(farm::command::ready, "");
    ASSERT_TRUE(greedy.receive(farm::command::order));
    greedy.send(farm::command::ready, "");
    EXPECT_FALSE(greedy.receive(farm::command::order));
    program_run ada("farm_worker", worker_arguments(at, "ada"));

    EXPECT_EQ(server.wait(), 0U) << server.output();
    EXPECT_NE(
        server.output().find("greedy                                       0       0     1  (left early)"),
        std::string::npos)
        << server.output();
    expect_all_frames();
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

TEST(FarmServer, RefusesAnUnknownOptionWithOneLine)
{
    program_run server("farm_server", "--output x --bogus");
    EXPECT_EQ(server.wait(), 2U);
    EXPECT_EQ(server.output(), "farm_server: The following argument was not expected: --bogus\n");
}

TEST(FarmServer, RefusesAnUnwritableFolderWithOneLine)
{
    const temporary_folder folder;
    folder.write("file", "not a folder");
    program_run server("farm_server", "--output " + quoted(folder.text("file\\below")));
    EXPECT_EQ(server.wait(), 3U);
    EXPECT_EQ(server.output(), "farm_server: cannot write to " + folder.text("file\\below") + "\n");
}

TEST(FarmServer, RefusesAMaskWithoutAPlaceForTheNumber)
{
    program_run server("farm_server", "--output x --mask frame.png");
    EXPECT_EQ(server.wait(), 2U);
    EXPECT_EQ(server.output(), "farm_server: the mask frame.png has no # for the frame number\n");
}

TEST(FarmServer, RefusesAMaskWithAFolder)
{
    program_run server("farm_server", "--output x --mask sub\\f.##.png");
    EXPECT_EQ(server.wait(), 2U);
    EXPECT_EQ(server.output(), "farm_server: the mask sub\\f.##.png is no plain file name\n");
}

TEST(FarmServer, RefusesAFolderThatWouldTakeTheNumber)
{
    program_run server("farm_server", "--output C:\\no\\a#b");
    EXPECT_EQ(server.wait(), 2U);
    EXPECT_EQ(server.output(), "farm_server: the folder C:\\no\\a#b must not hold a #\n");
}

TEST(FarmWorker, SaysThatItCannotReachTheServer)
{
    const temporary_folder folder;
    program_run worker("farm_worker", "--port 1 --log-folder " + quoted(folder.text()) + " --config " +
                                          quoted(folder.text("farm.conf")));
    EXPECT_EQ(worker.wait(), 3U);
    EXPECT_EQ(worker.output(), "farm_worker: cannot reach 127.0.0.1:1\n");
}

TEST(FarmWorker, SaysThatTheRendererIsMissing)
{
    const temporary_folder folder;
    program_run worker("farm_worker",
                       "--port 1 --renderer C:\\no\\such.exe --log-folder " + quoted(folder.text()));
    EXPECT_EQ(worker.wait(), 4U);
    EXPECT_EQ(worker.output(), "farm_worker: there is no renderer C:\\no\\such.exe\n");
}

TEST(FarmRender, SaysThatItCannotWrite)
{
    program_run renderer("farm_render", R"(--frame 1 --width 8 --height 8 --mask C:\no\such\f.##.png)");
    EXPECT_EQ(renderer.wait(), 1U);
    EXPECT_NE(renderer.output().find("farm_render: cannot write C:\\no\\such\\f.01.png\n"), std::string::npos)
        << renderer.output();
}
