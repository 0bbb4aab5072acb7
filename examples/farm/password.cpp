#include "password.h"

#include "numbers.h"

#include <KFramework/services.h>
#include <KFramework/string.h>

#include <algorithm>
#include <vector>

namespace farm
{
using namespace KFramework;

namespace
{
constexpr int kFewestRounds = 1'000;
constexpr int kMostRounds = 10'000'000; // some ten seconds
constexpr std::size_t kKeyDigits = 128;

bool is_control(char c)
{
    return static_cast<unsigned char>(c) < ' ' || c == '\x7f';
}

bool is_utf8(const std::string& text)
{
    const secret repaired(KStringHelper::fixUtf8String(text));
    return repaired.text() == text;
}

bool is_key_digit(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}
} // namespace

secret password_from(std::string&& line)
{
    while (!line.empty() && (line.back() == '\n' || line.back() == '\r' || line.back() == ' '))
        line.pop_back();
    line.erase(0, std::min(line.find_first_not_of(' '), line.size()));
    return secret(std::move(line));
}

std::string wrong_password(const std::string& password)
{
    if (password.empty())
        return "a password must not be empty";
    if (password.size() > kLongestPassword)
        return "a password has at most " + std::to_string(kLongestPassword) + " bytes";
    if (std::any_of(password.begin(), password.end(), is_control))
        return "a password has no control characters";
    if (!is_utf8(password)) // another program would take the same letters for other bytes
        return "a password is UTF-8";
    return "";
}

std::string wrong_key(const std::string& key)
{
    // What VerifyPBKDF2Key takes for a key, and nothing that it would compare as it stands or never find right.
    const std::vector<std::string> fields = KStringHelper::TokenizeStringNoStripe(key, "$");
    const auto rounds =
        fields.size() == 4 ? number_between(fields[1], kFewestRounds, kMostRounds) : std::nullopt;
    if (!rounds || fields[0] != "pbkdf2" || fields[1] != std::to_string(*rounds) ||
        fields[2].size() != kKeyDigits || !std::all_of(fields[2].begin(), fields[2].end(), is_key_digit) ||
        fields[3].empty())
        return "it is no key text; farm_server --set-password makes one";
    return "";
}

std::string make_key(const secret& password, const std::string& salt)
{
    return KServices::GeneratePBKDF2Key(password.text(), salt, kRounds);
}
} // namespace farm
