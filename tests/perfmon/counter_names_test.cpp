#include "KFramework/perfmon/counter_names.h"

#include <gtest/gtest.h>

using namespace kf::perfmon;

TEST(LocalNames, AsksForEveryIndexOnce)
{
    std::vector<std::uint32_t> asked;
    const counter_names names = local_names(
        [&](std::uint32_t index) -> std::optional<std::u16string>
        {
            asked.push_back(index);
            const std::string digits = std::to_string(index);
            return std::u16string(digits.begin(), digits.end());
        });
    EXPECT_EQ(asked, (std::vector<std::uint32_t>{238, 6, 510, 388, 506, 520, 234, 200, 202, 204}));
    EXPECT_EQ(names.processor, u"238");
    EXPECT_EQ(names.processor_time, u"6");
    EXPECT_EQ(names.network_interface, u"510");
    EXPECT_EQ(names.bytes_total, u"388");
    EXPECT_EQ(names.bytes_sent, u"506");
    EXPECT_EQ(names.bandwidth, u"520");
    EXPECT_EQ(names.physical_disk, u"234");
    EXPECT_EQ(names.disk_time, u"200");
    EXPECT_EQ(names.disk_read_time, u"202");
    EXPECT_EQ(names.disk_write_time, u"204");
}

// KEPT[physical-disk-name]
TEST(LocalNames, StayEnglishWhereTheLookUpFails)
{
    const counter_names names = local_names(
        [](std::uint32_t index) -> std::optional<std::u16string>
        { return index == 6 ? std::optional<std::u16string>(u"Prozessorzeit (%)") : std::nullopt; });
    EXPECT_EQ(names.processor_time, u"Prozessorzeit (%)");
    EXPECT_EQ(names.processor, u"Processor");
    EXPECT_EQ(names.network_interface, u"Network Interface");
    EXPECT_EQ(names.bytes_total, u"Bytes Total/sec");
    EXPECT_EQ(names.bytes_sent, u"Bytes Sent/sec");
    EXPECT_EQ(names.bandwidth, u"Current Bandwidth");
    EXPECT_EQ(names.physical_disk, u"Physical Disk");
    EXPECT_EQ(names.disk_time, u"% Disk Time");
    EXPECT_EQ(names.disk_read_time, u"% Disk Read Time");
    EXPECT_EQ(names.disk_write_time, u"% Disk Write Time");
}

TEST(CounterPath, PutsTheInstanceIntoParentheses)
{
    EXPECT_EQ(counter_path(u"Processor", core_instance(12), u"% Processor Time"),
              u"\\Processor(12)\\% Processor Time");
}

TEST(CoreInstance, IsTheDecimalIndex)
{
    EXPECT_EQ(core_instance(0), u"0");
    EXPECT_EQ(core_instance(127), u"127");
}

TEST(ListedTexts, EndAtTheEmptyText)
{
    using texts = std::vector<std::u16string>;
    EXPECT_EQ(listed_texts(std::u16string_view(u"a\0bc\0\0d\0", 8)), (texts{u"a", u"bc"}));
    EXPECT_EQ(listed_texts(std::u16string_view(u"\0", 1)), texts{});
}

TEST(ListedTexts, EndAtTheEndOfTheRoomWithoutAnEmptyText)
{
    using texts = std::vector<std::u16string>;
    EXPECT_EQ(listed_texts(u""), texts{});
    EXPECT_EQ(listed_texts(std::u16string_view(u"a\0bc", 4)), (texts{u"a", u"bc"}));
    EXPECT_EQ(listed_texts(std::u16string_view(u"a\0bc\0", 5)), (texts{u"a", u"bc"}));
}
