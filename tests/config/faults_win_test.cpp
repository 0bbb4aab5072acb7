/// LoadConfigFile and SaveConfigFile when files cannot be opened, read, written or closed.

#include <algorithm>
#include <cerrno>
#include <cstdio>

#include "KFramework/logger.h"
#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/windows_win.h"
#include "tests/config/config_fixture_win.h"
#include "tests/support/child_win.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/captured_log_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/handle_count_win.h"

using namespace KFramework;
using kf::test::fail_each_call;
using kf::test::fault_span;

namespace
{
class LoadConfigFileFaultsTest : public kf::test::config_test
{
protected:
    [[nodiscard]] std::string cannot_open() const
    {
        return "SEVR [KFramework] Cannot open file " + path_ + " to read configuration";
    }
};

class SaveConfigFileFaultsTest : public kf::test::config_test
{
protected:
    SaveConfigFileFaultsTest() { manager_.entries["a#k"] = "2"; }

    static constexpr const char* kBefore = "# mine\r\n[a]\r\nk = 1\r\n";
    static constexpr const char* kAfter = "# mine\r\n[a]\r\nk = 2\r\n";

    /// Saves without a word, over the file as it was at first.
    [[nodiscard]] bool save_silently()
    {
        write(kBefore);
        const kf::test::captured_output errors(kf::test::captured_output::stream::error);
        const kf::test::captured_log log;
        const bool saved = save();
        EXPECT_EQ(log.lines(), lines{});
        return saved;
    }
};

/// Fails every call on files, or the chosen ones, as the C runtime does.
using open_fault = kf::test::call_fault<"_wfopen", std::FILE*(const wchar_t*, const wchar_t*)>;
using read_fault = kf::test::call_fault<"fread", std::size_t(void*, std::size_t, std::size_t, std::FILE*)>;
using write_fault =
    kf::test::call_fault<"fwrite", std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>;
using close_fault = kf::test::call_fault<"fclose", int(std::FILE*)>;

std::FILE* refuse_to_open(const wchar_t*, const wchar_t*)
{
    errno = EACCES;
    return nullptr;
}

std::size_t fail_to_read(void*, std::size_t, std::size_t, std::FILE* file)
{
    file->_flag |= _IOERR;
    return 0;
}

std::size_t write_three_bytes(const void* from, std::size_t size, std::size_t, std::FILE* file)
{
    const std::size_t written = std::fwrite(from, size, 3, file);
    file->_flag |= _IOERR;
    return written;
}

int close_with_an_error(std::FILE* file)
{
    std::fclose(file);
    return EOF;
}

/// More than two reads take; every key is the line's number.
std::string long_file()
{
    std::string text;
    for (int i = 0; text.size() < 150'000; ++i)
        text += std::to_string(i) + " = x\r\n";
    return text;
}

kf::platform::unique_file open_sharing(const std::string& path, DWORD access, DWORD sharing)
{
    return kf::platform::unique_file(::CreateFileW(kf::test::utf8_path(path).c_str(), access, sharing,
                                                   nullptr, OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
}
} // namespace

TEST_F(LoadConfigFileFaultsTest, LogsAFileThatIsNotThereAndLeavesTheManagerAlone)
{
    manager_.entries["a#b"] = "c";
    manager_.filePath = "before";
    const kf::test::captured_log log;
    EXPECT_FALSE(load());
    EXPECT_EQ(log.lines(), lines{cannot_open()});
    EXPECT_EQ(manager_.entries, (entries{{"a#b", "c"}}));
    EXPECT_EQ(manager_.filePath, "before");
}

TEST_F(LoadConfigFileFaultsTest, CannotOpenAFolderOrAnEmptyPath)
{
    EXPECT_FALSE(LoadConfigFile(&manager_, folder_.text().c_str()));
    EXPECT_FALSE(LoadConfigFile(&manager_, ""));
    EXPECT_FALSE(LoadConfigFile(&manager_, nullptr));
    EXPECT_FALSE(LoadConfigFile(&manager_, folder_.text("no/such/file").c_str()));
}

TEST_F(LoadConfigFileFaultsTest, SaysBothMessagesOnStandardErrorWithoutALogger)
{
    kf::test::captured_output errors(kf::test::captured_output::stream::error);
    EXPECT_FALSE(load());
    EXPECT_EQ(loaded("k = 1\n[bad\n").size(), 1u);
    EXPECT_EQ(errors.text(), "Cannot open file " + path_ +
                                 " to read configuration\nMalformed configuration at line 2 in file " +
                                 path_ + "\n");
}

TEST_F(LoadConfigFileFaultsTest, LogsAtTheLevelOfSevereEntriesOnly)
{
    KLogger::CKLoggerInstance quiet;
    KLogger::SetLoggerBasePath(&quiet, folder_.text());
    KLogger::SetLoggerFile(&quiet, "quiet.log");
    KLogger::CreateLogger(&quiet, 1, 4);
    SetDefaultLogger(&quiet);
    EXPECT_FALSE(load());
    quiet.level = 0;
    EXPECT_FALSE(load());
    RemoveDefaultLogger();
    KLogger::DestroyLogger(&quiet);
    const std::string logged = folder_.read("quiet.log");
    EXPECT_EQ(std::count(logged.begin(), logged.end(), '\n'), 1);
}

TEST_F(LoadConfigFileFaultsTest, SurvivesEveryFailureToOpen)
{
    open_fault opens(&refuse_to_open);
    for (const fault_span span : {fault_span::single, fault_span::lasting})
    {
        write("[a]\nk = 1\n");
        const kf::test::captured_log log;
        const std::size_t handles = kf::test::handle_count();
        const int calls = fail_each_call(opens, span,
                                         [&]
                                         {
                                             manager_.entries = {{"old#k", "0"}};
                                             const bool done = load();
                                             EXPECT_EQ(done, !opens.happened());
                                             const bool old = manager_.entries.contains("old#k");
                                             EXPECT_EQ(old, opens.happened());
                                         });
        EXPECT_EQ(calls, 1);
        EXPECT_EQ(log.lines(), lines{cannot_open()});
        EXPECT_EQ(kf::test::handle_count(), handles);
        EXPECT_EQ(manager_.entries, (entries{{"a#k", "1"}}));
    }
}

TEST_F(LoadConfigFileFaultsTest, TakesAFailureToReadForTheEndOfTheFile)
{
    const std::string text = long_file();
    const std::size_t all = loaded(text).size();
    read_fault reads(&fail_to_read);
    for (const fault_span span : {fault_span::single, fault_span::lasting})
    {
        const kf::test::captured_log log;
        const std::size_t handles = kf::test::handle_count();
        std::size_t before = 0;
        const int calls =
            fail_each_call(reads, span,
                           [&]
                           {
                               EXPECT_TRUE(load());
                               const std::size_t size = manager_.entries.size();
                               for (std::size_t i = 0; i < size; ++i)
                                   ASSERT_EQ(manager_.entries["_default_#" + std::to_string(i)], "x");
                               EXPECT_EQ(manager_.entries.size(), size);
                               EXPECT_TRUE(reads.calls() == 1 ? size == 0 : size >= before);
                               before = size;
                           });
        EXPECT_GE(calls, 3);
        EXPECT_EQ(before, all);
        EXPECT_EQ(log.lines(), lines{});
        EXPECT_EQ(kf::test::handle_count(), handles);
    }
}

TEST_F(LoadConfigFileFaultsTest, DoesNotMindAFailureToClose)
{
    write("[a]\nk = 1\n");
    close_fault closes(&close_with_an_error);
    const std::size_t handles = kf::test::handle_count();
    const int calls = fail_each_call(closes, fault_span::single, [&] { EXPECT_TRUE(load()); });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(kf::test::handle_count(), handles);
    EXPECT_EQ(manager_.entries, (entries{{"a#k", "1"}}));
}

TEST_F(LoadConfigFileFaultsTest, IsFalseWhileAnotherProcessHoldsTheFileAlone)
{
    write("[a]\nk = 1\n");
    const kf::test::captured_log log;
    {
        kf::test::child holder("hold_file", {path_, "alone"});
        holder.wait_for("held");
        EXPECT_FALSE(load());
        EXPECT_FALSE(save());
    }
    EXPECT_EQ(log.lines(), lines{cannot_open()});
    EXPECT_EQ(read(), "[a]\nk = 1\n");
    EXPECT_TRUE(load());
    EXPECT_TRUE(save());
}

TEST_F(LoadConfigFileFaultsTest, ReadsAFileThatAnotherHoldsSharedAndSavesItToo)
{
    write("[a]\nk = 1\n");
    kf::test::child holder("hold_file", {path_});
    holder.wait_for("held");
    EXPECT_TRUE(load());
    EXPECT_TRUE(save());
}

// KEPT[config-save-silent]
TEST_F(SaveConfigFileFaultsTest, IsFalseAndSilentWhenTheFileIsReadOnly)
{
    write(kBefore);
    const std::wstring wide = kf::test::utf8_path(path_).native();
    ASSERT_TRUE(::SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_READONLY));
    open_fault opens(&refuse_to_open);
    opens.only([](const wchar_t*, const wchar_t* mode) { return *mode == L'w'; });
    if (open_sharing(path_, GENERIC_WRITE, FILE_SHARE_READ))
    {
        std::puts("the system lets this user write a read-only file: the test refuses it instead");
        opens.lastingly(0);
    }
    const kf::test::captured_log log;
    EXPECT_FALSE(save());
    EXPECT_TRUE(load());
    EXPECT_EQ(manager_.entries, (entries{{"a#k", "1"}}));
    EXPECT_EQ(log.lines(), lines{});
    EXPECT_EQ(read(), kBefore);
    opens.never();
    ASSERT_TRUE(::SetFileAttributesW(wide.c_str(), FILE_ATTRIBUTE_NORMAL));
    EXPECT_TRUE(save());
}

TEST_F(SaveConfigFileFaultsTest, IsFalseForAFolderAnEmptyPathAndAMissingFolder)
{
    kf::test::captured_output errors(kf::test::captured_output::stream::error);
    EXPECT_FALSE(SaveConfigFile(&manager_, folder_.text().c_str()));
    EXPECT_FALSE(SaveConfigFile(&manager_, ""));
    EXPECT_FALSE(SaveConfigFile(&manager_, nullptr));
    EXPECT_FALSE(SaveConfigFile(&manager_, folder_.text("missing/a.conf").c_str()));
    EXPECT_EQ(errors.text(), "");
}

TEST_F(SaveConfigFileFaultsTest, LeavesAFileAloneThatItMayWriteButNotRead)
{
    write(kBefore);
    const auto other = open_sharing(path_, GENERIC_WRITE, FILE_SHARE_WRITE);
    ASSERT_TRUE(other);
    ASSERT_TRUE(open_sharing(path_, GENERIC_WRITE, FILE_SHARE_WRITE));
    EXPECT_FALSE(save());
    LARGE_INTEGER size{};
    EXPECT_TRUE(::GetFileSizeEx(other.get(), &size));
    EXPECT_EQ(size.QuadPart, static_cast<long long>(std::string_view(kBefore).size()));
}

TEST_F(SaveConfigFileFaultsTest, IsFalseAndKeepsTheFileWheneverItCannotBeOpened)
{
    open_fault opens(&refuse_to_open);
    for (const fault_span span : {fault_span::single, fault_span::lasting})
    {
        EXPECT_TRUE(save_silently());
        const std::size_t handles = kf::test::handle_count();
        const int calls = fail_each_call(opens, span,
                                         [&]
                                         {
                                             write(kBefore);
                                             const bool done = save();
                                             EXPECT_EQ(done, !opens.happened());
                                             if (opens.happened())
                                                 EXPECT_EQ(read(), kBefore);
                                             else
                                                 EXPECT_EQ(between(read()), kAfter);
                                         });
        EXPECT_EQ(calls, 2);
        EXPECT_EQ(kf::test::handle_count(), handles);
    }
}

TEST_F(SaveConfigFileFaultsTest, IsFalseAndKeepsTheFileWheneverItCannotBeRead)
{
    read_fault reads(&fail_to_read);
    for (const fault_span span : {fault_span::single, fault_span::lasting})
    {
        EXPECT_TRUE(save_silently());
        const std::size_t handles = kf::test::handle_count();
        const int calls = fail_each_call(reads, span,
                                         [&]
                                         {
                                             write(kBefore);
                                             const bool done = save();
                                             EXPECT_EQ(done, !reads.happened());
                                             if (reads.happened())
                                                 EXPECT_EQ(read(), kBefore);
                                             else
                                                 EXPECT_EQ(between(read()), kAfter);
                                         });
        EXPECT_GE(calls, 2);
        EXPECT_EQ(kf::test::handle_count(), handles);
    }
}

TEST_F(SaveConfigFileFaultsTest, DoesNotFindOutThatNotEverythingWasWritten)
{
    write_fault writes(&write_three_bytes);
    const std::size_t handles = kf::test::handle_count();
    const int calls = fail_each_call(writes, fault_span::lasting,
                                     [&]
                                     {
                                         EXPECT_TRUE(save_silently());
                                         if (writes.happened())
                                             EXPECT_EQ(read(), "## ");
                                         else
                                             EXPECT_EQ(between(read()), kAfter);
                                     });
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(kf::test::handle_count(), handles);
}

TEST_F(SaveConfigFileFaultsTest, DoesNotMindAFailureToClose)
{
    close_fault closes(&close_with_an_error);
    const std::size_t handles = kf::test::handle_count();
    for (const fault_span span : {fault_span::single, fault_span::lasting})
    {
        const int calls = fail_each_call(closes, span,
                                         [&]
                                         {
                                             write(kBefore);
                                             EXPECT_TRUE(save());
                                             EXPECT_EQ(between(read()), kAfter);
                                         });
        EXPECT_EQ(calls, 2);
    }
    EXPECT_EQ(kf::test::handle_count(), handles);
}

TEST_F(SaveConfigFileFaultsTest, KeepsItsFilesFromChildren)
{
    static const wchar_t* modes[2];
    static int opened;
    opened = 0;
    open_fault opens(
        [](const wchar_t*, const wchar_t* mode) -> std::FILE*
        {
            modes[opened++] = mode;
            errno = ENOENT;
            return nullptr;
        });
    opens.lastingly(0);
    EXPECT_FALSE(save());
    ASSERT_EQ(opened, 2);
    EXPECT_STREQ(modes[0], L"rtN");
    EXPECT_STREQ(modes[1], L"wtN");
}
