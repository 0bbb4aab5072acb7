#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/filesystem.h"
#include "tests/filesystem/gzip_bytes.h"
#include "tests/support/temporary_folder.h"

namespace fs = KFramework::KFileSystem;
using namespace kf::filesystem::test;

namespace
{
const std::string kBadData = "zlib: invalid or incomplete deflate data\n";

/// Files of one test, and what the calls on them write to standard error.
class GzipFiles : public ::testing::Test
{
protected:
    bool compress(const char* source, const char* destination)
    {
        return watched([&] { return fs::CompressFile(path(source).c_str(), path(destination).c_str()); });
    }

    bool uncompress(const char* source, const char* destination)
    {
        return watched([&] { return fs::UncompressFile(path(source).c_str(), path(destination).c_str()); });
    }

    bool to_text(const char* source, std::string& text)
    {
        return watched([&] { return fs::UncompressFileToText(path(source).c_str(), text); });
    }

    bool to_text(const std::string& buffer, std::string& text)
    {
        return watched([&] { return fs::UncompressBufferToText(buffer.data(), buffer.size(), text); });
    }

    std::string path(const char* name) const { return folder.text(name); }

    const kf::test::temporary_folder folder;
    std::string said; ///< by the last call

private:
    template <class Call>
    bool watched(Call call)
    {
        ::testing::internal::CaptureStderr();
        const bool result = call();
        said = ::testing::internal::GetCapturedStderr();
        return result;
    }
};

using CompressFile = GzipFiles;
using UncompressFile = GzipFiles;
using UncompressFileToText = GzipFiles;
using UncompressBufferToText = GzipFiles;
} // namespace

TEST_F(CompressFile, AndUncompressFileGiveBackTheSameBytes)
{
    for (const std::size_t size : kSizes)
    {
        for (const std::string& bytes : {noise(size), lines(size)})
        {
            folder.write("plain", bytes);
            ASSERT_TRUE(compress("plain", "packed")) << size;
            EXPECT_EQ(said, "");
            ASSERT_TRUE(uncompress("packed", "again")) << size;
            EXPECT_EQ(said, "");
            ASSERT_EQ(folder.read("again"), bytes) << size;
        }
    }
}

TEST_F(CompressFile, WritesOneGzipMemberOfTheDefaultSettings)
{
    for (const std::size_t size : kSizes)
    {
        folder.write("plain", lines(size));
        ASSERT_TRUE(compress("plain", "packed"));
        const std::string packed = folder.read("packed");
        ASSERT_GE(packed.size(), 18u);
        EXPECT_EQ(packed.substr(0, 3), "\x1F\x8B\x08");
        ASSERT_EQ(packed, gzip_member(lines(size))) << size;
    }
}

TEST_F(CompressFile, ReplacesTheDestination)
{
    folder.write("plain", "abc");
    folder.write("packed", noise(5000));
    ASSERT_TRUE(compress("plain", "packed"));
    EXPECT_EQ(folder.read("packed"), gzip_member("abc"));
}

// KEPT[destination-cut-first]
TEST_F(CompressFile, EmptiesTheDestinationEvenWithoutASource)
{
    folder.write("packed", "old");
    EXPECT_FALSE(compress("missing", "packed"));
    EXPECT_EQ(folder.read("packed"), "");
    EXPECT_EQ(said, "");

    EXPECT_FALSE(compress("missing", "new"));
    EXPECT_EQ(folder.read("new"), "");
}

TEST_F(CompressFile, FailsSilentlyWithoutADestination)
{
    folder.write("plain", "abc");
    EXPECT_FALSE(compress("plain", "missing/packed"));
    EXPECT_EQ(said, "");
    EXPECT_FALSE(fs::CompressFile(nullptr, nullptr));
}

TEST_F(UncompressFile, SaysThatAFileIsNotGzipAndLeavesADestination)
{
    folder.write("packed", "this is no gzip file");
    EXPECT_FALSE(uncompress("packed", "plain"));
    EXPECT_EQ(said, kBadData);
    EXPECT_EQ(folder.read("plain"), "");

    folder.write("packed", "");
    folder.write("plain", "old");
    EXPECT_FALSE(uncompress("packed", "plain"));
    EXPECT_EQ(said, kBadData);
    EXPECT_EQ(folder.read("plain"), "");
}

TEST_F(UncompressFile, SaysTheSameOfATruncatedFileAndKeepsWhatCameOut)
{
    const std::string bytes = noise(100000);
    const std::string packed = gzip_member(bytes);
    folder.write("packed", packed.substr(0, packed.size() - 1));
    EXPECT_FALSE(uncompress("packed", "plain"));
    EXPECT_EQ(said, kBadData);
    EXPECT_EQ(folder.read("plain"), bytes);

    folder.write("packed", packed.substr(0, 50000));
    EXPECT_FALSE(uncompress("packed", "plain"));
    EXPECT_EQ(said, kBadData);
    const std::string part = folder.read("plain");
    EXPECT_GT(part.size(), 16384u);
    EXPECT_EQ(part, bytes.substr(0, part.size()));
}

// KEPT[first-member-only]
TEST_F(UncompressFile, StopsAtTheEndOfTheFirstMember)
{
    folder.write("packed", gzip_member("first") + gzip_member("second"));
    EXPECT_TRUE(uncompress("packed", "plain"));
    EXPECT_EQ(said, "");
    EXPECT_EQ(folder.read("plain"), "first");

    folder.write("packed", gzip_member(noise(16384)) + noise(40000));
    EXPECT_TRUE(uncompress("packed", "plain"));
    EXPECT_EQ(folder.read("plain"), noise(16384));
}

