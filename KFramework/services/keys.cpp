#include <array>
#include <cstddef>
#include <cstdlib>
#include <span>
#include <string>
#include <vector>

#include "KFramework/platform/wipe.h"
#include "KFramework/services.h"
#include "KFramework/services/key_text.h"
#include "KFramework/string.h"

namespace
{
constexpr std::size_t kSaltDraws = 64;
constexpr std::size_t kSaltDrawsUsed = 32;
constexpr std::size_t kFields = 4;

/// The fields of what is stored, which may be a password in clear text; wiped when they are no longer needed.
class stored_fields
{
public:
    explicit stored_fields(const std::string& stored)
        : fields_(KFramework::KStringHelper::TokenizeString(stored, "$"))
    {
    }
    ~stored_fields()
    {
        for (std::string& field : fields_)
            kf::platform::wipe(field.data(), field.size());
    }
    stored_fields(const stored_fields&) = delete;
    stored_fields& operator=(const stored_fields&) = delete;

    [[nodiscard]] bool are_of_a_key() const { return fields_.size() >= kFields && fields_[0] == "pbkdf2"; }
    [[nodiscard]] int count() const { return std::atoi(fields_[1].c_str()); }
    [[nodiscard]] const std::string& salt() const { return fields_[3]; }

private:
    std::vector<std::string> fields_;
};
} // namespace

namespace KFramework::KServices
{
using namespace kf::services;

std::string GenerateRandomSalt()
{
    // KEPT[salt-unseeded]: no srand() here.
    std::array<unsigned char, kSaltDraws> draws;
    for (unsigned char& draw : draws)
        draw = static_cast<unsigned char>(std::rand() % 256);
    // KEPT[salt-draws]: the other half is drawn for nothing.
    std::string salt;
    append_digits(salt, std::span(draws).first<kSaltDrawsUsed>());
    return salt;
}

std::string GeneratePBKDF2Key(const std::string& password, const std::string& salt, int iterations)
{
    if (password.empty() && salt.empty())
        return {};
    derived_key key;
    const kf::platform::wiped_at_end wiped(key);
    if (!derive_key(password, salt, iterations, key))
        return {};
    return key_text(iterations, key, salt);
}

bool VerifyPBKDF2Key(const std::string& stored, const std::string& password)
{
    // KEPT[empty-salt]: the field behind the last "$" is none when it is empty, so such a text has three.
    const stored_fields fields(stored);
    // KEPT[clear-text-entries]
    if (!fields.are_of_a_key())
        return equal_in_constant_time(stored, password);
    // KEPT[key-as-written]: made anew and compared as a whole; no digits are decoded.
    std::string again = GeneratePBKDF2Key(password, fields.salt(), fields.count());
    const kf::platform::wiped_at_end wiped(again);
    return equal_in_constant_time(stored, again);
}
} // namespace KFramework::KServices
