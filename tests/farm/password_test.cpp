#include "password.h"

#include "KFramework/services.h"

#include <gtest/gtest.h>

namespace
{
using farm::secret;

const std::string kDigits(128, 'a');

std::string line_password(std::string line)
{
    return farm::password_from(std::move(line)).text();
}
} // namespace

TEST(Wipe, LeavesNothingOfATextInItsMemory)
{
    std::string text(100, 'x');
    text.resize(3);
    const char* const bytes = text.data();
    const std::size_t room = text.capacity();
    farm::wipe(text);
    ASSERT_EQ(text.data(), bytes);
    EXPECT_TRUE(text.empty());
    for (std::size_t i = 0; i < room; ++i)
        EXPECT_EQ(bytes[i], '\0') << i;
}

TEST(Secret, LeavesNothingWhereItCameFrom)
{
    for (const std::size_t length : {5, 100}) // in its string, and outside
    {
        std::string source(length, 'x');
        const char* const first = source.data();
        secret one(std::move(source));
        const char* const second = one.text().data();
        EXPECT_EQ(std::string(first, length), std::string(length, '\0'));
        const secret two(std::move(one));
        EXPECT_EQ(std::string(second, length), std::string(length, '\0'));
        EXPECT_EQ(two.text(), std::string(length, 'x'));
    }
}

TEST(Secret, TakesTheTextOfAnother)
{
    secret one(std::string("first"));
    secret two(std::string("second"));
    one = std::move(two);
    EXPECT_EQ(one.text(), "second");
    one = secret();
    EXPECT_TRUE(one.empty());
}

TEST(PasswordFrom, TakesALineWithoutItsEndAndTheBlanksAround)
{
    EXPECT_EQ(line_password("sesame"), "sesame");
    EXPECT_EQ(line_password("  open sesame \r\n"), "open sesame");
    EXPECT_EQ(line_password(" \n"), "");
    EXPECT_EQ(line_password(""), "");
    EXPECT_EQ(line_password("\tx\t"), "\tx\t");
}

TEST(WrongPassword, SaysWhyWithoutSayingWhat)
{
    EXPECT_EQ(farm::wrong_password("a b=c$#[\xC3\xA9"), "");
    EXPECT_EQ(farm::wrong_password(std::string(200, 'x')), "");
    EXPECT_EQ(farm::wrong_password(""), "a password must not be empty");
    EXPECT_EQ(farm::wrong_password(std::string(201, 'x')), "a password has at most 200 bytes");
    for (const char control : {'\0', '\t', '\n', '\r', '\x1A', '\x1F', '\x7F'})
        EXPECT_EQ(farm::wrong_password(std::string("a") + control), "a password has no control characters");
    for (const char* const broken : {"p\xE4sswort", "a\xC3", "\xED\xA0\x80"})
        EXPECT_EQ(farm::wrong_password(broken), "a password is UTF-8");
}

TEST(WrongKey, TakesOnlyWhatTheLibraryTakesForAKey)
{
    EXPECT_EQ(farm::wrong_key("pbkdf2$1000$" + kDigits + "$salt"), "");
    EXPECT_EQ(farm::wrong_key("pbkdf2$10000000$" + kDigits + "$s"), "");
    for (const std::string& wrong :
         {std::string(), std::string("sesame"), "pbkdf2$1000$" + kDigits, "pbkdf2$1000$" + kDigits + "$",
          "pbkdf2$1000$" + kDigits + "$a$b", "pbkdf2$1000$" + kDigits + "a$salt",
          "pbkdf2$1000$" + kDigits.substr(1) + "$salt", "pbkdf2$1000$" + kDigits.substr(1) + "A$salt",
          "PBKDF2$1000$" + kDigits + "$salt", "pbkdf2$999$" + kDigits + "$salt",
          "pbkdf2$10000001$" + kDigits + "$salt", "pbkdf2$01000$" + kDigits + "$salt",
          "pbkdf2$1000x$" + kDigits + "$salt", "pbkdf2$-1$" + kDigits + "$salt",
          "pbkdf2$$" + kDigits + "$salt", "$pbkdf2$1000$" + kDigits + "$salt"})
        EXPECT_EQ(farm::wrong_key(wrong), "it is no key text; farm_server --set-password makes one") << wrong;
}

TEST(MakeKey, MakesAKeyThatVerifiesItsPassword)
{
    const std::string key = farm::make_key(secret(std::string("sesame")), "grain");
    EXPECT_EQ(farm::wrong_key(key), "");
    EXPECT_TRUE(key.starts_with("pbkdf2$210000$")) << key;
    EXPECT_TRUE(KFramework::KServices::VerifyPBKDF2Key(key, "sesame"));
}
