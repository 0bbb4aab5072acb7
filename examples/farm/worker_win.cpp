#include <KFramework/socket.h> // before <windows.h>

#include "worker_win.h"

#include "host_win.h"
#include "load.h"
#include "mailbox_win.h"
#include "renderer_win.h"

#include <KFramework/core.h>
#include <KFramework/perfmon.h>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr const char* kProgram = "farm_worker";
constexpr int kRenderer = 0; // the instance that the monitor knows it by
constexpr const char* kHint =
    "; neither FARM_PASSWORD nor password in section [worker] of farm.conf is there";

/// The load is measured for as long as this lives.
class monitor_session
{
public:
    monitor_session() { KPerformanceMonitor::StartPerformanceMonitor(); }
    ~monitor_session() { KPerformanceMonitor::StopPerformanceMonitor(); }
    monitor_session(const monitor_session&) = delete;
    monitor_session& operator=(const monitor_session&) = delete;
};

class worker
{
public:
    worker(const worker_settings& settings, connection& server, mailbox& mail)
        : settings_(settings), server_(server), mail_(mail)
    {
    }

    int run(secret password)
    {
        const bool silent = password.empty();
        introduce(std::move(password));
        while (!mail_.admitted() && !over())
            pause();
        if (const std::string why = mail_.refusal(); !why.empty())
        {
            complain(kProgram, "the server refuses this worker: " + why + (silent ? kHint : ""));
            return kRefused;
        }
        if (mail_.admitted())
        {
            admitted_ = true;
            server_.send(command::ready, "", 0);
        }
        while (!over())
            if (const auto next = mail_.next_order())
                draw(*next);
            else
                pause();
        return mail_.farewell() ? kSuccess : kServerVanished;
    }

private:
    void introduce(secret password)
    {
        const hello ours{settings_.name, std::move(password)};
        const secret text(to_text(ours));
        server_.send(command::hello, text.text(), 0);
    }

    bool over() { return mail_.farewell() || mail_.closed() || !mail_.refusal().empty(); }

    void pause()
    {
        keep_alive();
        MicroSleep(10);
    }

    void draw(const received_order& next)
    {
        std::string failure = attempt(next);
        if (mail_.closed())
            return;
        if (failure.empty())
            say(command::done, "", next.ticket);
        else
            say(command::failed, failure, next.ticket);
        say(command::ready, "", 0);
    }

    /// Sends as soon as there is room. The pulse goes on meanwhile: it ends the wait for a server that hangs.
    void say(command what, const std::string& text, unsigned int ticket)
    {
        while (server_.crowded() && !mail_.closed())
        {
            keep_alive();
            MicroSleep(5);
        }
        server_.send(what, text, ticket);
    }

    /// Empty, or why there is no picture. Leaving ends the renderer.
    std::string attempt(const received_order& next)
    {
        renderer child(settings_.renderer, next.whole, next.work, settings_.renderer_scheduling);
        if (!child.started())
            return "the renderer does not start: " + child.error();
        KPerformanceMonitor::SetMonitoringProcessPid(kRenderer, child.id());
        const unsigned long long started = ::GetTickCount64();
        for (;;)
        {
            keep_alive();
            const auto code = child.exit_code();
            for (const std::string& line : child.new_lines(code.has_value()))
                say(command::output, printable(line, kLongestOutputLine), next.ticket);
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
        if (admitted_ && now - last_heartbeat_ >= kHeartbeatSeconds)
        {
            last_heartbeat_ = now;
            server_.send(command::heartbeat,
                         load_text(KPerformanceMonitor::GetFormattedProcUsage(kRenderer),
                                   KPerformanceMonitor::GetFormattedRamUsage(kRenderer)),
                         0);
        }
        if (!server_.CheckHeartBeat(settings_.silence_seconds, now))
            server_.Shutdown(); // its close record sets the mailbox's closed flag
    }

    const worker_settings& settings_;
    connection& server_;
    mailbox& mail_;
    const monitor_session monitor_;
    clock_ticker clock_;
    long long last_heartbeat_ = 0;
    bool admitted_ = false;
};
} // namespace

int work(const worker_settings& settings, secret password)
{
    mailbox mail;
    port_loop loop(1, mail);
    if (!loop.started())
    {
        complain(kProgram, "cannot start a thread");
        return kCannotStart;
    }
    auto* const server = new connection(0);
    server->Retain();
    // A connection by name may report success and hold no socket: ask for it.
    if (!server->Connect(settings.server.c_str(), settings.port) || server->GetSocket() == INVALID_SOCKET)
    {
        server->Release();
        complain(kProgram, "cannot reach " + settings.server + ":" + std::to_string(settings.port));
        return kCannotStart;
    }
    KSocket::SetNagleStatus(server->GetSocket(), true);
    int code = kCannotStart;
    if (loop.serve(server))
    {
        code = worker(settings, *server, mail).run(std::move(password));
        server->Shutdown();
        for (int i = 0; i < 100 && !mail.closed(); ++i)
            MicroSleep(20);
    }
    else
        complain(kProgram, "cannot watch the connection");
    server->Release();
    if (code == kServerVanished)
        complain(kProgram, "the server went away");
    return code;
}
} // namespace farm
