/// Makes and verifies stored keys, one request a line on standard input, one answer a line on standard output.
///
///     generate PASSWORD SALT COUNT  =>  the stored key
///     verify STORED PASSWORD        =>  true or false
///
/// Texts are hexadecimal digits, and "-" for the empty one; so is the stored key in the answer.

#include <cstdlib>
#include <iostream>
#include <string>

#include "KFramework/services.h"

namespace
{
std::string decoded(const std::string& digits)
{
    std::string text;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        text += static_cast<char>(std::strtol(digits.substr(i, 2).c_str(), nullptr, 16));
    return text;
}

std::string encoded(const std::string& text)
{
    std::string digits;
    for (const char c : text)
    {
        const auto byte = static_cast<unsigned char>(c);
        digits += "0123456789abcdef"[byte / 16];
        digits += "0123456789abcdef"[byte % 16];
    }
    return digits.empty() ? "-" : digits;
}
} // namespace

int main()
{
    using namespace KFramework::KServices;
    std::string request, first, second;
    while (std::cin >> request >> first >> second)
    {
        if (request == "generate")
        {
            int count = 0;
            std::cin >> count;
            std::cout << encoded(GeneratePBKDF2Key(decoded(first), decoded(second), count)) << '\n';
        }
        else
            std::cout << (VerifyPBKDF2Key(decoded(first), decoded(second)) ? "true" : "false") << '\n';
    }
    return 0;
}
