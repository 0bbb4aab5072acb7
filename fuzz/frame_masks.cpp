/// Mask bundles: decoding any text gives what its lines say, and what was decoded comes back from a new bundle.
/// Input: a byte, '=' to take the rest for the bundle itself and anything else to encode it first; the rest.

#include "fuzz/target.h"

#include <map>
#include <string>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;
using masks = std::map<std::string, std::string>;

namespace
{

/// Takes one line off the front; false when nothing is left.
bool next_line(std::string& lines, std::string& line)
{
    if (lines.empty())
        return false;
    const std::size_t end = lines.find('\n');
    line = lines.substr(0, end);
    lines.erase(0, end == std::string::npos ? end : end + 1);
    return true;
}

/// Lines are keys and values by turns; the first value of a key stays.
masks decoded_literally(std::string lines)
{
    masks decoded;
    std::string key;
    std::string value;
    while (next_line(lines, key) && next_line(lines, value))
        if (decoded.count(key) == 0)
            decoded[key] = value;
    return decoded;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const bool is_bundle = input.byte() == '=';
    const std::string rest(input.rest());
    const std::string bundle = is_bundle ? rest : text::ToBase64(rest);

    const masks decoded = text::DecodeFramesMask(bundle);
    if (!is_bundle)
        kf::fuzz::require(decoded == decoded_literally(rest.substr(0, rest.find('\0'))),
                          "lines up to the first NUL are keys and values by turns");
    std::size_t bytes = 0;
    for (const auto& [key, value] : decoded)
        bytes += key.size() + value.size();
    kf::fuzz::require(bytes <= bundle.size(), "nothing is longer than its bundle");
    kf::fuzz::require(text::DecodeFramesMask(text::EncodeFramesMasks(decoded)) == decoded,
                      "what was decoded comes back from a bundle of its own");
    return 0;
}
