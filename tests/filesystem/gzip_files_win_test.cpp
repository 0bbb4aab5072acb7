/// The gzip functions when calls of the C runtime fail underneath them.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <iterator>
#include <string>
#include <utility>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "tests/filesystem/gzip_bytes.h"
#include "tests/support/call_fault_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/handle_count_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

namespace fs = KFramework::KFileSystem;
using namespace kf::filesystem::test;
using kf::test::call_fault;
using kf::test::captured_output;
using kf::test::fail_each_call;
using kf::test::fault_span;
using kf::test::import_hook;

namespace
{
void flag_error(std::FILE* file)
{
    file->_flag |= _IOERR;
}

std::size_t failing_read(void*, std::size_t, std::size_t, std::FILE* file)
{
    flag_error(file);
    return 0;
}

std::size_t failing_write(const void*, std::size_t, std::size_t count, std::FILE* file)
{
    flag_error(file);
    return count / 2;
}

/// Closes the file all the same, as the runtime does.
int failing_close(std::FILE* file)
{
    std::fclose(file);
    return EOF;
}

using open_fault = call_fault<"fopen", std::FILE*(const char*, const char*)>;
using read_fault = call_fault<"fread", std::size_t(void*, std::size_t, std::size_t, std::FILE*)>;
using write_fault = call_fault<"fwrite", std::size_t(const void*, std::size_t, std::size_t, std::FILE*)>;

/// Writes all but one byte and sets no error flag.
struct written_bytes_fault : write_fault
{
    written_bytes_fault()
        : write_fault([](const void* data, std::size_t size, std::size_t count, std::FILE* file)
                      { return std::fwrite(data, size, count - 1, file); })
    {
        only([](const void*, std::size_t, std::size_t count, std::FILE*) { return count > 0; });
    }
};

using flush_fault = call_fault<"fflush", int(std::FILE*)>;
using close_fault = call_fault<"fclose", int(std::FILE*)>;
using temporary_fault = call_fault<"tmpfile", std::FILE*()>;
using seek_fault = call_fault<"fseek", int(std::FILE*, long, int)>;
using tell_fault = call_fault<"ftell", long(std::FILE*)>;
using allocation_fault = call_fault<"malloc", void*(std::size_t)>;

/// Only what zlib asks for is this large; the runtime must never be refused.
bool asked_by_zlib(std::size_t size)
{
    return size >= 5000;
}

std::size_t largest_read = 0;
std::size_t largest_write = 0;

std::size_t measured_read(void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    largest_read = std::max(largest_read, size * count);
    return std::fread(data, size, count, file);
}

std::size_t measured_write(const void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    largest_write = std::max(largest_write, size * count);
    return std::fwrite(data, size, count, file);
}

/// An environment variable of this process for the length of a test.
class environment_value
{
public:
    environment_value(const char* name, const std::string& value) : name_(name)
    {
        if (const char* const old = std::getenv(name))
            old_ = old;
        ::_putenv_s(name, value.c_str());
    }
    environment_value(const environment_value&) = delete;
    environment_value& operator=(const environment_value&) = delete;
    ~environment_value() { ::_putenv_s(name_, old_.c_str()); }

private:
    const char* name_;
    std::string old_;
};

/// Sets error flags of the process's standard streams for the length of a test.
class standard_errors
{
public:
    standard_errors(bool input, bool output)
    {
        if (input)
            flag_error(stdin);
        if (output)
            flag_error(stdout);
    }
    standard_errors(const standard_errors&) = delete;
    standard_errors& operator=(const standard_errors&) = delete;
    ~standard_errors()
    {
        std::clearerr(stdin);
        std::clearerr(stdout);
    }
};

class GzipFailures : public ::testing::Test
{
protected:
    bool compress() { return fs::CompressFile(path("plain").c_str(), path("made").c_str()); }
    bool uncompress() { return fs::UncompressFile(path("packed").c_str(), path("made").c_str()); }
    bool file_to_text() { return fs::UncompressFileToText(path("packed").c_str(), text); }
    bool buffer_to_text() { return fs::UncompressBufferToText(packed.data(), packed.size(), text); }

    /// Lets each call fail alone, then each with all that follow it. A failure must make the operation fail and say
    /// exactly this; without one, and right after one, it works.
    ///
    /// @return  how many calls there were.
    template <class Fault, class Operation>
    int fail_each(Fault&& fault, Operation operation, const std::string& diagnostic)
    {
        int calls = 0;
        for (const fault_span span : {fault_span::single, fault_span::lasting})
            calls = fail_each_call(fault, span,
                                   [&]
                                   {
                                       captured_output said(captured_output::stream::error);
                                       const bool result = operation();
                                       EXPECT_EQ(result, !fault.happened());
                                       EXPECT_EQ(said.text(), fault.happened() ? diagnostic : "");
                                   });
        return calls;
    }

    std::string path(const char* name) const { return folder.text(name); }

