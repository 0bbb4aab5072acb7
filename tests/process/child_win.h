#pragma once
/// Children for the tests of pipes and processes.

#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"

#include <string>

namespace kf::test
{
/// A child program on a pipe set of its own; ended and released with the test.
class spawned_child
{
public:
    /// @param program    of tests/children, without ".exe".
    /// @param arguments  as SpawnProcess takes them.
    spawned_child(const std::string& program, const std::string& arguments, bool merge_std_err = true,
                  KClientLib::KEnvironment* environment = nullptr);
    spawned_child(const spawned_child&) = delete;
    spawned_child& operator=(const spawned_child&) = delete;
    ~spawned_child();

    [[nodiscard]] bool started() const { return process != nullptr; }

    /// Everything the child prints until its end of the pipe closes.
    [[nodiscard]] std::string output() const;
    /// The same of standard error.
    [[nodiscard]] std::string errors() const;

    /// Waits for the end and gives the exit code.
    [[nodiscard]] unsigned long exit_code() const;

    KFramework::KProcesses::KPipesHandles* pipes;
    KFramework::KProcesses::KProcess* process = nullptr;
    int error = 0;
    std::string error_text;
};

/// Another "COMSPEC" for as long as it lives.
class shell_variable
{
public:
    explicit shell_variable(const wchar_t* value)
    {
        ::GetEnvironmentVariableW(L"COMSPEC", before_, MAX_PATH);
        ::SetEnvironmentVariableW(L"COMSPEC", value);
    }
    ~shell_variable() { ::SetEnvironmentVariableW(L"COMSPEC", before_); }
    shell_variable(const shell_variable&) = delete;
    shell_variable& operator=(const shell_variable&) = delete;

private:
    wchar_t before_[MAX_PATH] = {};
};

/// Reads a pipe until it breaks; fails the test at the deadline.
[[nodiscard]] std::string read_to_end(void* pipe);

/// The folder of the child programs.
[[nodiscard]] std::string children_folder();
} // namespace kf::test