// KEPT[destination-cut-first]
TEST_F(UncompressFile, EmptiesTheDestinationEvenWithoutASource)
{
    folder.write("plain", "old");
    EXPECT_FALSE(uncompress("missing", "plain"));
    EXPECT_EQ(folder.read("plain"), "");
    EXPECT_EQ(said, "");
}

TEST_F(UncompressFileToText, GivesTheContentOfAnySize)
{
    for (const std::size_t size : kSizes)
    {
        folder.write("packed", gzip_member(lines(size)));
        std::string text = "old";
        ASSERT_TRUE(to_text("packed", text)) << size;
        ASSERT_EQ(text, lines(size)) << size;
    }
}

// KEPT[text-ends-at-nul]
TEST_F(UncompressFileToText, EndsTheTextAtTheFirstNul)
{
    folder.write("packed", gzip_member(std::string("ab\0cd", 5)));
    std::string text = "old";
    EXPECT_TRUE(to_text("packed", text));
    EXPECT_EQ(text, "ab");

    folder.write("packed", gzip_member(std::string(1, '\0')));
    EXPECT_TRUE(to_text("packed", text));
    EXPECT_EQ(text, "");
}

// KEPT[text-set-on-failure]
TEST_F(UncompressFileToText, HandsOverWhatCameOutBeforeTheDamageAndSaysNothing)
{
    const std::string packed = gzip_member(lines(100000));
    folder.write("packed", packed.substr(0, packed.size() - 1));
    std::string text = "old";
    EXPECT_FALSE(to_text("packed", text));
    EXPECT_EQ(text, lines(100000));
    EXPECT_EQ(said, "");

    folder.write("packed", "this is no gzip file");
    EXPECT_FALSE(to_text("packed", text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(said, "");
}

// KEPT[first-member-only]
TEST_F(UncompressFileToText, StopsAtTheEndOfTheFirstMember)
{
    folder.write("packed", gzip_member("first") + gzip_member("second"));
    std::string text;
    EXPECT_TRUE(to_text("packed", text));
    EXPECT_EQ(text, "first");
}

TEST_F(UncompressFileToText, LeavesTheTextWithoutASource)
{
    std::string text = "old";
    EXPECT_FALSE(to_text("missing", text));
    EXPECT_EQ(text, "old");
    EXPECT_FALSE(fs::UncompressFileToText(nullptr, text));
    EXPECT_EQ(said, "");
}

TEST_F(UncompressBufferToText, GivesTheContentOfAnySize)
{
    for (const std::size_t size : kSizes)
    {
        std::string text = "old";
        ASSERT_TRUE(to_text(gzip_member(lines(size)), text)) << size;
        ASSERT_EQ(text, lines(size)) << size;
    }
}

TEST_F(UncompressBufferToText, FailsForAnEmptyBuffer)
{
    std::string text = "old";
    EXPECT_FALSE(to_text(std::string(), text));
    EXPECT_EQ(text, "");
    EXPECT_FALSE(fs::UncompressBufferToText(nullptr, 0, text));
    EXPECT_EQ(said, "");
}

// KEPT[text-set-on-failure]
TEST_F(UncompressBufferToText, HandsOverNoMoreThanCameOutAtEveryCut)
{
    const std::string packed = gzip_member("a short text, cut everywhere");
    for (std::size_t cut = 0; cut < packed.size(); ++cut)
    {
        std::string text = "old";
        EXPECT_FALSE(to_text(packed.substr(0, cut), text)) << cut;
        EXPECT_EQ(text, std::string("a short text, cut everywhere").substr(0, text.size())) << cut;
        EXPECT_EQ(said, "") << cut;
    }
}

// KEPT[first-member-only] KEPT[text-ends-at-nul]
TEST_F(UncompressBufferToText, StopsAtTheFirstMemberAndTheFirstNul)
{
    std::string text;
    EXPECT_TRUE(to_text(gzip_member("first") + gzip_member("second"), text));
    EXPECT_EQ(text, "first");
    EXPECT_TRUE(to_text(gzip_member(std::string("a\0b", 3)), text));
    EXPECT_EQ(text, "a");
}

TEST_F(UncompressBufferToText, NeverTakesADamagedBufferForADifferentText)
{
    const std::string good = "twelve bytes";
    const std::string packed = gzip_member(good);
    for (std::size_t bit = 0; bit < packed.size() * 8; ++bit)
    {
        std::string damaged = packed;
        damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ (1 << bit % 8));
        std::string text;
        if (to_text(damaged, text)) // a bit of the header's time or system
        {
            EXPECT_EQ(text, good) << bit;
        }
    }
}

TEST_F(CompressFile, RunsOnSeveralThreadsAtOnce)
{
    std::atomic<int> good{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i)
    {
        threads.emplace_back(
            [&, i]
            {
                const std::string name = std::to_string(i);
                const std::string bytes = noise(50000 + static_cast<std::size_t>(i));
                const std::string plain = folder.write("plain" + name, bytes);
                const std::string packed = folder.text("packed" + name);
                const std::string again = folder.text("again" + name);
                if (fs::CompressFile(plain.c_str(), packed.c_str()) &&
                    fs::UncompressFile(packed.c_str(), again.c_str()) && folder.read("again" + name) == bytes)
                    ++good;
            });
    }
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_EQ(good, 4);
}
