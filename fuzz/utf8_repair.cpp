/// fixUtf8String: the result is valid, what was valid stays, and every broken sequence is one U+FFFD. Input: the text.

#include "fuzz/target.h"

#include <optional>
#include <string>

#include "KFramework/string.h"

using KFramework::KStringHelper::fixUtf8String;

namespace
{

constexpr char kReplacement[] = "\xEF\xBF\xBD";

bool is_trail(const std::string& text, std::size_t at)
{
    return at < text.size() && (static_cast<unsigned char>(text[at]) & 0xC0) == 0x80;
}

/// The bytes a sequence that begins like this has; 0 when nothing begins like this.
std::size_t announced(unsigned char lead)
{
    if (lead < 0x80)
        return 1;
    if (lead < 0xC0 || lead > 0xF7)
        return 0;
    return lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
}

/// The length of the valid sequence at a position, if there is one.
std::optional<std::size_t> valid_sequence(const std::string& text, std::size_t at)
{
    const auto lead = static_cast<unsigned char>(text[at]);
    const std::size_t length = announced(lead);
    if (length <= 1)
        return length == 1 ? std::optional<std::size_t>(1) : std::nullopt;
    std::uint32_t code = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i)
    {
        if (!is_trail(text, at + i))
            return std::nullopt;
        code = code << 6 | (static_cast<unsigned char>(text[at + i]) & 0x3Fu);
    }
    const std::uint32_t least = length == 2 ? 0x80 : length == 3 ? 0x800 : 0x10000;
    if (code < least || code > 0x10FFFF || (code >= 0xD800 && code <= 0xDFFF))
        return std::nullopt;
    return length;
}

/// A byte that begins nothing is broken by itself; a broken beginning takes the trailing bytes behind it along.
std::string fixed_literally(const std::string& text)
{
    std::string fixed;
    for (std::size_t at = 0; at < text.size();)
    {
        if (const auto length = valid_sequence(text, at))
        {
            fixed.append(text, at, *length);
            at += *length;
            continue;
        }
        fixed += kReplacement;
        const bool begins = announced(static_cast<unsigned char>(text[at])) > 1;
        ++at;
        while (begins && is_trail(text, at))
            ++at;
    }
    return fixed;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string fixed = fixUtf8String(text);
    kf::fuzz::require(fixed == fixed_literally(text), "every broken sequence is one replacement");
    kf::fuzz::require(fixUtf8String(fixed) == fixed, "what is valid stays as it is");
    kf::fuzz::require(fixed.size() <= 3 * text.size(), "a byte becomes three at most");
    return 0;
}
