#pragma once
/// A child program that a test starts, talks to and kills.

#include "KFramework/platform/handles_win.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"
#include "tests/support/temporary_folder.h"

#include <gtest/gtest.h>

#include <initializer_list>
#include <string>
#include <utility>

namespace kf::test
{
class child
{
public:
    /// Starts a program of tests/children with its standard output in a pipe.
    child(const std::string& name, std::initializer_list<std::string> arguments)
    {
        std::string command = "\"" + child_program(name) + "\"";
        for (const std::string& argument : arguments)
            command += " \"" + argument + "\"";
        std::wstring wide = utf8_path(command).native();

        SECURITY_ATTRIBUTES inheritable{sizeof inheritable, nullptr, TRUE};
        platform::unique_handle write_end;
        EXPECT_TRUE(::CreatePipe(output_.put(), write_end.put(), &inheritable, 1 << 20));
        ::SetHandleInformation(output_.get(), HANDLE_FLAG_INHERIT, 0);
        STARTUPINFOW start{};
        start.cb = sizeof start;
        start.dwFlags = STARTF_USESTDHANDLES;
        start.hStdOutput = write_end.get();
        start.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
        PROCESS_INFORMATION made{};
        EXPECT_TRUE(::CreateProcessW(nullptr, wide.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                                     &start, &made))
            << command << ": " << ::GetLastError();
        process_.reset(made.hProcess);
        ::CloseHandle(made.hThread);
    }

    ~child() { kill(); }
    child(const child&) = delete;
    child& operator=(const child&) = delete;

    /// Ends the child at whatever it is doing.
    void kill()
    {
        ::TerminateProcess(process_.get(), 1);
        (void)wait();
    }

    /// The child's exit code, once it has ended.
    [[nodiscard]] DWORD wait()
    {
        constexpr auto kWait = static_cast<DWORD>(std::chrono::milliseconds(kDeadline).count());
        EXPECT_EQ(::WaitForSingleObject(process_.get(), kWait), WAIT_OBJECT_0);
        DWORD code = STILL_ACTIVE;
        ::GetExitCodeProcess(process_.get(), &code);
        return code;
    }

    /// Reads until the child has written this text.
    void wait_for(const std::string& text)
    {
        while (said_.find(text) == std::string::npos && read())
        {
        }
        EXPECT_NE(said_.find(text), std::string::npos);
    }

    /// Everything the child wrote, once it has ended.
    [[nodiscard]] std::string everything()
    {
        while (read())
        {
        }
        return said_;
    }

private:
    bool read()
    {
        char bytes[4096];
        DWORD count = 0;
        if (!::ReadFile(output_.get(), bytes, sizeof bytes, &count, nullptr) || count == 0)
            return false;
        said_.append(bytes, count);
        return true;
    }

    platform::unique_handle process_;
    platform::unique_handle output_;
    std::string said_;
};
} // namespace kf::test
