/// TokenizeString and its kin against the same rules written down literally. Input: a line of delimiters, the text.

#include "fuzz/target.h"

#include <string>
#include <vector>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;
using words = std::vector<std::string>;

namespace
{

/// Cuts at every byte of the set and steps over as many bytes as the set has; the last piece stays.
words cut_literally(const std::string& whole, const std::string& delimiters)
{
    words pieces;
    std::string left = whole;
    for (;;)
    {
        const std::size_t end = left.find_first_of(delimiters);
        pieces.push_back(left.substr(0, end));
        if (end == std::string::npos)
            return pieces;
        left.erase(0, end + delimiters.size());
    }
}

/// The text that tokens and the separators between them stand for.
std::string joined(const words& tokens, char separator)
{
    std::string whole;
    for (std::size_t i = 0; i < tokens.size(); ++i)
        whole.append(i == 0 ? 0 : 1, separator).append(tokens[i]);
    return whole;
}

void check_sets(const std::string& whole, const std::string& delimiters)
{
    words expected = cut_literally(whole, delimiters);
    const words all = text::TokenizeStringNoStripe(whole, delimiters);
    kf::fuzz::require(all == expected, "TokenizeStringNoStripe cuts as the literal rules do");
    if (delimiters.size() == 1)
        kf::fuzz::require(joined(all, delimiters.front()) == whole,
                          "tokens and delimiters give the text again");

    if (expected.back().empty())
        expected.pop_back();
    const words stripped = text::TokenizeString(whole, delimiters);
    kf::fuzz::require(stripped == expected, "TokenizeString drops an empty token at the very end only");
    kf::fuzz::require(stripped.capacity() >= 100, "TokenizeString reserves for 100 tokens");
}

void check_escapes(const std::string& whole, char separator)
{
    const words tokens = text::TokenizeStringWithEscape(whole, separator);
    kf::fuzz::require(!tokens.empty(), "TokenizeStringWithEscape gives at least one token");
    const std::string again = joined(tokens, separator);
    kf::fuzz::require(whole.starts_with(again), "tokens and separators are the beginning of the text");
    if (whole.empty() || whole.back() != separator)
        kf::fuzz::require(again == whole, "nothing is dropped unless the text ends in the separator");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::string delimiters(input.line());
    const std::string whole(input.rest());
    check_sets(whole, delimiters);
    check_escapes(whole, delimiters.empty() ? ',' : delimiters.front());
    return 0;
}
