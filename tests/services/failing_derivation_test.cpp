/// The linker sends the library's calls of OpenSSL's derivation here (--wrap).

#include <cstring>
#include <string>

#include <gtest/gtest.h>
#include <openssl/evp.h>

#include "KFramework/services.h"
#include "KFramework/services/key_text.h"

namespace
{
bool failing = false;

struct derivation_failure
{
    derivation_failure() { failing = true; }
    ~derivation_failure() { failing = false; }
};
} // namespace

extern "C"
{
    int __real_PKCS5_PBKDF2_HMAC(const char* password, int password_length, const unsigned char* salt,
                                 int salt_length, int rounds, const EVP_MD* digest, int length,
                                 unsigned char* key);

    int __wrap_PKCS5_PBKDF2_HMAC(const char* password, int password_length, const unsigned char* salt,
                                 int salt_length, int rounds, const EVP_MD* digest, int length,
                                 unsigned char* key)
    {
        if (!failing)
            return __real_PKCS5_PBKDF2_HMAC(password, password_length, salt, salt_length, rounds, digest,
                                            length, key);
        std::memset(key, 0xAB, static_cast<std::size_t>(length) / 2); // fails half-way
        return 0;
    }
}

using namespace KFramework::KServices;

TEST(GeneratePBKDF2Key, IsEmptyWhenTheKeyCannotBeDerived)
{
    const derivation_failure failure;
    EXPECT_EQ(GeneratePBKDF2Key("password", "salt", 1), "");
}

TEST(VerifyPBKDF2Key, RefusesEveryPasswordWhenTheKeyCannotBeDerived)
{
    const std::string key = GeneratePBKDF2Key("password", "salt", 1);
    const std::string zeros = "pbkdf2$1$" + std::string(128, '0') + "$salt";
    const derivation_failure failure;
    EXPECT_FALSE(VerifyPBKDF2Key(key, "password"));
    EXPECT_FALSE(VerifyPBKDF2Key(zeros, "password"));
    EXPECT_FALSE(VerifyPBKDF2Key(key, ""));
}

TEST(derive_key, LeavesZerosBehindAFailure)
{
    const derivation_failure failure;
    kf::services::derived_key key;
    key.fill(1);
    EXPECT_FALSE(kf::services::derive_key("password", "salt", 1, key));
    EXPECT_EQ(key, kf::services::derived_key{});
}

TEST(EqualInConstantTime, ComparesLengthAndEveryByte)
{
    using kf::services::equal_in_constant_time;
    EXPECT_TRUE(equal_in_constant_time("", ""));
    EXPECT_FALSE(equal_in_constant_time("", "a"));
    EXPECT_FALSE(equal_in_constant_time(std::string("a\0", 2), "a"));
    const std::string text = "0123456789abcdef";
    EXPECT_TRUE(equal_in_constant_time(text, std::string(text)));
    for (std::size_t i = 0; i < text.size(); ++i)
    {
        std::string other = text;
        other[i] ^= 1;
        EXPECT_FALSE(equal_in_constant_time(text, other)) << i;
    }
}
