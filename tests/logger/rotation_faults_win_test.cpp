/// Rotations in which calls of the system and of the C runtime fail: each call in turn, once and from there on.

#include "KFramework/platform/windows_win.h"
#include "tests/children/killed_log.h"
#include "tests/logger/clocks_win.h"
#include "tests/logger/log_leftovers_win.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/handle_count_win.h"

#include <cstdio>
#include <cstdlib>
#include <tuple>

namespace
{
using namespace kf::test;
using namespace KFramework::KLogger;

constexpr long long kMonday = 1709547300; // 2024-03-04 10:15:00 UTC
constexpr long long kHour = 3600;

/// The lines by their numbers: 0 to kSeedLines - 1 are in the log before anything fails.
constexpr int kSeedLines = 12;
constexpr int kRotatingLine = 20;
constexpr int kNextLine = 21;
constexpr int kLaterLines[] = {30, 31}; ///< logged when nothing fails any more; the first rotates again
constexpr int kRestartLine = 40;        ///< by a logger that was created anew
constexpr int kCallbackLine = 50;       ///< the callback of the first rotation; later ones count on

/// What is to come of a failed call.
struct outcome
{
    std::set<int> lost{};     ///< line numbers
    std::string said{};       ///< on standard error
    int damaged_archives = 0; ///< compressed files that cannot be read to their end, or are empty
};

const outcome kHarmless{};

std::string message_of_line(int line)
{
    return killed_message(line, 3000);
}

/// A compression that fails costs the lines that were to be compressed.
outcome seed_lost(const std::string& said, int damaged_archives)
{
    outcome result{{}, said, damaged_archives};
    for (int line = 0; line < kSeedLines; ++line)
        result.lost.insert(line);
    return result;
}

CKLoggerInstance* called_back = nullptr;
int callback_line = 0;

void log_from_the_callback(const char*)
{
    AddLogEntry(called_back, kInfo, "Test", "%s", message_of_line(callback_line++).c_str());
}

class RotationFault : public testing::TestWithParam<bool>
{
protected:
    static void SetUpTestSuite() { KFramework::InitializeLibrary(nullptr); }

    /// Lets each call that the first rotation makes fail in turn.
    ///
    /// @param calls     how many there are.
    /// @param expected  what is to come of it, by the first failing call and by whether all later ones fail too.
    /// @param counts    which calls are meant, by their arguments.
    template <class Fault, class Counts>
    void fail_each(const char* name, Fault&& fault, int calls,
                   const std::function<outcome(int, bool)>& expected, Counts counts)
    {
        fault.only([this, counts](auto... arguments) { return armed && counts(arguments...); });
        for (const bool lasting : {false, true})
        {
            int call = 0;
            const int found =
                fail_each_call(fault, lasting ? fault_span::lasting : fault_span::single,
                               [&]
                               {
                                   SCOPED_TRACE(std::string(name) + " call " + std::to_string(call) +
                                                (lasting ? " and all later ones" : ""));
                                   outcome result = expected(call, lasting);
                                   rotate_under(fault, result);
                                   ++call;
                               });
            EXPECT_EQ(found, calls) << name;
            faults += call - 1;
        }
    }

    template <class Fault>
    void fail_each(const char* name, Fault&& fault, int calls,
                   const std::function<outcome(int, bool)>& expected)
    {
        fail_each(name, fault, calls, expected, [](auto...) { return true; });
    }

    /// One log from its seed to a logger that is created anew; calls fail during the first rotation.
    template <class Fault>
    void rotate_under(const Fault& fault, outcome expected)
    {
        const temporary_folder folder;
        folder.write("default.log", seed());
        captured_output said(captured_output::stream::error);
        log_and_rotate(folder);
        if (!fault.happened())
            expected = kHarmless;
        EXPECT_EQ(said.text(), expected.said);
        EXPECT_EQ(take_damaged_archives(folder), expected.damaged_archives);

        std::set<int> written{kRotatingLine, kNextLine, kLaterLines[0], kLaterLines[1], kRestartLine};
        for (int line = 0; line < kSeedLines; ++line)
            written.insert(line);
        for (int line = kCallbackLine; line < callback_line; ++line)
            written.insert(line);
        const log_leftovers leftovers = read_leftovers(folder, "default.log", &message_of_line);
        for (const int line : written)
            EXPECT_EQ(leftovers.found.contains(line), !expected.lost.contains(line)) << "line " << line;
        for (const auto& [line, count] : leftovers.found)
            EXPECT_TRUE(count == 1 && written.contains(line)) << count << " times line " << line;
    }

