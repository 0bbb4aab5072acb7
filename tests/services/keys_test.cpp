#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>

#include <gtest/gtest.h>

#include "KFramework/services.h"

using namespace KFramework::KServices;

namespace
{
/// PBKDF2-HMAC-SHA-512 of "password" and "salt", computed by another implementation.
constexpr char kOneRound[] = "867f70cf1ade02cff3752599a3a53dc4af34c7a669815ae5d513554e1c8cf252"
                             "c02d470a285a0501bad999bfe943c08f050235d7d68b1da55e63f73b60a57fce";
constexpr char kTwoRounds[] = "e1d9c16aa681708a45f5c7c4e215ceb66e011a2e9f0040713f18aefdb866d53c"
                              "f76cab2868a39b9f7840edce4fef5a82be67335c77a6068e04112754f27ccf4e";
constexpr char kThousandRounds[] = "afe6c5530785b6cc6b1c6453384731bd5ee432ee549fd42fb6695779ad8a1c5b"
                                   "f59de69c48f774efc4007d5298f9033c0241d5ab69305e7b64eceeb8d834cfec";
/// Of "pass", a byte of 0, "word " and two characters of UTF-8, with the salt "00ff" and three rounds.
constexpr char kOddPassword[] = "7f46a01413b73e0152ae68a5633fb16e316dad08d2ffa464fd31dc1f340cbd53"
                                "059a98ec0ba913e55f9474f1bc2a3a03a442db4afeaefad0473a4cdf61943fdd";
/// Of an empty password with the salt "salt" and two rounds.
constexpr char kEmptyPassword[] = "cc5eacbb057f2a5982fce67bf70f79fccf4adf285f5cbae1a5a1c5df012a630a"
                                  "5cd035da88803f2a8b7ad7d3118025e9d848280b733c39c57a76d3fa895f244c";

std::string stored(const char* count, const char* digits, const std::string& salt = "salt")
{
    return std::string("pbkdf2$") + count + "$" + digits + "$" + salt;
}

bool is_small_hexadecimal(const std::string& text)
{
    return text.find_first_not_of("0123456789abcdef") == std::string::npos;
}

/// The digits of so many draws of rand().
std::string drawn_digits(int draws)
{
    std::string digits;
    for (int i = 0; i < draws; ++i)
    {
        const int byte = std::rand() % 256;
        digits += "0123456789abcdef"[byte / 16];
        digits += "0123456789abcdef"[byte % 16];
    }
    return digits;
}
} // namespace

TEST(GeneratePBKDF2Key, WritesCountDigitsAndSaltOfTheFixedDigest)
{
    EXPECT_EQ(GeneratePBKDF2Key("password", "salt", 1), stored("1", kOneRound));
    EXPECT_EQ(GeneratePBKDF2Key("password", "salt", 2), stored("2", kTwoRounds));
    EXPECT_EQ(GeneratePBKDF2Key("password", "salt", 1000), stored("1000", kThousandRounds));
}

// KEPT[salt-as-text]
TEST(GeneratePBKDF2Key, TakesTheWholePasswordAndTheSaltsCharacters)
{
    const std::string password("pass\0word \xC3\xA4\xE2\x82\xAC", 15);
    EXPECT_EQ(GeneratePBKDF2Key(password, "00ff", 3), stored("3", kOddPassword, "00ff"));
    EXPECT_NE(GeneratePBKDF2Key("a", "00FF", 1).substr(9, 128),
              GeneratePBKDF2Key("a", "00ff", 1).substr(9, 128));
    const std::string salt("s\0t", 3);
    EXPECT_EQ(GeneratePBKDF2Key("a", salt, 1).substr(138), salt);
    EXPECT_NE(GeneratePBKDF2Key("a", salt, 1).substr(9, 128), GeneratePBKDF2Key("a", "s", 1).substr(9, 128));
}

TEST(GeneratePBKDF2Key, IsEmptyOnlyWhenPasswordAndSaltAre)
{
    EXPECT_EQ(GeneratePBKDF2Key("", "", 1000), "");
    EXPECT_EQ(GeneratePBKDF2Key("", "salt", 2), stored("2", kEmptyPassword));
    EXPECT_EQ(GeneratePBKDF2Key("password", "", 1).size(), 9 + 128 + 1u);
}

// KEPT[rounds-as-given]
TEST(GeneratePBKDF2Key, DerivesWithOneRoundForCountsBelowOneAndWritesThemAsGiven)
{
    EXPECT_EQ(GeneratePBKDF2Key("password", "salt", 0), stored("0", kOneRound));
    EXPECT_EQ(GeneratePBKDF2Key("password", "salt", -1), stored("-1", kOneRound));
    EXPECT_EQ(GeneratePBKDF2Key("password", "salt", -2147483647 - 1), stored("-2147483648", kOneRound));
    EXPECT_TRUE(VerifyPBKDF2Key(stored("0", kOneRound), "password"));
    EXPECT_TRUE(VerifyPBKDF2Key(stored("-1", kOneRound), "password"));
}

