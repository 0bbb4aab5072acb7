/// The wide block's layout, with converters of the test's own.

#include "KFramework/process/environment.h"

#include <gtest/gtest.h>

#include <cstdlib>

namespace
{
using kf::process::block_units;
using kf::process::environment_table;
using kf::process::wide_block;

/// Two bytes become one unit, as in most of Latin script.
std::u16string halved(const std::string& text)
{
    return std::u16string(text.size() / 2, u'x');
}

std::u16string widened(const std::string& text)
{
    return {text.begin(), text.end()};
}

std::u16string built(const environment_table& table, const kf::process::utf16_converter& converter)
{
    char16_t* const block = wide_block(table, converter);
    const std::u16string copy(block, block_units(table));
    std::free(block);
    return copy;
}

template <std::size_t size>
std::u16string units(const char16_t (&text)[size])
{
    return {text, size - 1};
}
} // namespace

TEST(WideBlock, IsTheUsualBlockForAsciiText)
{
    EXPECT_EQ(built({{"A", "1"}, {"BC", "23"}}, widened), units(u"A=1\0BC=23\0\0"));
    EXPECT_EQ(built({}, widened), units(u"\0"));
}

// KEPT[environment-wide-layout]
TEST(WideBlock, GivesEveryTextAsManyUnitsAsItHasBytes)
{
    EXPECT_EQ(built({{"NNNN", "1"}, {"O", "VVVV"}}, halved), units(u"xx\0\0=\0\0\0=xx\0\0\0\0"));
}

TEST(WideBlock, CountsAnEntryWithoutANameAndLeavesItOut)
{
    EXPECT_EQ(built({{"", "v"}, {"A", "1"}}, widened), units(u"A=1\0\0\0\0\0"));
}

TEST(WideBlock, CutsATextThatWouldNotFit)
{
    const auto doubled = [](const std::string& text) { return std::u16string(text.size() * 2, u'd'); };
    EXPECT_EQ(built({{"A", "1"}}, doubled), units(u"d=d\0\0"));
}

TEST(WideBlock, EndsATextAtItsFirstZero)
{
    const auto zeroed = [](const std::string& text) { return std::u16string(text.size(), u'\0'); };
    EXPECT_EQ(built({{"A", "12"}}, zeroed), units(u"\0=\0\0\0\0"));
}
