/// Replace, whose search never goes back, against one that tries every position. Input: what to look for and what to
/// put there, a line each; the text.

#include "fuzz/target.h"

#include <string>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;

namespace
{

std::string replaced_literally(const std::string& source, std::string what, const std::string& with,
                               bool case_counts)
{
    if (!case_counts)
        what = text::ToLower(what);
    std::string result;
    for (std::size_t at = 0; at < source.size();)
    {
        const std::string here = source.substr(at, what.size());
        if (!what.empty() && (case_counts ? here : text::ToLower(here)) == what)
        {
            result += with;
            at += what.size();
        }
        else
            result += source[at++];
    }
    return result;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::string what(input.line());
    const std::string with(input.line());
    const std::string source(input.rest());
    for (const bool case_counts : {false, true})
        kf::fuzz::require(text::Replace(source, what, with, case_counts) ==
                              replaced_literally(source, what, with, case_counts),
                          "every occurrence is replaced, from the left, once");
    return 0;
}
