// The farm's server program: listens, shows progress, writes the contact sheet.

#include "server_win.h"

#include "display_win.h"
#include "door_win.h"
#include "host_win.h"
#include "job_folder_win.h"
#include "password.h"
#include "set_password_win.h"

#include <KFramework/core.h>
#include <KFramework/filesystem.h>
#include <KFramework/string.h>

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cstdio>
#include <io.h>
#include <optional>
#include <string_view>

using namespace KFramework;

namespace
{
constexpr const char* kProgram = "farm_server";

/// False when no worker was there for too long.
bool run_job(farm::server& host, const farm::server_settings& settings, bool live)
{
    farm::clock_ticker clock;
    farm::display console(live);
    const auto show = [&]
    {
        for (const std::string& notice : host.take_notices())
            console.say(std::string(kProgram) + ": " + notice);
        const farm::progress now = host.standing();
        console.show(now, host.present_workers());
        return now.workers > 0;
    };
    const unsigned long long patience_ms = 1000ULL * static_cast<unsigned int>(settings.patience_seconds);
    unsigned long long last_company = ::GetTickCount64();
    while (!host.complete() && ::GetTickCount64() - last_company < patience_ms)
    {
        if (show())
            last_company = ::GetTickCount64();
        if (clock.tick())
            host.check_workers();
        MicroSleep(50);
    }
    show();
    console.end();
    return host.complete();
}

/// Lets the workers leave by themselves for a few seconds, then ends what is left.
void part(farm::server& host)
{
    farm::clock_ticker clock;
    const auto wait_until_empty = [&]
    {
        for (int i = 0; i < 100 && !host.empty(); ++i)
        {
            clock.tick();
            MicroSleep(50);
        }
    };
    host.dismiss();
    wait_until_empty();
    host.drop_all();
    wait_until_empty();
}

/// What run_job gives; none when a thread could not be started. Afterwards none touches the server any more.
std::optional<bool> run_job_on_threads(farm::server& host, const farm::server_settings& settings,
                                       SOCKET listener, bool live)
{
    std::optional<bool> finished;
    farm::port_loop loop(settings.threads, host);
    {
        const farm::acceptor door(listener, loop);
        if (host.started() && loop.started() && door.started())
            finished = run_job(host, settings, live);
    } // nobody new comes in from here on
    part(host);
    return finished;
}

int serve(const farm::server_settings& settings, SOCKET listener, bool live)
{
    farm::server host(settings);
    farm::remove_old_pictures(host, settings);
    const std::optional<bool> finished = run_job_on_threads(host, settings, listener, live);
    farm::remove_parts(settings);
    if (!finished)
    {
        farm::complain(kProgram, "cannot start its threads");
        return farm::kCannotStart;
    }
    std::printf("%s", host.summary().c_str());
    if (!*finished)
        farm::complain(kProgram,
                       "no worker for " + std::to_string(settings.patience_seconds) + " seconds, giving up");
    const int done = host.standing().done;
    const bool whole = done == settings.frame_count;
    if (!whole)
        farm::complain(kProgram, "some frames are missing");
    const bool shown = done > 0 && farm::write_contact_sheet(host, settings);
    if (done > 0 && !shown)
        farm::complain(kProgram, "cannot write " + farm::sheet_file(settings));
    return whole && shown ? farm::kSuccess : farm::kIncomplete;
}

/// What is wrong with the name of the frames' files, or nothing.
std::string wrong_mask(const std::string& mask)
{
    if (KFileSystem::GetFileMaskPadding(mask) == 0)
        return "the mask " + mask + " has no # for the frame number";
    const auto is_odd = [](char c)
    {
        return static_cast<unsigned char>(c) < ' ' ||
               std::string_view("\\/:*?\"<>|").find(c) != std::string_view::npos;
    };
    if (std::any_of(mask.begin(), mask.end(), is_odd))
        return "the mask " + mask + " is no plain file name";
    return "";
}

/// What is wrong with the names that were given, or nothing.
std::string wrong_name(const farm::server_settings& settings)
{
    // The frame number would replace everything from there to the last # of the file name.
    if (KFileSystem::GetFileMaskPadding(settings.folder) != 0)
        return "the folder " + settings.folder + " must not hold a #";
    return wrong_mask(settings.mask);
}

/// Why this server cannot start, or nothing.
std::string wrong_settings(const farm::server_settings& settings, const std::string& path)
{
    if (settings.folder.empty())
        return "--output is required";
    std::string wrong = wrong_name(settings);
    if (wrong.empty() && settings.key.empty())
        wrong = path +
                " has no key in section [server]: set the workers' password with farm_server --set-password";
    return wrong;
}

farm::setting_list shared_settings(farm::server_settings& to, int& port)
{
    farm::setting_list list("job");
    list.number("frames", "number of frames", to.frame_count, 1, 100'000);
    list.number("first", "number of the first frame", to.first_frame, 0, 100'000);
    list.number("width", "pixels", to.width, 1, farm::kLargestSide);
    list.number("height", "pixels", to.height, 1, farm::kLargestSide);
    list.text("mask", "sequence mask of the frames' file names", to.mask, wrong_mask);
    list.number("limit", "seconds a renderer may take", to.limit_seconds, 1, 86'400);
    list.number("tries", "tries for one frame", to.tries, 1, 100);
    list.begin("server");
    list.number("port", "port on 127.0.0.1; 0: the system chooses", port, 0, 65535);
    list.number("silence", "seconds after which a silent worker is lost", to.silence_seconds, 3, 86'400);
    list.number("patience", "seconds to wait when there is no worker at all", to.patience_seconds, 1, 86'400);
    farm::setting& key = list.text("key", "of the workers' password", to.key, farm::wrong_key);
    key.has_default = false;
    key.has_option = false;
    list.number("threads", "completion-port threads", to.threads, 1, 64);
    return list;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    farm::server_settings settings;
    int port = 0;
    std::string port_file;
    std::string progress = "auto";
    bool new_password = false;

    CLI::App app("Hands the frames of an animation to workers.", kProgram);
    app.footer("Workers need a password: --set-password comes first.");
    app.add_option("--output", settings.folder, "folder for frames, contact sheet and log; required");
    app.add_flag("--set-password", new_password,
                 "reads the workers' password from standard input, puts its key into the file, and ends");
    app.add_option("--port-file", port_file, "the port is written to this file");
    app.add_option("--progress", progress, "live, plain or auto")
        ->check(CLI::IsMember({"live", "plain", "auto"}));
    farm::setting_list shared = shared_settings(settings, port);
    farm::config_file file;
    std::string path;
    if (const int code = farm::parse_settings(app, argc, argv, shared, path); code >= 0)
        return code;
    if (new_password)
        return farm::set_password(kProgram, path);
    if (const int code = farm::load_settings(kProgram, path, shared, file); code >= 0)
        return code;
    if (!settings.folder.empty())
        settings.folder = farm::full_path(settings.folder); // workers run elsewhere
    if (const std::string wrong = wrong_settings(settings, path); !wrong.empty())
    {
        farm::complain(kProgram, wrong);
        return farm::kBadUsage;
    }
    if (!farm::make_folder(settings.folder) || !farm::make_folder(settings.folder + "\\parts"))
    {
        farm::complain(kProgram, "cannot write to " + settings.folder);
        return farm::kCannotStart;
    }

    const farm::library_session library(settings.folder, kProgram);
    farm::write_missing_settings(kProgram, shared, file);
    file.forget(); // a worker's password may stand there
    const SOCKET listener = farm::listen_on_loopback(port);
    if (listener == INVALID_SOCKET)
    {
        farm::complain(kProgram, "cannot listen on port " + std::to_string(port));
        return farm::kCannotStart;
    }
    if (!port_file.empty() && !KStringHelper::SaveFileFromString(std::to_string(port) + "\n", port_file))
    {
        farm::complain(kProgram, "cannot write " + port_file);
        KSocket::CloseSocket(listener);
        return farm::kCannotStart;
    }
    std::printf("job: %s\nbundle: %s\n", job_line(settings).c_str(), to_bundle(settings).c_str());
    std::printf("listening on 127.0.0.1:%d\n", port);
    std::fflush(stdout);
    return serve(settings, listener,
                 progress == "live" || (progress == "auto" && ::_isatty(::_fileno(stdout)) != 0));
}
