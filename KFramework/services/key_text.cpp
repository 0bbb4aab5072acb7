#include "KFramework/services/key_text.h"

#include <algorithm>
#include <climits>
#include <string_view>

#include <openssl/crypto.h>
#include <openssl/evp.h>

#include "KFramework/string.h"

namespace kf::services
{
namespace
{
constexpr std::string_view kFirstField = "pbkdf2$";

/// Whoever may write OpenSSL's configuration file, or name another in the environment, could make every derivation
/// fail: it is not read.
bool use_no_configuration()
{
    return ::OPENSSL_init_crypto(OPENSSL_INIT_NO_LOAD_CONFIG, nullptr) == 1;
}
} // namespace

bool derive_key(const std::string& password, const std::string& salt, int iterations, derived_key& key)
{
    key.fill(0);
    if (password.size() > INT_MAX || salt.size() > INT_MAX || !use_no_configuration())
        return false;
    // KEPT[rounds-as-given]: the derivation itself refuses counts below 1.
    // KEPT[salt-as-text]: digits are not decoded.
    const bool derived = ::PKCS5_PBKDF2_HMAC(password.data(), static_cast<int>(password.size()),
                                             reinterpret_cast<const unsigned char*>(salt.data()),
                                             static_cast<int>(salt.size()), std::max(iterations, 1),
                                             ::EVP_sha512(), static_cast<int>(key.size()), key.data()) == 1;
    if (!derived)
        key.fill(0);
    ::OPENSSL_thread_stop(); // a static OpenSSL is not told when a thread ends, and would keep what it has for it
    return derived;
}

void append_digits(std::string& text, std::span<const unsigned char> bytes)
{
    constexpr std::string_view digits = "0123456789abcdef";
    for (const unsigned char byte : bytes)
    {
        text += digits[byte / 16];
        text += digits[byte % 16];
    }
}

std::string key_text(int iterations, const derived_key& key, const std::string& salt)
{
    const std::string count = KFramework::KStringHelper::FromInt(iterations);
    std::string text;
    // All at once: growing would leave copies of the digits behind.
    text.reserve(kFirstField.size() + count.size() + 2 * key.size() + salt.size() + 2);
    text.append(kFirstField).append(count).append("$");
    append_digits(text, key);
    text.append("$").append(salt);
    return text;
}

bool equal_in_constant_time(const std::string& left, const std::string& right)
{
    return left.size() == right.size() && ::CRYPTO_memcmp(left.data(), right.data(), left.size()) == 0;
}
} // namespace kf::services
