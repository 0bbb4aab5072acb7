#include <cctype>
#include <clocale>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;

namespace
{
std::string all_bytes()
{
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte)
        bytes += static_cast<char>(byte);
    return bytes;
}

/// Restores the C locale that was set before.
class c_locale
{
public:
    explicit c_locale(const char* name) : old_(std::setlocale(LC_ALL, nullptr))
    {
        std::setlocale(LC_ALL, name);
    }
    c_locale(const c_locale&) = delete;
    c_locale& operator=(const c_locale&) = delete;
    ~c_locale() { std::setlocale(LC_ALL, old_.c_str()); }

private:
    std::string old_;
};
} // namespace

TEST(ToUpper, MapsLettersAndNothingElse)
{
    EXPECT_EQ(text::ToUpper("abc-XYZ_09"), "ABC-XYZ_09");
    EXPECT_EQ(text::ToUpper(""), "");
    EXPECT_EQ(text::ToUpper("@[`{"), "@[`{");
    EXPECT_EQ(text::ToUpper("gr\xC3\xBC\xC3\x9F"), "GR\xC3\xBC\xC3\x9F");
    EXPECT_EQ(text::ToUpper("\xE4\xFC"), "\xE4\xFC");
}

TEST(ToLower, MapsLettersAndNothingElse)
{
    EXPECT_EQ(text::ToLower("ABC-xyz_09"), "abc-xyz_09");
    EXPECT_EQ(text::ToLower(""), "");
    EXPECT_EQ(text::ToLower("@[`{"), "@[`{");
    EXPECT_EQ(text::ToLower("GR\xC3\x9C"), "gr\xC3\x9C");
    EXPECT_EQ(text::ToLower("\xC4\xDC"), "\xC4\xDC");
}

TEST(ToUpper, MapsEveryByteAsTheCLocaleDoes)
{
    const std::string bytes = all_bytes();
    const std::string upper = text::ToUpper(bytes);
    const std::string lower = text::ToLower(bytes);
    ASSERT_EQ(upper.size(), 256u);
    ASSERT_EQ(lower.size(), 256u);
    for (int byte = 0; byte < 256; ++byte)
    {
        const bool ascii = byte < 128;
        const auto at = static_cast<std::size_t>(byte);
        EXPECT_EQ(static_cast<unsigned char>(upper[at]), ascii ? std::toupper(byte) : byte);
        EXPECT_EQ(static_cast<unsigned char>(lower[at]), ascii ? std::tolower(byte) : byte);
    }
}

TEST(ToUpper, IgnoresTheHostsLocale)
{
    const c_locale changed("");
    EXPECT_EQ(text::ToUpper("a\xE4"), "A\xE4");
    EXPECT_EQ(text::ToLower("A\xC4"), "a\xC4");
}