    void log_and_rotate(const temporary_folder& folder)
    {
        held_clock clock(kMonday + kHour);
        CKLoggerInstance logger;
        called_back = &logger;
        callback_line = kCallbackLine;
        const auto add = [&](int line)
        { AddLogEntry(&logger, kInfo, "Test", "%s", message_of_line(line).c_str()); };
        SetLoggerBasePath(&logger, folder.text());
        SetLoggerRotation(&logger, 1);
        SetLoggerRotationCompress(&logger, GetParam());
        CreateLogger(&logger, kInfo, kFile);
        SetLoggerRotationCallback(&logger, reinterpret_cast<void*>(&log_from_the_callback));
        armed = true;
        add(kRotatingLine);
        add(kNextLine);
        armed = false;
        clock.set(kMonday + 2 * kHour);
        for (const int line : kLaterLines)
            add(line);
        EXPECT_GT(callback_line, kCallbackLine) << "the log did not rotate";
        DestroyLogger(&logger);

        clock.set(kMonday + 3 * kHour);
        CreateLogger(&logger, kInfo, kFile);
        add(kRestartLine);
        DestroyLogger(&logger);
    }

    static std::string seed()
    {
        std::string lines;
        for (int line = 0; line < kSeedLines; ++line)
            lines += "03/04/2024 10:15:00 - [INFO] [Test] " + message_of_line(line) + "\r\n";
        return lines;
    }

    static int take_damaged_archives(const temporary_folder& folder)
    {
        std::vector<std::filesystem::path> damaged;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path()))
        {
            std::string text;
            if (entry.path().extension() == ".gz" &&
                !KFramework::KFileSystem::UncompressFileToText(utf8_text(entry.path()).c_str(), text))
                damaged.push_back(entry.path());
        }
        for (const auto& path : damaged)
            std::filesystem::remove(path);
        return static_cast<int>(damaged.size());
    }

    void fail_compression();

    bool armed = false;
    int faults = 0;
};

outcome harmless(int, bool)
{
    return kHarmless;
}

/// The stream flags the error, as the runtime does.
template <class... Arguments>
std::size_t fail_stream(Arguments... arguments)
{
    std::get<sizeof...(Arguments) - 1>(std::tuple(arguments...))->_flag |= _IOERR;
    return 0;
}

int close_and_complain(std::FILE* file)
{
    std::fclose(file);
    return EOF;
}

void RotationFault::fail_compression()
{
    using open_fault = call_fault<"_wfopen", std::FILE*(const wchar_t*, const wchar_t*)>;
    using read_fault = call_fault<"fread", std::size_t(void*, std::size_t, std::size_t, std::FILE*)>;
    using write_fault = call_fault<"fwrite", std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>;
    const auto reported = [](int, bool) { return seed_lost("zlib: ", 1); };

    // The source first: an archive is made all the same, unless that fails too.
    fail_each("_wfopen", open_fault(nullptr, 0), 2,
              [](int call, bool lasting) { return seed_lost("", call == 0 && !lasting ? 1 : 0); });
    fail_each("fread", read_fault(&fail_stream<void*, std::size_t, std::size_t, std::FILE*>), 3, reported);
    fail_each("fwrite", write_fault(&fail_stream<const void*, std::size_t, std::size_t, std::FILE*>), 4,
              reported);
    // What the runtime held back it writes when it closes: reported, but not lost.
    fail_each("fflush", call_fault<"fflush", int(std::FILE*)>(EOF, 0), 1,
              [](int, bool) {
                  return outcome{{}, "zlib: ", 0};
              });
    fail_each("fclose", call_fault<"fclose", int(std::FILE*)>(&close_and_complain), 2, harmless);
    fail_each("DeleteFileW", call_fault<"DeleteFileW", BOOL(LPCWSTR)>(FALSE, ERROR_ACCESS_DENIED), 1,
              harmless);
    fail_each(
        "malloc", call_fault<"malloc", void*(std::size_t)>(nullptr, 0), 5,
        [](int, bool) { return seed_lost("zlib: out of memory\n", 1); },
        [](std::size_t size) { return size >= 5000; }); // zlib's own
}

INSTANTIATE_TEST_SUITE_P(Compressing, RotationFault, testing::Bool());

