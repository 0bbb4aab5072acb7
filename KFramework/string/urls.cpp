#include <cstring>
#include <string_view>

#include "KFramework/string.h"
#include "KFramework/string/byte_texts.h"

namespace
{
using kf::string::byte_texts;

constexpr byte_texts kUrl = []
{
    constexpr std::string_view plain = "0123456789ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz./-_";
    constexpr std::string_view digits = "0123456789ABCDEF";
    byte_texts texts;
    for (unsigned byte = 0; byte < 256; ++byte)
        if (plain.find(static_cast<char>(byte)) == std::string_view::npos)
        {
            const char escape[] = {'%', digits[byte / 16], digits[byte % 16]};
            texts.set(static_cast<unsigned char>(byte), {escape, sizeof escape});
        }
    texts.set(' ', "+");
    return texts;
}();

/// KEPT[url-any-digits]: any byte counts as a hexadecimal digit; what is none gives some value.
unsigned digit(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 'A' ? byte - unsigned{'0'} : (byte & ~0x20u) - 55;
}

/// The text of a C string, which ends at its first NUL byte.
std::string_view up_to_nul(const std::string& s)
{
    return s.c_str();
}
} // namespace

namespace KFramework::KStringHelper
{
std::string EncodeURL(const std::string& s)
{
    std::string result;
    kUrl.append_to(result, up_to_nul(s)); // KEPT[encoders-end-at-nul]
    return result;
}

std::string DecodeURL(const std::string& s)
{
    const std::string_view text = up_to_nul(s);
    std::string result(text.size(), '\0');
    std::size_t written = 0;
    for (std::size_t read = 0; read < text.size(); ++read)
    {
        char c = text[read]; // KEPT[plus-in-forms-only]: "+" is an ordinary byte here
        if (c == '%' && text.size() - read > 2)
        {
            c = static_cast<char>(digit(text[read + 1]) * 16 + digit(text[read + 2]));
            if (c == '\0')
                break; // KEPT[encoders-end-at-nul]: the result is a C string too
            read += 2;
        }
        result[written++] = c;
    }
    result.resize(written);
    return result;
}

std::string DecodeGetURL(const std::string& s)
{
    return DecodeURL(Replace(s, "+", " ", true));
}
} // namespace KFramework::KStringHelper