TEST(VerifyPBKDF2Key, AcceptsTheRightPasswordAndNoOther)
{
    const std::string key = GeneratePBKDF2Key("right", GenerateRandomSalt(), 1000);
    EXPECT_TRUE(VerifyPBKDF2Key(key, "right"));
    for (const char* other : {"", "wrong", "right ", "Right", "righ"})
        EXPECT_FALSE(VerifyPBKDF2Key(key, other)) << other;
    EXPECT_FALSE(VerifyPBKDF2Key(key, std::string("right\0x", 7)));
    EXPECT_TRUE(VerifyPBKDF2Key(key, std::string("right\0", 6))) << "HMAC fills its block with bytes of 0";
    EXPECT_FALSE(VerifyPBKDF2Key(key, key));
    EXPECT_TRUE(VerifyPBKDF2Key(stored("1000", kThousandRounds), "password"));
    EXPECT_TRUE(VerifyPBKDF2Key(stored("2", kEmptyPassword), ""));
}

// KEPT[key-as-written]
TEST(VerifyPBKDF2Key, ComparesTheWholeTextAsItIsWritten)
{
    std::string capitals = kOneRound;
    std::transform(capitals.begin(), capitals.end(), capitals.begin(),
                   [](char c) { return c >= 'a' && c <= 'f' ? static_cast<char>(c - 'a' + 'A') : c; });
    EXPECT_FALSE(VerifyPBKDF2Key(stored("1", capitals.c_str()), "password"));
    for (const char* count : {"01", "+1", " 1", "1x", "1 ", "", "x", "2"})
        EXPECT_FALSE(VerifyPBKDF2Key(stored(count, kOneRound), "password")) << count;
    EXPECT_FALSE(VerifyPBKDF2Key(stored("01000", kThousandRounds), "password"));
    EXPECT_FALSE(VerifyPBKDF2Key(stored("1000x", kThousandRounds), "password"));
    for (const char* tail : {"$", "$x", "$$"})
        EXPECT_FALSE(VerifyPBKDF2Key(stored("1", kOneRound) + tail, "password")) << tail;
    EXPECT_FALSE(VerifyPBKDF2Key("pbkdf2$1$" + std::string(kOneRound, 127) + "$salt", "password"));
    EXPECT_FALSE(VerifyPBKDF2Key("pbkdf2$1$$salt", "password"));
    EXPECT_FALSE(VerifyPBKDF2Key(GeneratePBKDF2Key("password", "sa$lt", 1), "password"));
    EXPECT_FALSE(VerifyPBKDF2Key("pbkdf2$1$" + std::string(kOneRound) + "$sa$lt", "password"));
}

// KEPT[clear-text-entries]
TEST(VerifyPBKDF2Key, ComparesATextThatIsNoStoredKeyAsItStands)
{
    for (const char* clear : {"", "secret", "pa$$word", "a$b$c$d$e", "pbkdf2", "pbkdf2$1", "pbkdf2$1$ab",
                              "PBKDF2$1$ab$salt", "$pbkdf2$1$ab$salt", "pbkdf2 $1$ab$salt"})
    {
        EXPECT_TRUE(VerifyPBKDF2Key(clear, clear)) << clear;
        EXPECT_FALSE(VerifyPBKDF2Key(clear, std::string(clear) + "x")) << clear;
        EXPECT_FALSE(VerifyPBKDF2Key(std::string(clear) + "x", clear)) << clear;
    }
    EXPECT_FALSE(VerifyPBKDF2Key("secret", "secreT"));
    EXPECT_FALSE(VerifyPBKDF2Key("secret", "Secret"));
    EXPECT_FALSE(VerifyPBKDF2Key(std::string("a\0b", 3), std::string("a\0c", 3)));
    EXPECT_TRUE(VerifyPBKDF2Key(std::string("a\0b", 3), std::string("a\0b", 3)));
}

// KEPT[empty-salt]
TEST(VerifyPBKDF2Key, TakesAKeyWithAnEmptySaltForClearText)
{
    const std::string key = GeneratePBKDF2Key("password", "", 1);
    EXPECT_EQ(key.back(), '$');
    EXPECT_FALSE(VerifyPBKDF2Key(key, "password"));
    EXPECT_TRUE(VerifyPBKDF2Key(key, key));
}

TEST(GenerateRandomSalt, IsAlwaysSixtyFourSmallHexadecimalDigits)
{
    std::set<std::string> salts;
    for (int i = 0; i < 1000; ++i)
    {
        const std::string salt = GenerateRandomSalt();
        ASSERT_EQ(salt.size(), 64u);
        ASSERT_TRUE(is_small_hexadecimal(salt)) << salt;
        salts.insert(salt);
    }
    EXPECT_EQ(salts.size(), 1000u);
}

// KEPT[salt-draws]
TEST(GenerateRandomSalt, DrawsSixtyFourValuesAndUsesTheFirstThirtyTwo)
{
    std::srand(1);
    const std::string digits = drawn_digits(32);
    drawn_digits(32);
    const int draw_65 = std::rand();

    std::srand(1);
    EXPECT_EQ(GenerateRandomSalt(), digits);
    EXPECT_EQ(std::rand(), draw_65);
}

// KEPT[salt-unseeded]
TEST(GenerateRandomSalt, LeavesSeedingToTheHost)
{
    std::srand(7);
    const std::string first = GenerateRandomSalt();
    const std::string second = GenerateRandomSalt();
    EXPECT_NE(first, second);
    std::srand(7);
    EXPECT_EQ(GenerateRandomSalt(), first);
    EXPECT_EQ(GenerateRandomSalt(), second);
}