    const kf::test::temporary_folder folder;
    const std::string plain = noise(40000);
    const std::string packed = gzip_member(plain);
    const std::string written_plain = folder.write("plain", plain);
    const std::string written_packed = folder.write("packed", packed);
    std::string text = "old";
};

using GzipPieces = GzipFailures;
using CompressFileFailing = GzipFailures;
using UncompressFileFailing = GzipFailures;
using UncompressToTextFailing = GzipFailures;
} // namespace

TEST_F(GzipPieces, AreOf16384BytesInBothDirections)
{
    folder.write("packed", gzip_member(lines(100000))); // a piece of it inflates to several
    const import_hook read("fread", &measured_read);
    const import_hook write("fwrite", &measured_write);
    for (const bool packing : {true, false})
    {
        largest_read = largest_write = 0;
        EXPECT_TRUE(packing ? compress() : uncompress());
        EXPECT_EQ(largest_read, 16384u);
        EXPECT_EQ(largest_write, 16384u);
    }
}

TEST_F(CompressFileFailing, ReportsEveryReadAndWriteWithThePrefixAlone)
{
    const auto operation = [&] { return compress(); };
    EXPECT_EQ(fail_each(read_fault(&failing_read), operation, "zlib: "), 3);
    EXPECT_GE(fail_each(write_fault(&failing_write), operation, "zlib: "), 3);
    EXPECT_GE(fail_each(written_bytes_fault(), operation, "zlib: "), 3);
    EXPECT_EQ(fail_each(flush_fault(EOF, 0), operation, "zlib: "), 1);
    EXPECT_EQ(folder.read("made"), packed);
}

TEST_F(CompressFileFailing, IsSilentWhenAFileCannotBeOpened)
{
    EXPECT_EQ(fail_each(
                  open_fault(nullptr, 0), [&] { return compress(); }, ""),
              2);
    EXPECT_EQ(folder.read("made"), packed);
}

TEST_F(CompressFileFailing, ReportsEveryAllocation)
{
    allocation_fault fault(nullptr, 0);
    fault.only(&asked_by_zlib);
    EXPECT_EQ(fail_each(
                  fault, [&] { return compress(); }, "zlib: out of memory\n"),
              5);
}

// KEPT[standard-stream-flags]
TEST_F(CompressFileFailing, SpeaksOfTheStandardStreamsThatHaveTheirErrorFlagSet)
{
    read_fault fault(&failing_read);
    fault.lastingly(0);
    const std::string input = "error reading stdin\n";
    const std::string output = "error writing stdout\n";
    for (const auto& [of_input, of_output, expected] :
         {std::tuple{false, false, std::string("zlib: ")}, std::tuple{true, false, "zlib: " + input},
          std::tuple{false, true, "zlib: " + output}, std::tuple{true, true, "zlib: " + input + output}})
    {
        const standard_errors flags(of_input, of_output);
        for (const bool packing : {true, false})
        {
            captured_output said(captured_output::stream::error);
            EXPECT_FALSE(packing ? compress() : uncompress());
            EXPECT_EQ(said.text(), expected);
        }
    }
}

// KEPT[standard-stream-flags]
TEST_F(CompressFileFailing, SaysNothingOfTheStandardStreamsWhenItSucceeds)
{
    const standard_errors flags(true, true);
    captured_output said(captured_output::stream::error);
    EXPECT_TRUE(compress());
    EXPECT_TRUE(uncompress());
    EXPECT_EQ(said.text(), "");
}

// KEPT[narrow-gzip-paths]
TEST_F(CompressFileFailing, TakesPathsInTheCodePageOfTheProcess)
{
    if (::GetACP() != 1252)
        GTEST_SKIP() << "the process's code page is " << ::GetACP() << ", not 1252";
    folder.write("\xC3\xA4", "content"); // UTF-8
    EXPECT_FALSE(fs::CompressFile(path("\xC3\xA4").c_str(), path("made").c_str()));
    EXPECT_TRUE(fs::CompressFile((folder.text() + "\\\xE4").c_str(), (folder.text() + "\\\xE5").c_str()));
    EXPECT_EQ(folder.read("\xC3\xA5"), gzip_member("content"));
    EXPECT_FALSE(fs::UncompressFileToText(path("\xC3\xA5").c_str(), text));
    EXPECT_TRUE(fs::UncompressFileToText((folder.text() + "\\\xE5").c_str(), text));
}

TEST_F(UncompressFileFailing, ReportsEveryReadAndWriteWithThePrefixAlone)
{
    const auto operation = [&] { return uncompress(); };
    EXPECT_EQ(fail_each(read_fault(&failing_read), operation, "zlib: "), 3);
    EXPECT_GE(fail_each(write_fault(&failing_write), operation, "zlib: "), 3);
    EXPECT_GE(fail_each(written_bytes_fault(), operation, "zlib: "), 3);
    EXPECT_EQ(fail_each(flush_fault(EOF, 0), operation, "zlib: "), 1);
    EXPECT_EQ(folder.read("made"), plain);
}

TEST_F(UncompressFileFailing, IsSilentWhenAFileCannotBeOpened)
{
    EXPECT_EQ(fail_each(
                  open_fault(nullptr, 0), [&] { return uncompress(); }, ""),
              2);
    EXPECT_EQ(folder.read("made"), plain);
}

