// The farm's server program: listens, shows progress, writes the contact sheet.

#include "server_win.h"

#include "host_win.h"
#include "job_folder_win.h"

#include <KFramework/core.h>
#include <KFramework/filesystem.h>
#include <KFramework/string.h>

#include <atomic>
#include <cstdio>
#include <io.h>

using namespace KFramework;

namespace
{
constexpr const char* kProgram = "farm_server";

/// Accepts workers on a thread of its own until stopped.
class acceptor
{
public:
    acceptor(SOCKET listener, farm::port_loop& loop)
        : listener_(listener), loop_(loop), thread_(KProcesses::SpawnThread(&acceptor::routine, this))
    {
    }

    ~acceptor()
    {
        stop_ = true;
        KProcesses::JoinThread(thread_, 0, nullptr);
        KSocket::CloseSocket(listener_);
    }
    acceptor(const acceptor&) = delete;
    acceptor& operator=(const acceptor&) = delete;

private:
    static unsigned int routine(void* start)
    {
        auto* const self = static_cast<acceptor*>(KProcesses::GetThreadData(start));
        for (int id = 1; !self->stop_;)
            id += self->accept_one(id) ? 1 : 0;
        KProcesses::EndThread(0, start);
        return 0;
    }

    bool accept_one(int id)
    {
        fd_set ready;
        FD_ZERO(&ready);
        FD_SET(listener_, &ready);
        timeval moment{0, 100'000};
        if (KSocket::SelectSocket(0, &ready, nullptr, nullptr, &moment) < 1)
            return false;
        sockaddr_storage address = {};
        int length = sizeof address;
        const SOCKET accepted = KSocket::AcceptSocket(listener_, &address, &length);
        if (accepted == INVALID_SOCKET)
        {
            MicroSleep(100); // out of handles, perhaps: the client still waits, and select would not
            return false;
        }

        char host[NI_MAXHOST] = {};
        int port = 0;
        KSocket::FillSocketHostAndPort(&address, &length, host, &port, nullptr);
        KSocket::SetNagleStatus(accepted, true); // orders are small and must not wait
        auto* const stream = new farm::connection(id);
        stream->SetSocketHostAndPort(host, port);
        stream->BindSocket(accepted);
        loop_.serve(stream); // on_opened tells the server
        return true;
    }

    SOCKET listener_;
    farm::port_loop& loop_;
    std::atomic<bool> stop_ = false;
    KProcesses::KThreadObject* thread_;
};

/// A listening socket on the loopback interface; `port` 0 lets the system choose, and is set to the choice.
SOCKET listen_on_loopback(int& port)
{
    const SOCKET listener = KSocket::CreateSocket(AF_INET, 0);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = ::htonl(INADDR_LOOPBACK);
    address.sin_port = ::htons(static_cast<u_short>(port));
    int length = sizeof address;
    if (::bind(listener, reinterpret_cast<sockaddr*>(&address), length) != 0 ||
        KSocket::ListenSocket(listener) != 0 ||
        ::getsockname(listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
    {
        KSocket::CloseSocket(listener);
        return INVALID_SOCKET;
    }
    port = ::ntohs(address.sin_port);
    return listener;
}

/// The line that is redrawn while the job runs, or a line per change where the output is no console.
class display
{
public:
    explicit display(bool live) : live_(live) {}

    void show(const farm::progress& now)
    {
        const int ended = now.done + now.abandoned;
        if (!live_ && ended == last_ended_ && now.workers == last_workers_)
            return;
        last_ended_ = ended;
        last_workers_ = now.workers;
        std::printf(live_ ? "\r%-78s" : "%s\n", farm::progress_line(now).c_str());
        std::fflush(stdout);
    }

    void end() const
    {
        if (live_)
            std::printf("\n");
    }

private:
    bool live_;
    int last_ended_ = -1;
    int last_workers_ = -1;
};

/// False when no worker was there for too long.
bool run_job(farm::server& host, const farm::server_settings& settings, bool live)
{
    farm::clock_ticker clock;
    display console(live);
    const unsigned long long patience_ms = 1000ULL * static_cast<unsigned int>(settings.patience_seconds);
    unsigned long long last_company = ::GetTickCount64();
    while (!host.complete() && ::GetTickCount64() - last_company < patience_ms)
    {
        const farm::progress now = host.standing();
        console.show(now);
        if (now.workers > 0)
            last_company = ::GetTickCount64();
        if (clock.tick())
            host.check_workers();
        MicroSleep(50);
    }
    console.show(host.standing());
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

int serve(const farm::server_settings& settings, SOCKET listener, bool live)
{
    bool finished = false;
    farm::server host(settings);
    farm::remove_old_pictures(host, settings);
    {
        farm::port_loop loop(settings.threads, host);
        {
            const acceptor door(listener, loop);
            finished = run_job(host, settings, live);
        } // nobody new comes in from here on
        part(host);
    } // no thread of ours touches the server any more
    farm::remove_parts(settings);
    std::printf("%s", host.summary().c_str());
    if (!finished)
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
/// What is wrong with the names that were given, or nothing.
std::string wrong_name(const farm::server_settings& settings)
{
    if (KFileSystem::GetFileMaskPadding(settings.mask) == 0)
        return "the mask " + settings.mask + " has no # for the frame number";
    if (settings.mask.find_first_of("\\/:*?\"<>|") != std::string::npos)
        return "the mask " + settings.mask + " is no plain file name";
    // The frame number would replace everything from there to the last # of the file name.
    if (KFileSystem::GetFileMaskPadding(settings.folder) != 0)
        return "the folder " + settings.folder + " must not hold a #";
    return "";
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    farm::server_settings settings;
    int port = 0;
    std::string port_file;
    std::string progress = "auto";

    CLI::App app("Hands the frames of an animation to workers.", kProgram);
    app.add_option("--output", settings.folder, "folder for frames, contact sheet and log")->required();
    app.add_option("--frames", settings.frame_count, "number of frames")->check(CLI::Range(1, 100'000));
    app.add_option("--first", settings.first_frame, "number of the first frame")
        ->check(CLI::Range(0, 100'000));
    app.add_option("--width", settings.width, "pixels")->check(CLI::Range(1, 8192));
    app.add_option("--height", settings.height, "pixels")->check(CLI::Range(1, 8192));
    app.add_option("--mask", settings.mask, "sequence mask of the frames' file names");
    app.add_option("--port", port, "port on 127.0.0.1; 0: the system chooses")->check(CLI::Range(0, 65535));
    app.add_option("--port-file", port_file, "the port is written to this file");
    app.add_option("--tries", settings.tries, "tries for one frame")->check(CLI::Range(1, 100));
    app.add_option("--limit", settings.limit_seconds, "seconds a renderer may take")
        ->check(CLI::Range(1, 86'400));
    app.add_option("--silence", settings.silence_seconds, "seconds after which a silent worker is lost")
        ->check(CLI::Range(3, 86'400));
    app.add_option("--patience", settings.patience_seconds, "seconds to wait when there is no worker at all")
        ->check(CLI::Range(1, 86'400));
    app.add_option("--threads", settings.threads, "completion-port threads")->check(CLI::Range(1, 64));
    app.add_option("--progress", progress, "live, plain or auto")
        ->check(CLI::IsMember({"live", "plain", "auto"}));
    if (const int code = farm::parse_command_line(app, argc, argv); code >= 0)
        return code;
    settings.folder = farm::full_path(settings.folder); // workers run elsewhere
    if (const std::string wrong = wrong_name(settings); !wrong.empty())
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
    const SOCKET listener = listen_on_loopback(port);
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
    std::printf("listening on 127.0.0.1:%d\n", port);
    std::fflush(stdout);
    return serve(settings, listener,
                 progress == "live" || (progress == "auto" && ::_isatty(::_fileno(stdout)) != 0));
}
