/// The gzip functions when calls of the C runtime fail underneath them.

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "tests/filesystem/gzip_bytes.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

namespace fs = KFramework::KFileSystem;
using namespace kf::filesystem::test;
using kf::test::captured_output;
using kf::test::import_hook;

namespace
{
/// Which call fails, counted from 0; below 0 once it has failed.
int failing_call = 0;

bool fails_now()
{
    return failing_call-- == 0;
}

void flag_error(std::FILE* file)
{
    file->_flag |= _IOERR;
}

std::size_t failing_read(void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    if (!fails_now())
        return std::fread(data, size, count, file);
    flag_error(file);
    return 0;
}

std::size_t failing_write(const void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    if (!fails_now())
        return std::fwrite(data, size, count, file);
    flag_error(file);
    return count / 2;
}

std::size_t short_write(const void* data, std::size_t size, std::size_t count, std::FILE* file)
{
    return std::fwrite(data, size, count > 0 && fails_now() ? count - 1 : count, file);
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

int failing_flush(std::FILE* file)
{
    return fails_now() ? EOF : std::fflush(file);
}

std::FILE* failing_temporary()
{
    return fails_now() ? nullptr : std::tmpfile();
}

long failing_tell(std::FILE* file)
{
    return fails_now() ? -1 : std::ftell(file);
}

/// Only what zlib asks for is this large; the runtime must never be refused.
void* failing_allocation(std::size_t size)
{
    constexpr std::size_t kSmallestOfZlib = 5000;
    return size >= kSmallestOfZlib && fails_now() ? nullptr : std::malloc(size);
}

int opened = 0;
int closed = 0;

std::FILE* counted_open(const char* path, const char* mode)
{
    std::FILE* const file = std::fopen(path, mode);
    if (file != nullptr)
        ++opened;
    return file;
}

int counted_close(std::FILE* file)
{
    ++closed;
    return std::fclose(file);
}

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

    /// Lets the first, second, ... call fail until there is none left to fail; each failure must make the
    /// operation fail and say exactly this.
    ///
    /// @return  how many calls there were.
    template <class Operation>
    int fail_each(Operation operation, const std::string& diagnostic)
    {
        for (int call = 0;; ++call)
        {
            failing_call = call;
            captured_output said(captured_output::stream::error);
            const bool result = operation();
            if (failing_call >= 0)
            {
                EXPECT_TRUE(result);
                EXPECT_EQ(said.text(), "");
                return call;
            }
            EXPECT_FALSE(result) << call;
            EXPECT_EQ(said.text(), diagnostic) << call;
        }
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
    {
        const import_hook hook("fread", &failing_read);
        EXPECT_EQ(fail_each([&] { return compress(); }, "zlib: "), 3);
    }
    {
        const import_hook hook("fwrite", &failing_write);
        EXPECT_GE(fail_each([&] { return compress(); }, "zlib: "), 3);
    }
    {
        const import_hook hook("fwrite", &short_write);
        EXPECT_GE(fail_each([&] { return compress(); }, "zlib: "), 3);
    }
    {
        const import_hook hook("fflush", &failing_flush);
        EXPECT_EQ(fail_each([&] { return compress(); }, "zlib: "), 1);
    }
    EXPECT_EQ(folder.read("made"), packed);
}

TEST_F(CompressFileFailing, ReportsEveryAllocation)
{
    const import_hook hook("malloc", &failing_allocation);
    EXPECT_EQ(fail_each([&] { return compress(); }, "zlib: out of memory\n"), 5);
}

TEST_F(CompressFileFailing, LeavesNoFileOpen)
{
    const import_hook open("fopen", &counted_open);
    const import_hook close("fclose", &counted_close);
    const import_hook write("fwrite", &failing_write);
    opened = closed = 0;
    failing_call = 1;
    EXPECT_FALSE(compress());
    EXPECT_EQ(opened, 2);
    EXPECT_EQ(closed, 2);
    EXPECT_FALSE(fs::CompressFile(path("missing").c_str(), path("made").c_str()));
    EXPECT_FALSE(fs::UncompressFile(path("missing").c_str(), path("made").c_str()));
    EXPECT_FALSE(fs::CompressFile(path("plain").c_str(), path("missing/made").c_str()));
    EXPECT_EQ(opened, 5);
    EXPECT_EQ(closed, 5);
}

// KEPT[standard-stream-flags]
TEST_F(CompressFileFailing, SpeaksOfTheStandardStreamsThatHaveTheirErrorFlagSet)
{
    const import_hook hook("fread", &failing_read);
    const std::string input = "error reading stdin\n";
    const std::string output = "error writing stdout\n";
    for (const auto& [of_input, of_output, expected] :
         {std::tuple{false, false, std::string("zlib: ")}, std::tuple{true, false, "zlib: " + input},
          std::tuple{false, true, "zlib: " + output}, std::tuple{true, true, "zlib: " + input + output}})
    {
        const standard_errors flags(of_input, of_output);
        for (const bool packing : {true, false})
        {
            failing_call = 0;
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
    {
        const import_hook hook("fread", &failing_read);
        EXPECT_EQ(fail_each([&] { return uncompress(); }, "zlib: "), 3);
    }
    {
        const import_hook hook("fwrite", &failing_write);
        EXPECT_GE(fail_each([&] { return uncompress(); }, "zlib: "), 3);
    }
    {
        const import_hook hook("fwrite", &short_write);
        EXPECT_GE(fail_each([&] { return uncompress(); }, "zlib: "), 3);
    }
    {
        const import_hook hook("fflush", &failing_flush);
        EXPECT_EQ(fail_each([&] { return uncompress(); }, "zlib: "), 1);
    }
    EXPECT_EQ(folder.read("made"), plain);
}

TEST_F(UncompressFileFailing, ReportsEveryAllocation)
{
    const import_hook hook("malloc", &failing_allocation);
    EXPECT_EQ(fail_each([&] { return uncompress(); }, "zlib: out of memory\n"), 2);
}

TEST_F(UncompressToTextFailing, IsFalseAndSilentWhateverCallFails)
{
    {
        const import_hook hook("fread", &failing_read);
        EXPECT_EQ(fail_each([&] { return file_to_text(); }, ""), 4); // the fourth reads the text back
        EXPECT_EQ(fail_each([&] { return buffer_to_text(); }, ""), 4);
    }
    {
        const import_hook hook("fwrite", &failing_write);
        EXPECT_GE(fail_each([&] { return file_to_text(); }, ""), 3);
        EXPECT_GE(fail_each([&] { return buffer_to_text(); }, ""), 4);
    }
    {
        const import_hook hook("fflush", &failing_flush);
        EXPECT_EQ(fail_each([&] { return file_to_text(); }, ""), 1);
        EXPECT_EQ(fail_each([&] { return buffer_to_text(); }, ""), 2);
    }
    const import_hook hook("malloc", &failing_allocation);
    EXPECT_EQ(fail_each([&] { return file_to_text(); }, ""), 2);
    EXPECT_EQ(fail_each([&] { return buffer_to_text(); }, ""), 2);
}

TEST_F(UncompressToTextFailing, LeavesTheTextWithoutATemporaryFileOrItsLength)
{
    {
        const import_hook hook("tmpfile", &failing_temporary);
        failing_call = 0;
        EXPECT_FALSE(file_to_text());
        EXPECT_EQ(text, "old");
        for (const int call : {0, 1})
        {
            failing_call = call;
            EXPECT_FALSE(buffer_to_text());
            EXPECT_EQ(text, "old");
        }
        EXPECT_EQ(fail_each([&] { return file_to_text(); }, ""), 1);
        EXPECT_EQ(fail_each([&] { return buffer_to_text(); }, ""), 2);
    }
    text = "old";
    const import_hook hook("ftell", &failing_tell); // as for a text of 2 GiB
    failing_call = 0;
    EXPECT_FALSE(file_to_text());
    EXPECT_EQ(text, "old");
}

TEST_F(UncompressToTextFailing, LeavesNoFileOpen)
{
    const import_hook close("fclose", &counted_close);
    const import_hook read("fread", &failing_read);
    closed = 0;
    failing_call = 0;
    EXPECT_FALSE(file_to_text());
    EXPECT_EQ(closed, 2);
    failing_call = 0;
    EXPECT_FALSE(buffer_to_text());
    EXPECT_EQ(closed, 4);
    const import_hook temporary("tmpfile", &failing_temporary);
    failing_call = 1;
    EXPECT_FALSE(buffer_to_text());
    EXPECT_EQ(closed, 5);
}
