// Draws one frame of the animation: the program that farm workers start.

#include "host_win.h"
#include "image_files.h"
#include "scene.h"

#include <KFramework/filesystem.h>

#include <CLI/CLI.hpp>

#include <cstdio>

int wmain(int argc, wchar_t** argv)
{
    using namespace farm;

    std::string mask;
    int frame = 0;
    int frame_count = 24;
    int width = 320;
    int height = 180;

    CLI::App app("Draws one frame of an animation as a PNG.", "farm_render");
    app.add_option("--mask", mask, "sequence mask of the file, for example frame.####.png")->required();
    app.add_option("--frame", frame, "number of the frame; it also fills the mask")
        ->required()
        ->check(CLI::Range(0, 1'000'000));
    app.add_option("--frames", frame_count, "frames in the whole animation")
        ->envname("FARM_FRAMES")
        ->check(CLI::Range(1, 1'000'000));
    app.add_option("--width", width, "pixels")->check(CLI::Range(1, 8192));
    app.add_option("--height", height, "pixels")->check(CLI::Range(1, 8192));
    if (const int code = parse_command_line(app, argc, argv); code >= 0)
        return code;

    const std::string file = KFramework::KFileSystem::GetFileFromMask(mask, frame);
    if (file.empty())
    {
        complain("farm_render", "the mask " + mask + " has no # for the frame number");
        return kBadUsage;
    }

    const auto show = [frame](int percent)
    {
        std::printf("frame %d: %d%%\n", frame, percent);
        std::fflush(stdout);
    };
    const image picture =
        draw_scene(width, height, static_cast<double>(frame % frame_count) / frame_count, show);
    if (!save_png(picture, file))
    {
        complain("farm_render", "cannot write " + file);
        return kIncomplete;
    }
    return kSuccess;
}
