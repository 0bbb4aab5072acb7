#include <KFramework/socket.h> // before <windows.h>

#include "random_win.h"

#include <array>

#include <bcrypt.h>

namespace farm
{
std::string random_salt()
{
    constexpr const char* kDigits = "0123456789abcdef";
    std::array<unsigned char, 32> bytes = {};
    if (::BCryptGenRandom(nullptr, bytes.data(), static_cast<ULONG>(bytes.size()), // 0: it went well
                          BCRYPT_USE_SYSTEM_PREFERRED_RNG) != 0)
        return "";
    std::string salt;
    for (const unsigned char byte : bytes)
    {
        salt += kDigits[byte >> 4];
        salt += kDigits[byte & 0xF];
    }
    return salt;
}
} // namespace farm
