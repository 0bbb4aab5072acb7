#include "KFramework/socket.h" // before <windows.h>

#include "farm_fixture_win.h"

#include "KFramework/core.h"
#include "KFramework/services.h"
#include "KFramework/string.h"
#include "image_files.h"
#include "scene.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace farm_test
{
namespace files = KFramework::KFileSystem;

namespace
{
/// The tests use streams themselves, so they are a host too.
class library_host : public testing::Environment
{
public:
    void SetUp() override { KFramework::InitializeLibrary(nullptr); }
    void TearDown() override { KFramework::ShutdownLibrary(); }
};
const testing::Environment* const host = testing::AddGlobalTestEnvironment(new library_host);
} // namespace

std::string quoted(const std::string& text)
{
    return "\"" + text + "\"";
}

const std::string& farm_password()
{
    static const std::string password = "open-" + std::to_string(std::random_device{}()) + "-sesame";
    return password;
}

const std::string& farm_key()
{
    static const std::string key = KFramework::KServices::GeneratePBKDF2Key(farm_password(), "a grain", 1000);
    return key;
}

void give_password(const std::string& password)
{
    const std::wstring wide = KFramework::KStringHelper::Utf8StringToWideString(password);
    ::SetEnvironmentVariableW(L"FARM_PASSWORD", password.empty() ? nullptr : wide.c_str());
}

std::string conf_with_key(const std::string& more)
{
    return "[server]\nkey = " + farm_key() + "\n\n" + more;
}

void expect_no_password_in(const temporary_folder& folder)
{
    int files = 0;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(folder.path()))
        if (entry.is_regular_file())
        {
            ++files;
            std::ifstream file(entry.path(), std::ios::binary);
            const std::string bytes((std::istreambuf_iterator<char>(file)), {});
            EXPECT_EQ(bytes.find(farm_password()), std::string::npos) << entry.path();
        }
    EXPECT_GT(files, 0);
}

void Farm::SetUp()
{
    folder.write("farm.conf", conf_with_key());
    give_password(farm_password());
}

void Farm::TearDown()
{
    give_password("");
    expect_no_password_in(folder);
}

std::string Farm::server_arguments(const std::string& job) const
{
    return job + " --progress plain --output " + quoted(folder.text()) + " --port-file " +
           quoted(folder.text("port")) + configuration();
}

std::string Farm::configuration() const
{
    return " --config " + quoted(folder.text("farm.conf"));
}

std::string Farm::port() const
{
    std::error_code ignored;
    const auto written = [&] { return std::filesystem::file_size(folder.entry("port"), ignored) + 1 > 2; };
    EXPECT_TRUE(wait_until(written)); // a missing file's size is all ones
    const std::string text = folder.read("port");
    return text.substr(0, text.find('\n'));
}

std::string Farm::worker_arguments(const std::string& port, const std::string& name,
                                   const std::string& more) const
{
    return "--port " + port + " --name " + name + " --log-folder " + quoted(folder.text()) + configuration() +
           " " + more;
}

std::string Farm::frame_file(int frame) const
{
    return files::GetFileFromMask(folder.text("frame.####.png"), frame);
}

void Farm::expect_all_frames() const
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
} // namespace farm_test
