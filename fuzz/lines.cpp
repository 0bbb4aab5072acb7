/// GetLine against a text that is split into all its lines first. Input: the number, as a byte; the text.

#include "fuzz/target.h"

#include <string>
#include <vector>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;

namespace
{

/// The lines of what stands before the first NUL; the text after the last line feed is one too.
std::vector<std::string> all_lines(const std::string& whole)
{
    std::vector<std::string> lines(1);
    for (const char c : whole.substr(0, whole.find('\0')))
    {
        if (c == '\n')
            lines.emplace_back();
        else
            lines.back() += c;
    }
    return lines;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const int number = static_cast<std::int8_t>(input.byte());
    const std::string whole(input.rest());

    const std::vector<std::string> lines = all_lines(whole);
    const bool inside = number >= 1 && static_cast<std::size_t>(number) <= lines.size();
    const std::string expected = inside ? lines[static_cast<std::size_t>(number) - 1] : std::string();
    kf::fuzz::require(text::GetLine(whole, number) == expected, "GetLine gives the line of that number");
    kf::fuzz::require(text::GetLine(whole.c_str(), number) == expected, "and so does the one for C texts");
    return 0;
}
