// The farm's worker program: its settings.

#include "host_win.h"
#include "password.h"
#include "password_input_win.h"
#include "protocol.h"
#include "worker_win.h"

#include <KFramework/core.h>
#include <KFramework/filesystem.h>

#include <CLI/CLI.hpp>

using namespace KFramework;

namespace
{
constexpr const char* kProgram = "farm_worker";
constexpr const char* kFooter =
    "The farm's password: the environment variable FARM_PASSWORD or, without it, password in "
    "section [worker] of the file.";

/// The texts that farm.conf and the options hold.
struct scheduling_texts
{
    std::string priority = "normal";
    std::string processors = "all";
};

farm::setting_list shared_settings(farm::worker_settings& to, scheduling_texts& renderer,
                                   std::string& password)
{
    farm::setting_list list("worker");
    list.text("server", "host of the server", to.server, farm::not_empty);
    list.number("silence", "seconds after which a silent server is lost", to.silence_seconds, 3, 86'400);
    list.text("priority", "of the renderer: idle, normal or high", renderer.priority, farm::wrong_priority);
    list.text("processors", "the renderer's, counted from 0, for example 0-3,6; or all", renderer.processors,
              farm::wrong_processors);
    // Right for one machine or one run only: not written into the file unasked.
    list.number("port", "the server's port", to.port, 1, 65535).has_default = false;
    list.text("renderer", "program that draws a frame", to.renderer, farm::not_empty).has_default = false;
    farm::setting& secret = list.text("password", "the farm's", password, farm::wrong_password);
    secret.has_default = false;
    secret.has_option = false;
    return list;
}

/// Takes over the texts; empty, or what is wrong with them.
std::string wrong_scheduling(const scheduling_texts& texts, farm::scheduling& to)
{
    std::string wrong = farm::wrong_priority(texts.priority);
    if (wrong.empty())
        wrong = farm::wrong_processors(texts.processors);
    if (!wrong.empty())
        return wrong;
    to = {*farm::priority_level(texts.priority), *farm::processor_mask(texts.processors)};
    return farm::lacking_processors(to.processors, GetProcessorsThreadsCount());
}
/// Why this worker cannot start, or nothing.
std::string wrong_settings(farm::worker_settings& settings, const scheduling_texts& texts)
{
    if (settings.port == 0)
        return "no port: neither --port nor port in section [worker] is there";
    if (!farm::parse_hello(to_text(farm::hello{settings.name})))
        return "the name must be 1 to 40 letters, digits, - or _";
    return wrong_scheduling(texts, settings.renderer_scheduling);
}

/// Takes the password from the environment or, without it, from the file; empty, or what is wrong with the former.
std::string take_password(std::string&& of_file, farm::secret& password)
{
    farm::secret other(std::move(of_file));
    password = farm::take_environment_password();
    if (password.empty())
        password = std::move(other);
    const std::string wrong = password.empty() ? "" : farm::wrong_password(password.text());
    return wrong.empty() ? "" : "FARM_PASSWORD is wrong: " + wrong; // the file's was looked at before
}
} // namespace

int wmain(int argc, wchar_t** argv)
{
    farm::worker_settings settings;
    scheduling_texts texts;
    std::string file_password;
    settings.renderer = KFileSystem::GetFilePath(_GetModuleFullPath()) + "\\farm_render.exe";

    CLI::App app("Draws frames for a farm server.", kProgram);
    app.footer(kFooter);
    app.add_option("--name", settings.name, "this worker's name: letters, digits, - and _");
    app.add_option("--log-folder", settings.log_folder, "folder of the log file")->required();
    farm::setting_list shared = shared_settings(settings, texts, file_password);
    farm::config_file file;
    std::string path;
    if (const int code = farm::parse_settings(app, argc, argv, shared, path); code >= 0)
        return code;
    if (const int code = farm::load_settings(kProgram, path, shared, file); code >= 0)
        return code;
    farm::secret password;
    std::string wrong = take_password(std::move(file_password), password);
    if (wrong.empty())
        wrong = wrong_settings(settings, texts);
    if (!wrong.empty())
    {
        farm::complain(kProgram, wrong);
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
    file.forget();
    return farm::work(settings, std::move(password));
}
