/// Environment tables as arrays and narrow blocks.

#include "KFramework/process.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <string>
#include <vector>

namespace
{
using KClientLib::KEnvironment;
using namespace KFramework::KProcesses;

std::string narrow(KEnvironment environment, std::size_t bytes)
{
    char* const block = GetEnvironmentAnsiString(&environment);
    const std::string copy(block, bytes);
    std::free(block);
    return copy;
}

std::vector<std::string> array(KEnvironment environment)
{
    char** const texts = BuildEnvironmentArray(&environment);
    std::vector<std::string> result;
    for (char** text = texts; *text != nullptr; ++text)
        result.emplace_back(*text);
    DestroyArray(texts);
    return result;
}

template <std::size_t size>
std::string bytes(const char (&text)[size])
{
    return {text, size - 1};
}
} // namespace

TEST(GetEnvironmentAnsiString, EndsEveryEntryAndTheBlockWithAZero)
{
    EXPECT_EQ(narrow({{{"B", "2"}, {"A", ""}}}, 8), bytes("A=\0B=2\0\0"));
}

TEST(GetEnvironmentAnsiString, IsOneZeroForAnEmptyTable)
{
    EXPECT_EQ(narrow({}, 1), bytes("\0"));
}

TEST(GetEnvironmentAnsiString, PassesUtf8Through)
{
    EXPECT_EQ(narrow({{{"\xC3\xA9", "\xE2\x82\xAC"}}}, 8), bytes("\xC3\xA9=\xE2\x82\xAC\0\0"));
}

// KEPT[environment-empty-name]
TEST(GetEnvironmentAnsiString, LeavesOutAnEntryWithoutANameButHasRoomForIt)
{
    EXPECT_EQ(narrow({{{"", "lost"}, {"A", "1"}}}, 11), bytes("A=1\0\0\0\0\0\0\0\0"));
}

// KEPT[environment-case]
TEST(GetEnvironmentAnsiString, TellsNamesApartByCaseAndOrdersThemByBytes)
{
    EXPECT_EQ(narrow({{{"Path", "b"}, {"PATH", "a"}, {"_", "c"}, {"a", "d"}}}, 22),
              bytes("PATH=a\0Path=b\0_=c\0a=d\0"));
}

TEST(GetEnvironmentAnsiString, GivesNullForNoTable)
{
    EXPECT_EQ(GetEnvironmentAnsiString(nullptr), nullptr);
}

TEST(BuildEnvironmentArray, GivesOneTextPerEntryInOrder)
{
    EXPECT_EQ(array({{{"B", "2"}, {"A", "1=1"}}}), (std::vector<std::string>{"A=1=1", "B=2"}));
    EXPECT_EQ(array({}), (std::vector<std::string>{}));
}

TEST(BuildEnvironmentArray, KeepsAnEntryWithoutAName)
{
    EXPECT_EQ(array({{{"", "v"}, {"A", "1"}}}), (std::vector<std::string>{"=v", "A=1"}));
}

TEST(BuildEnvironmentArray, GivesNullForNoTable)
{
    EXPECT_EQ(BuildEnvironmentArray(nullptr), nullptr);
}