TEST_P(RotationFault, CostsNothingButWhatIsStated)
{
    const bool compress = GetParam();
    using look_fault = call_fault<"GetFileAttributesW", DWORD(LPCWSTR)>;
    const auto fail_looking = [&] {
        fail_each("GetFileAttributesW", look_fault(INVALID_FILE_ATTRIBUTES, ERROR_ACCESS_DENIED), 2,
                  harmless);
    };
    fail_looking(); // and whatever is opened once and stays open
    faults = 0;
    const std::size_t handles = handle_count();

    fail_looking();
    fail_each("CloseHandle",
              call_fault<"CloseHandle", BOOL(HANDLE)>(
                  [](HANDLE handle)
                  {
                      ::CloseHandle(handle);
                      return FALSE;
                  }),
              1, harmless);
    // The lines go on into the file that could not be moved; what compressing nothing makes is empty.
    fail_each("MoveFileW", call_fault<"MoveFileW", BOOL(LPCWSTR, LPCWSTR)>(FALSE, ERROR_SHARING_VIOLATION), 1,
              [&](int, bool) {
                  return outcome{{}, "", compress ? 1 : 0};
              });
    // Without a file nothing more is written to it until the logger is created anew.
    fail_each(
        "CreateFileW",
        call_fault<"CreateFileW", HANDLE(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)>(
            INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED),
        1,
        [](int, bool) {
            return outcome{{kRotatingLine, kNextLine, kCallbackLine, kLaterLines[0], kLaterLines[1]}, "", 0};
        });
    // A line that cannot be written is lost, and no other.
    fail_each(
        "WriteFile",
        call_fault<"WriteFile", BOOL(HANDLE, LPCVOID, DWORD, LPDWORD, LPOVERLAPPED)>(FALSE, ERROR_DISK_FULL),
        3,
        [](int call, bool lasting)
        {
            outcome result;
            const int order[] = {kRotatingLine, kCallbackLine, kNextLine};
            for (int i = call; i < (lasting ? 3 : call + 1) && i < 3; ++i)
                result.lost.insert(order[i]);
            return result;
        });
    if (compress)
        fail_compression();

    EXPECT_EQ(handle_count(), handles);
    std::printf("%s: %d faults\n", compress ? "compressing" : "not compressing", faults);
}

/// What a logger whose creation meets a fault has written, and how its log began.
struct created
{
    bool has_file;
    int start_hour;
    std::size_t lines;
};

template <class Fault>
created create_under(Fault&& fault)
{
    const temporary_folder folder;
    folder.write("default.log", "03/04/2024 10:15:00 - [INFO] [Test] seed\r\n");
    const held_clock clock(kMonday + kHour);
    CKLoggerInstance logger;
    SetLoggerBasePath(&logger, folder.text());
    fault.lastingly(0);
    CreateLogger(&logger, kInfo, kFile);
    fault.never();
    created result{logger.fileHandle != nullptr, logger.logStartTime.tm_hour, 0};
    AddLogEntry(&logger, kInfo, "Test", "line");
    DestroyLogger(&logger);
    result.lines = lines_of(folder.read("default.log")).size();
    return result;
}

TEST(CreateLoggerFault, CostsTheStartTimeOrTheFileAndNothingElse)
{
    KFramework::InitializeLibrary(nullptr);
    using open_fault = call_fault<"_wfopen", std::FILE*(const wchar_t*, const wchar_t*)>;
    using read_fault = call_fault<"fread", std::size_t(void*, std::size_t, std::size_t, std::FILE*)>;
    using close_fault = call_fault<"fclose", int(std::FILE*)>;
    using look_fault = call_fault<"GetFileAttributesExW", BOOL(LPCWSTR, GET_FILEEX_INFO_LEVELS, LPVOID)>;
    using file_fault =
        call_fault<"CreateFileW", HANDLE(LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD, DWORD, HANDLE)>;
    const auto expect = [](const created& result, bool has_file, int start_hour)
    {
        EXPECT_EQ(result.has_file, has_file);
        EXPECT_EQ(result.start_hour, start_hour);
        EXPECT_EQ(result.lines, has_file ? 2u : 1u);
    };
    expect(create_under(close_fault(&close_and_complain)), true, 10);
    const std::size_t handles = handle_count();
    expect(create_under(open_fault(nullptr, 0)), true, 11);
    expect(create_under(read_fault(&fail_stream<void*, std::size_t, std::size_t, std::FILE*>)), true, 11);
    expect(create_under(close_fault(&close_and_complain)), true, 10);
    expect(create_under(look_fault(FALSE, ERROR_ACCESS_DENIED)), true, 10);
    expect(create_under(file_fault(INVALID_HANDLE_VALUE, ERROR_ACCESS_DENIED)), false, 10);
    EXPECT_EQ(handle_count(), handles);
}
} // namespace
