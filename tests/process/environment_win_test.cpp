/// The wide block as the system gets it.

#include "KFramework/process.h"
#include "tests/process/child_win.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <malloc.h>
#include <string>

namespace
{
using namespace KFramework::KProcesses;
using KClientLib::KEnvironment;

/// A block of exactly so many units.
std::wstring built(KEnvironment environment, std::size_t units)
{
    void* const block = GetEnvironmentWideString(&environment);
    EXPECT_EQ(::_msize(block), std::max<std::size_t>(units, 2) * sizeof(wchar_t));
    const std::wstring copy(static_cast<const wchar_t*>(block), units);
    std::free(block);
    return copy;
}

template <std::size_t size>
std::wstring units(const wchar_t (&text)[size])
{
    return {text, size - 1};
}
} // namespace

TEST(GetEnvironmentWideString, IsTheUsualBlockForAsciiText)
{
    EXPECT_EQ(built({{{"B", "2"}, {"A", ""}}}, 8), units(L"A=\0B=2\0\0"));
    EXPECT_EQ(built({}, 1), units(L"\0"));
}

// KEPT[environment-wide-layout]
TEST(GetEnvironmentWideString, LeavesZerosBehindTextThatIsNotAscii)
{
    EXPECT_EQ(built({{{"A", "\xC3\xA9"}, {"B", "1"}}}, 10), units(L"A=\u00E9\0\0B=1\0\0"));
    EXPECT_EQ(built({{{"N\xC3\xA9", "1"}}}, 7), units(L"N\u00E9\0=1\0\0"));
    EXPECT_EQ(built({{{"A", "\xE2\x82\xAC\xF0\x9F\x98\x80"}}}, 11),
              units(L"A=\u20AC\xD83D\xDE00\0\0\0\0\0\0"));
}

// KEPT[environment-wide-layout]
TEST(GetEnvironmentWideString, MakesAChildsEnvironmentEndAtTextThatIsNotAscii)
{
    KEnvironment environment{{{"KF_A", "1"}, {"KF_B", "\xC3\xA9"}, {"KF_C", "2"}}};
    const kf::test::spawned_child child("print_environment", "", true, &environment);
    const std::string output = "\n" + child.output();
    EXPECT_NE(output.find("\nKF_A=1\n"), std::string::npos) << output;
    EXPECT_NE(output.find("\nKF_B=\xC3\xA9\n"), std::string::npos) << output;
    EXPECT_EQ(output.find("\nKF_C="), std::string::npos) << output;
}

// KEPT[environment-empty-name]
TEST(GetEnvironmentAnsiString, HasExactlyTheRoomItCounts)
{
    KEnvironment environment{{{"", "lost"}, {"A", "1"}}};
    char* const block = GetEnvironmentAnsiString(&environment);
    EXPECT_EQ(::_msize(block), 11u);
    std::free(block);
}

// KEPT[environment-empty-name]
TEST(GetEnvironmentWideString, LeavesOutAnEntryWithoutANameButHasRoomForIt)
{
    EXPECT_EQ(built({{{"", "lost"}, {"A", "1"}}}, 11), units(L"A=1\0\0\0\0\0\0\0\0"));
}

TEST(GetEnvironmentWideString, GivesNullForNoTable)
{
    EXPECT_EQ(GetEnvironmentWideString(nullptr), nullptr);
}