TEST_F(UncompressFileFailing, ReportsEveryAllocation)
{
    allocation_fault fault(nullptr, 0);
    fault.only(&asked_by_zlib);
    EXPECT_EQ(fail_each(
                  fault, [&] { return uncompress(); }, "zlib: out of memory\n"),
              2);
}

TEST_F(UncompressToTextFailing, IsFalseAndSilentWhateverCallFails)
{
    const auto from_file = [&] { return file_to_text(); };
    const auto from_buffer = [&] { return buffer_to_text(); };
    EXPECT_EQ(fail_each(read_fault(&failing_read), from_file, ""), 4); // the fourth reads the text back
    EXPECT_EQ(fail_each(read_fault(&failing_read), from_buffer, ""), 4);
    EXPECT_GE(fail_each(write_fault(&failing_write), from_file, ""), 3);
    EXPECT_GE(fail_each(write_fault(&failing_write), from_buffer, ""), 4);
    EXPECT_EQ(fail_each(flush_fault(EOF, 0), from_file, ""), 1);
    EXPECT_EQ(fail_each(flush_fault(EOF, 0), from_buffer, ""), 2);
    EXPECT_EQ(fail_each(open_fault(nullptr, 0), from_file, ""), 1);
    allocation_fault fault(nullptr, 0);
    fault.only(&asked_by_zlib);
    EXPECT_EQ(fail_each(fault, from_file, ""), 2);
    EXPECT_EQ(fail_each(fault, from_buffer, ""), 2);
}

TEST_F(UncompressToTextFailing, LeavesTheTextWhenNoTemporaryFileCanBeMadeOrReadBack)
{
    const auto expect_unchanged_by = [&](auto&& fault, auto operation, int calls)
    {
        EXPECT_EQ(fail_each_call(fault, fault_span::single,
                                 [&]
                                 {
                                     text = "old";
                                     const bool result = operation();
                                     EXPECT_EQ(result, !fault.happened());
                                     EXPECT_EQ(text == "old", fault.happened());
                                 }),
                  calls);
    };
    const auto from_file = [&] { return file_to_text(); };
    const auto from_buffer = [&] { return buffer_to_text(); };
    expect_unchanged_by(open_fault(nullptr, 0), from_file, 1);
    expect_unchanged_by(temporary_fault(nullptr, 0), from_file, 1);
    expect_unchanged_by(temporary_fault(nullptr, 0), from_buffer, 2);
    expect_unchanged_by(seek_fault(-1, 0), from_file, 1);
    expect_unchanged_by(tell_fault(-1, 0), from_file, 1); // as for a text of 2 GiB
    expect_unchanged_by(tell_fault(-1, 0), from_buffer, 1);
}

TEST_F(GzipFailures, OfClosingAreTooLateToCount)
{
    close_fault fault(&failing_close);
    for (const auto& [operation, files] :
         {std::pair<std::function<bool()>, int>{[&] { return compress(); }, 2},
          {[&] { return uncompress(); }, 2},
          {[&] { return file_to_text(); }, 2},
          {[&] { return buffer_to_text(); }, 2}})
    {
        captured_output said(captured_output::stream::error);
        fault.lastingly(0);
        EXPECT_TRUE(operation());
        EXPECT_EQ(fault.failed(), files);
        EXPECT_EQ(said.text(), "");
    }
    EXPECT_EQ(folder.read("made"), plain);
}

/// Every call of every function fails in turn, once and lastingly.
TEST_F(GzipFailures, LeakNoHandleAndNoTemporaryFile)
{
    const kf::test::temporary_folder temporary;
    captured_output said(captured_output::stream::error);
    const environment_value place("TMP", temporary.text());
    std::size_t most_temporary_files = 0;
    const auto count_files = [&]
    {
        const std::filesystem::directory_iterator entries(temporary.path());
        return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    };
    const auto run_all = [&](auto&& fault)
    {
        for (const fault_span span : {fault_span::single, fault_span::lasting})
            fail_each_call(fault, span,
                           [&]
                           {
                               compress();
                               uncompress();
                               file_to_text();
                               buffer_to_text();
                           });
    };
    run_all(close_fault(&failing_close)); // and whatever opens things once does so now
    const std::size_t handles = kf::test::handle_count();
    run_all(open_fault(nullptr, 0));
    run_all(read_fault(&failing_read));
    run_all(write_fault(&failing_write));
    run_all(written_bytes_fault());
    run_all(flush_fault(EOF, 0));
    run_all(temporary_fault(nullptr, 0));
    run_all(seek_fault(-1, 0));
    run_all(tell_fault(
        [&](std::FILE*)
        {
            most_temporary_files = std::max(most_temporary_files, count_files());
            return -1;
        }));
    EXPECT_EQ(kf::test::handle_count(), handles);
    EXPECT_EQ(most_temporary_files, 2u) << "temporary files were not made where they are looked for";
    EXPECT_EQ(count_files(), 0u);
    EXPECT_TRUE(compress() && uncompress() && file_to_text() && buffer_to_text());
}
