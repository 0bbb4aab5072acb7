/// SplitCommandLines against the rules said with searches instead of a walk. Input: the command line.

#include "fuzz/target.h"

#include <algorithm>
#include <optional>
#include <string>

#include "KFramework/string.h"

using KFramework::KStringHelper::SplitCommandLines;

namespace
{

struct parts
{
    std::string executable;
    /// None when nothing follows the executable.
    std::optional<std::string> arguments;
};

std::optional<parts> split_literally(const std::string& line)
{
    const std::size_t space = std::min(line.find(' '), line.size());
    const std::size_t quote = line.find('"');
    std::size_t begin = 0;
    std::size_t end = space;
    std::size_t rest = space + 1;
    if (quote < space)
    {
        // The word loses its first byte, be it the quote or not, and goes on to the next quote.
        begin = 1;
        end = std::min(line.find('"', quote + 1), line.size());
        rest = end + 2;
    }
    if (end == 0)
        return std::nullopt;
    parts found{line.substr(begin, end - begin), std::nullopt};
    if (rest < line.size())
        found.arguments = line.substr(rest);
    return found;
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const std::string line(reinterpret_cast<const char*>(data), size);
    const std::optional<parts> expected = split_literally(line);

    std::string executable = "kept";
    std::string arguments = "kept";
    const bool split = SplitCommandLines(line, executable, arguments);
    kf::fuzz::require(split == expected.has_value(), "a line without a word, and only that, fails");
    kf::fuzz::require(executable == (split ? expected->executable : "kept"),
                      "the executable is the first word");
    kf::fuzz::require(arguments == (split ? expected->arguments.value_or("kept") : "kept"),
                      "the arguments are the rest, untouched when there is none");

    std::string in_place = line;
    kf::fuzz::require(SplitCommandLines(in_place, in_place, arguments) == split, "in place it is the same");
    kf::fuzz::require(in_place == (split ? expected->executable : line),
                      "executable and line may be one text");
    return 0;
}
