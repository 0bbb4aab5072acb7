// What the farm's programs say when they cannot start.

#include "tests/support/program_run_win.h"

#include "farm_fixture_win.h"

using namespace farm_test;

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
    folder.write("farm.conf", conf_with_key());
    program_run server("farm_server", "--output " + quoted(folder.text("file\\below")) + " --config " +
                                          quoted(folder.text("farm.conf")));
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

TEST(FarmWorker, SaysWhatIsWrongWithAPasswordWithoutSayingIt)
{
    const temporary_folder folder;
    const std::string arguments =
        "--port 1 --log-folder " + quoted(folder.text()) + " --config " + quoted(folder.text("farm.conf"));
    give_password("open\tsesame");
    program_run first("farm_worker", arguments);
    give_password("");
    EXPECT_EQ(first.wait(), 2U);
    EXPECT_EQ(first.output(), "farm_worker: FARM_PASSWORD is wrong: a password has no control characters\n");
    folder.write("farm.conf", "[worker]\npassword = " + std::string(201, 'x') + "\n");
    program_run second("farm_worker", arguments);
    EXPECT_EQ(second.wait(), 2U);
    EXPECT_EQ(second.output(),
              "farm_worker: " + folder.text("farm.conf") +
                  ": password in section [worker] is wrong: a password has at most 200 bytes\n");
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
