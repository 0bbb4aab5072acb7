#include "tests/filesystem/lock_holder_win.h"

#include <gtest/gtest.h>

#include "KFramework/string.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"

namespace kf::filesystem::test
{
namespace
{
struct pipe_ends
{
    platform::unique_handle read;
    platform::unique_handle write;

    pipe_ends()
    {
        SECURITY_ATTRIBUTES inheritable{sizeof(SECURITY_ATTRIBUTES), nullptr, TRUE};
        EXPECT_TRUE(::CreatePipe(read.put(), write.put(), &inheritable, 0));
    }
};

/// Our end of a pipe; a child that inherited it would keep the pipe open.
platform::unique_handle kept(platform::unique_handle& end)
{
    ::SetHandleInformation(end.get(), HANDLE_FLAG_INHERIT, 0);
    return std::move(end);
}
} // namespace

lock_holder::lock_holder(const std::string& name)
{
    pipe_ends input;
    pipe_ends output;
    input_ = kept(input.write);
    output_ = kept(output.read);
    STARTUPINFOW start{};
    start.cb = sizeof start;
    start.dwFlags = STARTF_USESTDHANDLES;
    start.hStdInput = input.read.get();
    start.hStdOutput = output.write.get();
    start.hStdError = ::GetStdHandle(STD_ERROR_HANDLE);
    PROCESS_INFORMATION made{};
    const std::string line = "\"" + kf::test::child_program("hold_unique_lock") + "\" " + name;
    std::wstring wide = KFramework::KStringHelper::Utf8StringToWideString(line);
    EXPECT_TRUE(
        ::CreateProcessW(nullptr, wide.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr, &start, &made));
    process_.reset(made.hProcess);
    const platform::unique_handle thread(made.hThread);
}

lock_holder::~lock_holder()
{
    if (process_)
        kill();
}

std::string lock_holder::says()
{
    EXPECT_TRUE(kf::test::wait_until(
        [&]
        {
            DWORD waiting = 0;
            if (::PeekNamedPipe(output_.get(), nullptr, 0, nullptr, &waiting, nullptr) && waiting > 0)
            {
                std::string bytes(waiting, '\0');
                DWORD taken = 0;
                ::ReadFile(output_.get(), bytes.data(), waiting, &taken, nullptr);
                heard_.append(bytes, 0, taken);
            }
            return heard_.find("\r\n") != std::string::npos;
        }))
        << "the child says nothing";
    const std::string line = heard_.substr(0, heard_.find("\r\n"));
    heard_.erase(0, line.size() + 2);
    return line;
}

void lock_holder::give_back()
{
    DWORD written = 0;
    EXPECT_TRUE(::WriteFile(input_.get(), "\n", 1, &written, nullptr));
}

void lock_holder::leave()
{
    input_.reset();
    wait();
}

void lock_holder::kill()
{
    ::TerminateProcess(process_.get(), 1);
    wait();
}

void lock_holder::wait()
{
    const auto deadline = std::chrono::duration_cast<std::chrono::milliseconds>(kf::test::kDeadline);
    EXPECT_EQ(::WaitForSingleObject(process_.get(), static_cast<DWORD>(deadline.count())), WAIT_OBJECT_0);
    process_.reset();
}

} // namespace kf::filesystem::test
