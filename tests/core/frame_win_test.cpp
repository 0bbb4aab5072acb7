/// The frame itself: the library loads through its import library, and the test support reaches into it.

#include <cstddef>
#include <cstdio>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/children.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

namespace
{

DWORD slept_ms = 0;

void WINAPI note_sleep(DWORD milliseconds)
{
    slept_ms = milliseconds;
}

} // namespace

TEST(Library, LiesBesideTheProgram)
{
    wchar_t library[MAX_PATH] = {};
    ASSERT_NE(::GetModuleFileNameW(::GetModuleHandleW(L"KFramework.dll"), library, MAX_PATH), 0u);
    wchar_t program[MAX_PATH] = {};
    ASSERT_NE(::GetModuleFileNameW(nullptr, program, MAX_PATH), 0u);
    const std::wstring library_path = library;
    const std::wstring program_path = program;
    EXPECT_EQ(library_path.substr(0, library_path.rfind(L'\\')),
              program_path.substr(0, program_path.rfind(L'\\')));
}

TEST(ImportHook, CatchesACallOfTheLibraryAndLetsItGoAgain)
{
    {
        const kf::test::import_hook hook("Sleep", &note_sleep);
        ASSERT_TRUE(hook.found());
        EXPECT_NE(hook.original(), &note_sleep);
        KFramework::MicroSleep(1234);
    }
    EXPECT_EQ(slept_ms, 1234u);
    KFramework::MicroSleep(1);
    EXPECT_EQ(slept_ms, 1234u);
}

TEST(HandleCount, SeesAHandleOpenAndClose)
{
    const std::size_t before = kf::test::handle_count();
    HANDLE const event = ::CreateEventW(nullptr, TRUE, FALSE, nullptr);
    EXPECT_EQ(kf::test::handle_count(), before + 1);
    ::CloseHandle(event);
    EXPECT_EQ(kf::test::handle_count(), before);
}

TEST(CapturedOutput, HoldsWhatIsWrittenToStandardError)
{
    kf::test::captured_output capture(kf::test::captured_output::stream::error);
    std::fputs("one line\n", stderr);
    EXPECT_EQ(capture.text(), "one line\n");
    EXPECT_EQ(capture.bytes(), "one line\r\n");
}

TEST(TemporaryFolder, KeepsBytesUnderNonAsciiNames)
{
    const kf::test::temporary_folder folder("-\xC3\xA4\xE2\x82\xAC");
    const std::string bytes("a\0\r\n", 4);
    EXPECT_EQ(folder.write("\xC3\xB6.bin", bytes), folder.text() + "\\\xC3\xB6.bin");
    EXPECT_EQ(folder.read("\xC3\xB6.bin"), bytes);
}

TEST(ChildProgram, IsBuiltBesideTheTests)
{
    EXPECT_NE(kf::test::child_program("echo_arguments").find("\\echo_arguments.exe"), std::string::npos);
}
