/// The streams over C files that fail on command.

#include <cstdio>
#include <cstring>
#include <random>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/filesystem/c_file.h"
#include "KFramework/filesystem/gzip_stream.h"
#include "KFramework/filesystem/messages.h"
#include "tests/filesystem/gzip_bytes.h"

using namespace kf::filesystem;
using namespace kf::filesystem::test;

namespace
{
/// What a fake file holds, and after how many calls it fails.
struct fake_file
{
    std::string bytes;
    std::size_t position = 0;
    int calls_before_failure = -1; // never
    std::size_t largest_write = static_cast<std::size_t>(-1);

    bool fails_now() { return calls_before_failure >= 0 && calls_before_failure-- == 0; }
};

ssize_t read_fake(void* cookie, char* buffer, std::size_t size)
{
    auto& file = *static_cast<fake_file*>(cookie);
    if (file.fails_now())
        return -1;
    const std::size_t count = std::min(size, file.bytes.size() - file.position);
    std::memcpy(buffer, file.bytes.data() + file.position, count);
    file.position += count;
    return static_cast<ssize_t>(count);
}

ssize_t write_fake(void* cookie, const char* buffer, std::size_t size)
{
    auto& file = *static_cast<fake_file*>(cookie);
    if (file.fails_now())
        return 0;
    const std::size_t count = std::min(size, file.largest_write);
    file.bytes.append(buffer, count);
    return static_cast<ssize_t>(count);
}

c_file open_fake(fake_file& file, const char* mode)
{
    c_file opened(::fopencookie(&file, mode, {read_fake, write_fake, nullptr, nullptr}));
    return opened;
}

/// Runs a stream over two fakes.
template <class Stream>
stream_result run(Stream stream, fake_file& source, fake_file& destination)
{
    const c_file in = open_fake(source, "rb");
    const c_file out = open_fake(destination, "wb");
    return stream(in.get(), out.get());
}

std::string inflated(const std::string& bytes, stream_result& result)
{
    fake_file source{bytes};
    fake_file plain;
    result = run(inflate_stream, source, plain);
    return plain.bytes;
}
} // namespace

TEST(DeflateStream, StopsWithFileFailedAtEveryReadThatFails)
{
    for (int calls = 0;; ++calls)
    {
        fake_file source{noise(40000), 0, calls};
        fake_file destination;
        const stream_result result = run(deflate_stream, source, destination);
        if (source.calls_before_failure >= 0)
        {
            EXPECT_EQ(result, stream_result::done);
            EXPECT_GT(calls, 2);
            break;
        }
        EXPECT_EQ(result, stream_result::file_failed) << calls;
    }
}

TEST(DeflateStream, StopsWithFileFailedAtEveryWriteThatFails)
{
    for (int calls = 0;; ++calls)
    {
        fake_file source{noise(40000)};
        fake_file destination{{}, 0, calls};
        const stream_result result = run(deflate_stream, source, destination);
        if (destination.calls_before_failure >= 0)
        {
            EXPECT_EQ(result, stream_result::done);
            EXPECT_EQ(destination.bytes, gzip_member(noise(40000)));
            EXPECT_GT(calls, 2);
            break;
        }
        EXPECT_EQ(result, stream_result::file_failed) << calls;
    }
}

TEST(DeflateStream, TellsOfAWriteThatFailsOnlyWhenTheRuntimeLetsGoOfIt)
{
    const c_file full(std::fopen("/dev/full", "wb"));
    ASSERT_TRUE(full);
    fake_file source{"x"};
    const c_file in = open_fake(source, "rb");
    EXPECT_EQ(deflate_stream(in.get(), full.get()), stream_result::file_failed);
}

TEST(DeflateStream, BeginsAtThePositionOfTheSource)
{
    fake_file source{"skipped, kept"};
    fake_file destination;
    {
        const c_file in = open_fake(source, "rb");
        const c_file out = open_fake(destination, "wb");
        for (int i = 0; i < 9; ++i)
            std::fgetc(in.get());
        EXPECT_EQ(deflate_stream(in.get(), out.get()), stream_result::done);
    }
    EXPECT_EQ(destination.bytes, gzip_member("kept"));
}

TEST(InflateStream, StopsWithFileFailedAtEveryReadThatFails)
{
    for (int calls = 0;; ++calls)
    {
        fake_file source{gzip_member(noise(40000)), 0, calls};
        fake_file destination;
        const stream_result result = run(inflate_stream, source, destination);
        if (source.calls_before_failure >= 0)
        {
            EXPECT_EQ(result, stream_result::done);
            EXPECT_GT(calls, 2);
            break;
        }
        EXPECT_EQ(result, stream_result::file_failed) << calls;
    }
}

TEST(InflateStream, StopsWithFileFailedAtEveryWriteThatFails)
{
    for (int calls = 0;; ++calls)
    {
        fake_file source{gzip_member(noise(40000))};
        fake_file destination{{}, 0, calls};
        const stream_result result = run(inflate_stream, source, destination);
        if (destination.calls_before_failure >= 0)
        {
            EXPECT_EQ(result, stream_result::done);
            EXPECT_EQ(destination.bytes, noise(40000));
            EXPECT_GT(calls, 2);
            break;
        }
        EXPECT_EQ(result, stream_result::file_failed) << calls;
    }
}

