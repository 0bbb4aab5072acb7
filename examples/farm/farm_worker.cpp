// The farm's worker program: takes orders, runs the renderer, reports.

#include "host_win.h"
#include "mailbox_win.h"
#include "renderer_win.h"

#include <KFramework/core.h>
#include <KFramework/filesystem.h>

using namespace KFramework;

namespace
{
constexpr const char* kProgram = "farm_worker";

struct worker_settings
{
    std::string server = "127.0.0.1";
    int port = 0;
    std::string name = "worker";
    std::string renderer;
    std::string log_folder;
    int silence_seconds = 10;
};

class worker
{
public:
    worker(const worker_settings& settings, farm::connection& server, farm::mailbox& mail)
        : settings_(settings), server_(server), mail_(mail)
    {
    }

    int run()
    {
        server_.send(farm::command::hello, to_text(farm::hello{settings_.name}), 0);
        server_.send(farm::command::ready, "", 0);
        while (!mail_.farewell() && !mail_.closed())
        {
            keep_alive();
            if (const auto next = mail_.next_order())
                draw(*next);
            else
                MicroSleep(10);
        }
        return mail_.farewell() ? farm::kSuccess : farm::kServerVanished;
    }

private:
    void draw(const farm::received_order& next)
    {
        std::string failure = attempt(next);
        if (mail_.closed())
            return;
        if (failure.empty())
            say(farm::command::done, "", next.ticket);
        else
            say(farm::command::failed, failure, next.ticket);
        say(farm::command::ready, "", 0);
    }

    /// Sends as soon as there is room. The pulse goes on meanwhile: it ends the wait for a server that hangs.
    void say(farm::command what, const std::string& text, unsigned int ticket)
    {
        while (server_.crowded() && !mail_.closed())
        {
            keep_alive();
            MicroSleep(5);
        }
        server_.send(what, text, ticket);
    }

    /// Empty, or why there is no picture. Leaving ends the renderer.
    std::string attempt(const farm::received_order& next)
    {
        farm::renderer child(settings_.renderer, next.whole, next.work);
        if (!child.started())
            return "the renderer does not start: " + child.error();
        const unsigned long long started = ::GetTickCount64();
        for (;;)
        {
            keep_alive();
            const auto code = child.exit_code();
            for (const std::string& line : child.new_lines(code.has_value()))
                say(farm::command::output, farm::printable(line, farm::kLongestOutputLine), next.ticket);
            if (code)
                return *code == 0 ? "" : "the renderer ended with code " + std::to_string(*code);
            if (mail_.closed())
                return "the server has gone";
            if (::GetTickCount64() - started > 1000ULL * static_cast<unsigned int>(next.whole.limit_seconds))
                return "the renderer took more than " + std::to_string(next.whole.limit_seconds) + " seconds";
            MicroSleep(20);
        }
    }

    /// The worker's pulse comes from its main loop: a worker that hangs falls silent.
    void keep_alive()
    {
        if (!clock_.tick())
            return;
        const long long now = GetServerTime();
        if (now - last_heartbeat_ >= farm::kHeartbeatSeconds)
        {
            last_heartbeat_ = now;
            server_.send(farm::command::heartbeat, "", 0);
        }
        if (!server_.CheckHeartBeat(settings_.silence_seconds, now))
            server_.Shutdown(); // its close record sets the mailbox's closed flag
    }

    const worker_settings& settings_;
    farm::connection& server_;
    farm::mailbox& mail_;
    farm::clock_ticker clock_;
    long long last_heartbeat_ = 0;
};

int work(const worker_settings& settings)
{
    farm::mailbox mail;
    farm::port_loop loop(1, mail);
    auto* const server = new farm::connection(0);
    server->Retain();
    // A connection by name may report success and hold no socket: ask for it.
    if (!server->Connect(settings.server.c_str(), settings.port) || server->GetSocket() == INVALID_SOCKET)
    {
        server->Release();
        farm::complain(kProgram, "cannot reach " + settings.server + ":" + std::to_string(settings.port));
        return farm::kCannotStart;
    }
    KSocket::SetNagleStatus(server->GetSocket(), true);
    int code = farm::kCannotStart;
    if (loop.serve(server))
    {
        code = worker(settings, *server, mail).run();
        server->Shutdown();
        for (int i = 0; i < 100 && !mail.closed(); ++i)
            MicroSleep(20);
    }
    else
        farm::complain(kProgram, "cannot watch the connection");
    server->Release();
    if (code == farm::kServerVanished)
        farm::complain(kProgram, "the server went away");
    return code;
}

farm::setting_list shared_settings(worker_settings& to)
{
    farm::setting_list list("worker");
    list.text("server", "host of the server", to.server, farm::not_empty);
    list.number("silence", "seconds after which a silent server is lost", to.silence_seconds, 3, 86'400);
    // Right for one machine or one run only: not written into the file unasked.
    list.number("port", "the server's port", to.port, 1, 65535).has_default = false;
    list.text("renderer", "program that draws a frame", to.renderer, farm::not_empty).has_default = false;
    return list;
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    worker_settings settings;
    settings.renderer = KFileSystem::GetFilePath(_GetModuleFullPath()) + "\\farm_render.exe";

    CLI::App app("Draws frames for a farm server.", kProgram);
    app.add_option("--name", settings.name, "this worker's name: letters, digits, - and _");
    app.add_option("--log-folder", settings.log_folder, "folder of the log file")->required();
    farm::setting_list shared = shared_settings(settings);
    farm::config_file file;
    if (const int code = farm::read_settings(app, argc, argv, shared, file); code >= 0)
        return code;
    if (settings.port == 0)
    {
        farm::complain(kProgram, "no port: neither --port nor port in section [worker] is there");
        return farm::kBadUsage;
    }
    if (!farm::parse_hello(to_text(farm::hello{settings.name})))
    {
        farm::complain(kProgram, "the name must be 1 to 40 letters, digits, - or _");
        return farm::kBadUsage;
    }
    settings.log_folder = farm::full_path(settings.log_folder);
    if (!farm::make_folder(settings.log_folder))
    {
        farm::complain(kProgram, "cannot write to " + settings.log_folder);
        return farm::kCannotStart;
    }
    settings.renderer = farm::full_path(settings.renderer);
    if (!KFileSystem::CheckFile(settings.renderer))
    {
        farm::complain(kProgram, "there is no renderer " + settings.renderer);
        return farm::kNoRenderer;
    }
    const farm::library_session library(settings.log_folder, settings.name);
    farm::write_missing_settings(kProgram, shared, file);
    return work(settings);
}
