#pragma once
/// What every host program does around its work: start and stop the library in
/// the right order, and read its command line as UTF-8.

#include <KFramework/socket.h>

#include <KFramework/logger.h>

#include "config_file_win.h"

#include <string>

namespace CLI
{
class App;
}

namespace farm
{
/// Exit codes of the farm's programs.
enum exit_code : int
{
    kSuccess = 0,
    kIncomplete = 1,     ///< some frames are missing; the renderer could not write its file
    kBadUsage = 2,       ///< the command line or farm.conf was wrong
    kCannotStart = 3,    ///< a folder, a port or the server cannot be reached
    kNoRenderer = 4,     ///< the renderer does not exist
    kServerVanished = 5, ///< the server went away before its farewell
    kRefused = 6,        ///< the server did not let the worker in
};

/// The library and Winsock, from construction to destruction.
class library_session
{
public:
    /// Logs at level 2 into folder\name.log.
    library_session(const std::string& folder, const std::string& name);
    ~library_session();
    library_session(const library_session&) = delete;
    library_session& operator=(const library_session&) = delete;

private:
    KFramework::KLogger::CKLoggerInstance logger_;
};

/// Ticks the library's server time once a second; call it as often as you like.
class clock_ticker
{
public:
    /// True once a second.
    bool tick();

private:
    unsigned long long last_ = 0;
};

/// The full path of a name that may be relative; slashes become backslashes.
std::string full_path(const std::string& path);

/// Makes the folder, with those above it, unless it is there; false when that is impossible.
bool make_folder(const std::string& folder);

/// Parses a wide command line. Gives -1 to go on, or the exit code after having
/// printed the help or one line about what is wrong.
int parse_command_line(CLI::App& app, int argc, wchar_t** argv);

/// Adds an option for every setting that may have one, and one, --config, for the file, and parses the command line.
/// Gives -1 to go on, or the exit code after having printed the help or one line about what is wrong.
int parse_settings(CLI::App& app, int argc, wchar_t** argv, setting_list& settings, std::string& path);

/// Takes over what the file says. An option wins over the file, the file over the default. Gives -1 to go on, or the
/// exit code after having printed one line about what is wrong.
int load_settings(const char* program, const std::string& path, setting_list& settings, config_file& file);

/// Completes the file; a warning when that is impossible, and the program goes on.
void write_missing_settings(const char* program, const setting_list& settings, config_file& file);

/// Prints "program: message" on standard error.
void complain(const char* program, const std::string& message);
} // namespace farm
