/// The URL decoders against the stated walk over a copy, and against what EncodeURL writes. Input: the text.

#include "fuzz/target.h"

#include <string>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;

namespace
{

unsigned digit(char c)
{
    const auto byte = static_cast<unsigned char>(c);
    return byte < 'A' ? byte - unsigned{'0'} : (byte & 0xDFu) - 55;
}

/// A copy is walked with a read and a write position; a percent sign that two bytes follow is replaced.
std::string walked(const std::string& s)
{
    std::string copy = s.c_str();
    std::size_t write = 0;
    for (std::size_t read = 0; read < copy.size(); ++read, ++write)
    {
        copy[write] = copy[read];
        if (copy[write] == '%' && write + 2 < copy.size() && read + 2 < copy.size())
        {
            copy[write] = static_cast<char>(digit(copy[read + 1]) * 16 + digit(copy[read + 2]));
            read += 2;
        }
    }
    return copy.substr(0, write).c_str();
}

bool stays(char c)
{
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '.' ||
           c == '/' || c == '-' || c == '_' || c == '+' || c == '%';
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string whole(kf::fuzz::input(data, size).rest());

    const std::string decoded = text::DecodeURL(whole);
    kf::fuzz::require(decoded == walked(whole), "DecodeURL gives what the walk gives");
    kf::fuzz::require(text::DecodeGetURL(whole) == walked(text::Replace(whole, "+", " ", true)),
                      "DecodeGetURL takes plus signs for blanks first");

    const std::string up_to_nul = whole.c_str();
    const std::string encoded = text::EncodeURL(whole);
    kf::fuzz::require(encoded.size() <= 3 * up_to_nul.size(), "a byte gives three at most");
    kf::fuzz::require(std::all_of(encoded.begin(), encoded.end(), &stays), "only bytes that URLs may hold");
    kf::fuzz::require(text::DecodeGetURL(encoded) == up_to_nul, "a round trip");
    return 0;
}
