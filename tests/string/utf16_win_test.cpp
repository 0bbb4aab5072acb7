#include <string>

#include <gtest/gtest.h>

#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"
#include "tests/support/import_hook_win.h"

using KFramework::KStringHelper::Utf8StringToWideString;
using KFramework::KStringHelper::WideStringToUtf8String;

namespace
{
std::string utf8_of(std::wstring wide)
{
    return WideStringToUtf8String(wide.data());
}

int WINAPI no_size(UINT, DWORD, LPCWCH, int, LPSTR, int, LPCCH, LPBOOL)
{
    return 0;
}

int WINAPI size_but_no_text(UINT, DWORD, LPCWCH, int, LPSTR room, int, LPCCH, LPBOOL)
{
    return room == nullptr ? 4 : 0;
}

int WINAPI no_wide_size(UINT, DWORD, LPCCH, int, LPWSTR, int)
{
    return 0;
}

int WINAPI wide_size_but_no_text(UINT, DWORD, LPCCH, int, LPWSTR room, int)
{
    return room == nullptr ? 4 : 0;
}
} // namespace

TEST(WideStringToUtf8String, EncodesEveryLength)
{
    EXPECT_EQ(utf8_of(L"abc"), "abc");
    EXPECT_EQ(utf8_of(L"\u00e4\u20ac"), "\xC3\xA4\xE2\x82\xAC");
    EXPECT_EQ(utf8_of(L"\U0001F600"), "\xF0\x9F\x98\x80");
    EXPECT_EQ(utf8_of(L""), "");
}

TEST(WideStringToUtf8String, IsEmptyForNull)
{
    EXPECT_EQ(WideStringToUtf8String(nullptr), "");
}

TEST(WideStringToUtf8String, EndsAtTheTerminator)
{
    EXPECT_EQ(utf8_of(std::wstring(L"ab\0cd", 5)), "ab");
}

TEST(WideStringToUtf8String, PutsAMarkForHalfASurrogatePair)
{
    EXPECT_EQ(utf8_of(L"a\xD83D"
                      L"b"),
              "a\xEF\xBF\xBD"
              "b");
    EXPECT_EQ(utf8_of(L"\xDE00"), "\xEF\xBF\xBD");
}

TEST(WideStringToUtf8String, IsEmptyWhenThePlatformGivesNoSize)
{
    const kf::test::import_hook hook("WideCharToMultiByte", &no_size);
    EXPECT_EQ(utf8_of(L"abc"), "");
}

TEST(WideStringToUtf8String, IsEmptyWhenThePlatformDoesNotConvert)
{
    const kf::test::import_hook hook("WideCharToMultiByte", &size_but_no_text);
    EXPECT_EQ(utf8_of(L"abc"), "");
}

TEST(Utf8StringToWideString, DecodesEveryLength)
{
    EXPECT_EQ(Utf8StringToWideString("abc"), L"abc");
    EXPECT_EQ(Utf8StringToWideString("\xC3\xA4\xE2\x82\xAC"), L"\u00e4\u20ac");
    EXPECT_EQ(Utf8StringToWideString("\xF0\x9F\x98\x80"), L"\xD83D\xDE00");
    EXPECT_EQ(Utf8StringToWideString(""), L"");
}

TEST(Utf8StringToWideString, EndsAtTheFirstNul)
{
    EXPECT_EQ(Utf8StringToWideString(std::string("ab\0cd", 5)), L"ab");
}

TEST(Utf8StringToWideString, PutsMarksForBrokenSequences)
{
    const std::wstring wide = Utf8StringToWideString("a\xFFz");
    EXPECT_EQ(wide, L"a\xFFFDz");
    EXPECT_EQ(Utf8StringToWideString("\xC3").find_first_not_of(L'\xFFFD'), std::wstring::npos);
}

TEST(Utf8StringToWideString, IsEmptyWhenThePlatformGivesNoSize)
{
    const kf::test::import_hook hook("MultiByteToWideChar", &no_wide_size);
    EXPECT_EQ(Utf8StringToWideString("abc"), L"");
}

TEST(Utf8StringToWideString, IsEmptyWhenThePlatformDoesNotConvert)
{
    const kf::test::import_hook hook("MultiByteToWideChar", &wide_size_but_no_text);
    EXPECT_EQ(Utf8StringToWideString("abc"), L"");
}

TEST(Utf8StringToWideString, IsUndoneByItsMirrorImage)
{
    std::string text;
    for (int i = 0; i < 20000; ++i)
        text += "a\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80";
    EXPECT_EQ(utf8_of(Utf8StringToWideString(text)), text);
}
