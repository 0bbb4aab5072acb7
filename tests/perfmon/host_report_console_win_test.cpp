/// examples/host_report on a console of its own, which the test reads and presses Ctrl-C on.

#include "KFramework/filesystem.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/process.h"
#include "KFramework/string.h"
#include "tests/support/children.h"
#include "tests/support/deadline.h"

#include <string>

#include <gtest/gtest.h>

using kf::test::wait_until;
using namespace KFramework::KProcesses;

namespace
{
/// The program on a new console, without redirection; ended with the object if it still runs.
class console_program
{
public:
    explicit console_program(const char* arguments)
    {
        const std::string program = kf::test::child_program("host_report");
        int code = 0;
        std::string text;
        process_ =
            SpawnProcess(program.c_str(), arguments, KFramework::KFileSystem::GetFilePath(program).c_str(),
                         nullptr, nullptr, code, text, nullptr);
    }
    ~console_program()
    {
        TerminateProcess(process_, false);
        wait();
        CloseProcess(process_);
    }
    console_program(const console_program&) = delete;
    console_program& operator=(const console_program&) = delete;

    [[nodiscard]] DWORD id() const { return process_ == nullptr ? 0 : process_->processId; }

    /// The exit code.
    unsigned long wait()
    {
        unsigned long code = 0;
        EXPECT_EQ(WaitProcess(process_, true, static_cast<int>(kf::test::kDeadline.count()), code), 1);
        return code;
    }

private:
    KProcess* process_ = nullptr;
};

/// Another program's console, from construction to destruction. The own process ignores its Ctrl-C.
class borrowed_console
{
public:
    explicit borrowed_console(DWORD process)
    {
        ::FreeConsole();
        EXPECT_TRUE(wait_until([=] { return ::AttachConsole(process) != FALSE; })) << ::GetLastError();
        ::SetConsoleCtrlHandler(nullptr, TRUE);
        screen_.reset(::CreateFileW(L"CONOUT$", GENERIC_READ | GENERIC_WRITE,
                                    FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
        EXPECT_TRUE(screen_) << ::GetLastError();
    }
    ~borrowed_console()
    {
        screen_.reset();
        ::FreeConsole();
        ::SetConsoleCtrlHandler(nullptr, FALSE);
    }
    borrowed_console(const borrowed_console&) = delete;
    borrowed_console& operator=(const borrowed_console&) = delete;

    /// Everything that stands on the screen, each row with its blanks.
    [[nodiscard]] std::string text() const
    {
        CONSOLE_SCREEN_BUFFER_INFO info{};
        ::GetConsoleScreenBufferInfo(screen_.get(), &info);
        std::string all;
        for (SHORT row = 0; row < info.dwSize.Y; ++row)
        {
            std::wstring line(static_cast<std::size_t>(info.dwSize.X), L'\0');
            DWORD read = 0;
            ::ReadConsoleOutputCharacterW(screen_.get(), line.data(), static_cast<DWORD>(line.size()),
                                          {0, row}, &read);
            all += KFramework::KStringHelper::WideStringToUtf8String(line.data()) + "\n";
        }
        return all;
    }

    /// Puts a mark where only a later page can cover it.
    void overwrite(SHORT row, const wchar_t* mark) const
    {
        DWORD written = 0;
        EXPECT_TRUE(::WriteConsoleOutputCharacterW(screen_.get(), mark, static_cast<DWORD>(std::wcslen(mark)),
                                                   {0, row}, &written));
    }

    [[nodiscard]] bool cursor_visible() const
    {
        CONSOLE_CURSOR_INFO cursor{};
        ::GetConsoleCursorInfo(screen_.get(), &cursor);
        return cursor.bVisible != FALSE;
    }

private:
    kf::platform::unique_file screen_;
};

int count(const std::string& text, const std::string& part)
{
    int found = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1))
        ++found;
    return found;
}
} // namespace

TEST(HostReportOnAConsole, ReplacesItsPageAndEndsInOrderWithCtrlC)
{
    console_program program("--watch");
    ASSERT_NE(program.id(), 0u);
    const borrowed_console console(program.id());
    ASSERT_TRUE(wait_until([&] { return console.text().find("Memory") != std::string::npos; }));
    EXPECT_FALSE(console.cursor_visible());
    console.overwrite(0, L"MARK");
    ASSERT_TRUE(wait_until([&] { return console.text().find("MARK") == std::string::npos; }))
        << console.text();
    EXPECT_EQ(count(console.text(), "Memory"), 1) << console.text();
    EXPECT_EQ(count(console.text(), "\x1B"), 0) << console.text();

    ASSERT_TRUE(::GenerateConsoleCtrlEvent(CTRL_C_EVENT, 0)) << ::GetLastError();
    EXPECT_EQ(program.wait(), 0u);
    EXPECT_TRUE(console.cursor_visible());
}
