#include "host_win.h"

#include <KFramework/core.h>
#include <KFramework/filesystem.h>
#include <KFramework/object.h>
#include <KFramework/string.h>

#include <CLI/CLI.hpp>

#include <cstdio>
#include <vector>

namespace farm
{
using namespace KFramework;

library_session::library_session(const std::string& folder, const std::string& name)
{
    WSADATA winsock;
    ::WSAStartup(MAKEWORD(2, 2), &winsock);
    InitializeLibrary(nullptr);
    KLogger::SetLoggerBasePath(&logger_, folder);
    KLogger::SetLoggerFile(&logger_, (name + ".log").c_str());
    KLogger::CreateLogger(&logger_, 2, 4); // up to INFO, to the file
    SetDefaultLogger(&logger_);
    CKObjectGarbageCollector::GetUniqueClass(); // before the first stream can be released
}

library_session::~library_session()
{
    CKObjectGarbageCollector::DestroyUniqueClass(); // deletes the streams; they may still log
    RemoveDefaultLogger();
    KLogger::DestroyLogger(&logger_);
    ShutdownLibrary();
    ::WSACleanup();
}

bool clock_ticker::tick()
{
    const unsigned long long now = ::GetTickCount64();
    if (now - last_ < 1000)
        return false;
    last_ = now;
    UpdateServerTime(); // heartbeats, log rotation and the collector live by it
    CKObjectGarbageCollector::GetUniqueClass()->FlushGC(false);
    return true;
}

std::string full_path(const std::string& path)
{
    const std::wstring wide = KStringHelper::Utf8StringToWideString(KFileSystem::ToNativePath(path));
    std::wstring full(::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr), L'\0');
    ::GetFullPathNameW(wide.c_str(), static_cast<DWORD>(full.size()), full.data(), nullptr);
    return KStringHelper::WideStringToUtf8String(full.data());
}

bool make_folder(const std::string& folder)
{
    // The recursive call gives false for a folder that is already there, so ask afterwards.
    KFileSystem::MakeDirectory(folder, true);
    return KFileSystem::CheckDirectory(folder);
}

int parse_command_line(CLI::App& app, int argc, wchar_t** argv)
{
    std::vector<std::string> words;
    for (int i = argc - 1; i > 0; --i) // the parser wants them in reverse
        words.push_back(KStringHelper::WideStringToUtf8String(argv[i]));
    try
    {
        app.parse(words);
        return -1;
    }
    catch (const CLI::CallForHelp&)
    {
        std::printf("%s", app.help().c_str());
        return kSuccess;
    }
    catch (const CLI::ParseError& error)
    {
        std::string message = error.what();
        KStringHelper::TrimCR(message);
        complain(app.get_name().c_str(), message);
        return kBadUsage;
    }
}

namespace
{
CLI::Option* add_option(CLI::App& app, setting& one)
{
    if (one.number != nullptr)
        return app.add_option("--" + one.key, *one.number, one.help)
            ->check(CLI::Range(one.lowest, one.highest));
    return app.add_option("--" + one.key, *one.text, one.help);
}
} // namespace

int parse_settings(CLI::App& app, int argc, wchar_t** argv, setting_list& settings, std::string& path)
{
    path = config_file::usual_path();
    app.add_option("--config", path, "file with the settings that no option gives");
    std::vector<std::pair<setting*, CLI::Option*>> options;
    for (setting& one : settings.all())
        if (one.has_option)
            options.emplace_back(&one, add_option(app, one));
    if (const int code = parse_command_line(app, argc, argv); code >= 0)
        return code;
    for (const auto& [one, option] : options)
        one->given = option->count() > 0;
    path = full_path(path);
    return -1;
}

int load_settings(const char* program, const std::string& path, setting_list& settings, config_file& file)
{
    std::string wrong = file.load(path);
    if (wrong.empty())
        wrong = file.apply_to(settings);
    if (wrong.empty())
        return -1;
    complain(program, wrong);
    return kBadUsage;
}

void write_missing_settings(const char* program, const setting_list& settings, config_file& file)
{
    if (const std::string wrong = file.add_missing(settings); !wrong.empty())
        complain(program, "warning: " + wrong);
}

void complain(const char* program, const std::string& message)
{
    std::fprintf(stderr, "%s: %s\n", program, message.c_str());
    std::fflush(stderr);
}
} // namespace farm
