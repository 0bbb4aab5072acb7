#include "KFramework/services/session_keys.h"

#include <algorithm>
#include <cstdlib>
#include <string_view>

namespace kf::services
{
namespace
{
constexpr std::string_view kDefaultKey = ".default";
constexpr std::string_view kClassesPart = "Classes";

char to_small(char letter)
{
    return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
}

/// Reads "-NUMBER" and goes behind it; a number of more than 32 bits keeps its low ones.
bool take_number(const char*& at, int base, std::uint32_t& number)
{
    if (*at != '-')
        return false;
    char* behind = nullptr;
    const unsigned long long value = std::strtoull(at + 1, &behind, base);
    if (behind == at + 1)
        return false;
    number = static_cast<std::uint32_t>(value);
    at = behind;
    return true;
}
} // namespace

bool may_be_user_key(const std::string& name)
{
    if (std::ranges::equal(name, kDefaultKey, {}, to_small))
        return false;
    return name.find(kClassesPart) == std::string::npos;
}

std::optional<identifier_parts> read_identifier(const std::string& name)
{
    const char* at = name.c_str();
    std::uint32_t revision = 0, authority = 0;
    if (*at != 'S' || !take_number(++at, 10, revision) || !take_number(at, 16, authority))
        return std::nullopt;

    identifier_parts parts;
    for (std::size_t i = 0; i < 4; ++i) // the first two bytes stay 0
        parts.authority[kAuthorityBytes - 1 - i] = static_cast<std::uint8_t>(authority >> (8 * i));
    while (parts.count < kSubAuthorities && take_number(at, 10, parts.sub_authorities[parts.count]))
        ++parts.count;
    if (parts.count == 0)
        return std::nullopt;
    return parts;
}
} // namespace kf::services
