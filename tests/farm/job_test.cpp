#include "job.h"

#include "KFramework/string.h"

#include <gtest/gtest.h>

#include <map>

namespace
{
namespace text = KFramework::KStringHelper;
using entry_map = std::map<std::string, std::string>;

const farm::job kJob{1, 24, 320, 180, 60, "frame.####.png"};

/// The job's bundle with one entry changed.
std::string bundle_with(const std::string& key, const std::string& value)
{
    entry_map entries = text::DecodeFramesMask(to_bundle(kJob));
    entries[key] = value;
    return text::EncodeFramesMasks(entries);
}
} // namespace

TEST(JobBundle, HoldsFramesLimitMaskAndSize)
{
    EXPECT_EQ(
        text::DecodeFramesMask(to_bundle(kJob)),
        (entry_map{{"frames", "1-24"}, {"limit", "60"}, {"mask", "frame.####.png"}, {"size", "320x180"}}));
}

TEST(ParseBundle, ReadsWhatToBundleWrote)
{
    for (const farm::job& written : {kJob, farm::job{0, 1, 1, 8192, 1, "#"}, farm::job{99, 100'000}})
    {
        const auto read = farm::parse_bundle(to_bundle(written));
        ASSERT_TRUE(read);
        EXPECT_EQ(read->first_frame, written.first_frame);
        EXPECT_EQ(read->frame_count, written.frame_count);
        EXPECT_EQ(read->width, written.width);
        EXPECT_EQ(read->height, written.height);
        EXPECT_EQ(read->limit_seconds, written.limit_seconds);
        EXPECT_EQ(read->mask, written.mask);
    }
}

TEST(ParseBundle, RefusesEveryShorterTextAndOneThatGoesOn)
{
    const std::string whole = to_bundle(kJob);
    for (std::size_t length = 0; length < whole.size(); ++length)
        EXPECT_FALSE(farm::parse_bundle(whole.substr(0, length))) << length;
    EXPECT_FALSE(farm::parse_bundle(whole + "\n"));
    EXPECT_FALSE(farm::parse_bundle(whole + whole));
    EXPECT_FALSE(farm::parse_bundle("GET / HTTP/1.1"));
    EXPECT_FALSE(farm::parse_bundle(std::string(100'000, 'A')));
}

TEST(ParseBundle, RefusesValuesThatAreNoneOrOutOfRange)
{
    for (const char* const frames :
         {"", "x", "24-1", "1-", "-1-3", "1-1000001", "1-2,4", "01-3", "3-3", "1 -3"})
        EXPECT_FALSE(farm::parse_bundle(bundle_with("frames", frames))) << frames;
    for (const char* const size : {"", "320", "0x180", "320x8193", "320x180x1", "320*180", "+320x180"})
        EXPECT_FALSE(farm::parse_bundle(bundle_with("size", size))) << size;
    for (const char* const limit : {"", "0", "-1", "1000001", "60s", "99999999999"})
        EXPECT_FALSE(farm::parse_bundle(bundle_with("limit", limit))) << limit;
    EXPECT_FALSE(farm::parse_bundle(bundle_with("mask", "frame.png")));
    EXPECT_FALSE(farm::parse_bundle(bundle_with("mask", std::string(5'000, '#'))));
}

TEST(ParseBundle, RefusesUnknownAndRepeatedEntries)
{
    EXPECT_FALSE(farm::parse_bundle(bundle_with("more", "1")));
    const std::string lines = text::FromBase64(to_bundle(kJob));
    EXPECT_FALSE(farm::parse_bundle(text::ToBase64(lines + "limit\n7\n")));
}

TEST(Job, CoversItsFrames)
{
    const farm::job ten{5, 10};
    EXPECT_FALSE(ten.covers(4));
    EXPECT_TRUE(ten.covers(5));
    EXPECT_TRUE(ten.covers(14));
    EXPECT_FALSE(ten.covers(15));
}

TEST(JobLine, TellsFramesAsARange)
{
    EXPECT_EQ(job_line(kJob), "frames 1-24 of frame.####.png, 320 x 180, up to 60 seconds each");
    EXPECT_EQ(job_line(farm::job{7, 1}), "frame 7 of frame.####.png, 320 x 180, up to 60 seconds each");
}

TEST(FrameList, IsWrittenAsRanges)
{
    std::set<int> frames{30};
    for (int frame = 1; frame <= 24; ++frame)
        frames.insert(frame);
    EXPECT_EQ(farm::frame_list(frames), "frames 1-24,30");
    EXPECT_EQ(farm::frame_list({7}), "frame 7");
    EXPECT_EQ(farm::frame_list({}), "no frames");
}