TEST(InflateStream, TellsOfAWriteThatFailsOnlyWhenTheRuntimeLetsGoOfIt)
{
    const c_file full(std::fopen("/dev/full", "wb"));
    ASSERT_TRUE(full);
    fake_file source{gzip_member("x")};
    const c_file in = open_fake(source, "rb");
    EXPECT_EQ(inflate_stream(in.get(), full.get()), stream_result::file_failed);
}

TEST(InflateStream, GivesBadDataAtEveryCutAndOnlyTrueBytes)
{
    const std::string bytes = lines(3000);
    const std::string packed = gzip_member(bytes);
    for (std::size_t cut = 0; cut < packed.size(); ++cut)
    {
        stream_result result{};
        const std::string plain = inflated(packed.substr(0, cut), result);
        EXPECT_EQ(result, stream_result::bad_data) << cut;
        EXPECT_EQ(plain, bytes.substr(0, plain.size())) << cut;
    }
}

TEST(InflateStream, GivesBadDataForAWrongCheckSumOrLength)
{
    std::string packed = gzip_member("content");
    for (std::size_t last = 1; last <= 8; ++last)
    {
        std::string damaged = packed;
        damaged[damaged.size() - last] = static_cast<char>(damaged[damaged.size() - last] ^ 1);
        stream_result result{};
        inflated(damaged, result);
        EXPECT_EQ(result, stream_result::bad_data) << last;
    }
}

TEST(InflateStream, GivesBadDataForOtherWrappers)
{
    stream_result result{};
    // A zlib stream of "a", and the same with the flag for a preset dictionary.
    inflated(std::string("\x78\x9C\x4B\x04\x00\x00\x62\x00\x62", 9), result);
    EXPECT_EQ(result, stream_result::bad_data);
    inflated(std::string("\x78\xBB\x00\x62\x00\x62\x4B\x04\x00", 9), result);
    EXPECT_EQ(result, stream_result::bad_data);
    inflated(std::string("\x4B\x04\x00", 3), result);
    EXPECT_EQ(result, stream_result::bad_data);
}

TEST(InflateStream, ReadsMembersWithNameCommentAndExtraField)
{
    std::string packed = gzip_member("content");
    const std::string fields("\x02\x00xx"
                             "name\0"
                             "comment\0",
                             17);
    packed[3] = '\x1C'; // extra, name, comment
    packed.insert(10, fields);
    stream_result result{};
    EXPECT_EQ(inflated(packed, result), "content");
    EXPECT_EQ(result, stream_result::done);
}

TEST(InflateStream, SurvivesRandomDamage)
{
    std::mt19937 generator(99);
    const std::string packed = gzip_member(lines(2000));
    for (int round = 0; round < 20000; ++round)
    {
        std::string damaged = packed;
        for (unsigned changes = 1 + generator() % 4; changes > 0; --changes)
            damaged[generator() % damaged.size()] = static_cast<char>(generator());
        stream_result result{};
        const std::string plain = inflated(damaged, result);
        ASSERT_TRUE(result == stream_result::done || result == stream_result::bad_data);
        if (result == stream_result::done)
        {
            ASSERT_EQ(plain, lines(2000));
        }
    }
}

TEST(Diagnostic, NamesWhatZlibRefused)
{
    EXPECT_EQ(diagnostic(stream_result::version_mismatch, false, false), "zlib: zlib version mismatch!\n");
    EXPECT_EQ(diagnostic(stream_result::out_of_memory, true, true), "zlib: out of memory\n");
    EXPECT_EQ(diagnostic(stream_result::bad_data, true, true), "zlib: invalid or incomplete deflate data\n");
    EXPECT_EQ(diagnostic(stream_result::call_refused, true, true), "zlib: invalid compression level\n");
}

// KEPT[standard-stream-flags]
TEST(Diagnostic, SpeaksOfStandardInputAndOutputForAnyFailedFile)
{
    EXPECT_EQ(diagnostic(stream_result::file_failed, false, false), "zlib: ");
    EXPECT_EQ(diagnostic(stream_result::file_failed, true, false), "zlib: error reading stdin\n");
    EXPECT_EQ(diagnostic(stream_result::file_failed, false, true), "zlib: error writing stdout\n");
    EXPECT_EQ(diagnostic(stream_result::file_failed, true, true),
              "zlib: error reading stdin\nerror writing stdout\n");
}

TEST(StreamResult, HasTheValuesOfZlib)
{
    EXPECT_EQ(static_cast<int>(stream_result::done), Z_OK);
    EXPECT_EQ(static_cast<int>(stream_result::file_failed), Z_ERRNO);
    EXPECT_EQ(static_cast<int>(stream_result::call_refused), Z_STREAM_ERROR);
    EXPECT_EQ(static_cast<int>(stream_result::bad_data), Z_DATA_ERROR);
    EXPECT_EQ(static_cast<int>(stream_result::out_of_memory), Z_MEM_ERROR);
    EXPECT_EQ(static_cast<int>(stream_result::version_mismatch), Z_VERSION_ERROR);
}
