#include "arguments.h"

#include "table.h"

#include <algorithm>

namespace host_report
{
namespace
{
constexpr int kMostRounds = 1'000'000;

/// A whole number from 1 to kMostRounds, or 0 for anything else.
int rounds_from(const std::string& word)
{
    const bool digits = std::all_of(word.begin(), word.end(), [](char c) { return c >= '0' && c <= '9'; });
    if (!digits || word.empty() || word.size() > 7)
        return 0;
    const int rounds = std::stoi(word);
    return rounds <= kMostRounds ? rounds : 0;
}
} // namespace

const char* const kUsage =
    "usage: host_report [--watch [--count N]]\n"
    "\n"
    "Prints what the library knows of this host: processors, graphics, addresses, who is logged on, and how "
    "busy\n"
    "memory, network interfaces, disks and processors are. \"unknown\" and \"-\" stand for what it cannot "
    "tell.\n"
    "\n"
    "  --watch    again every two seconds, with bars, until Ctrl-C\n"
    "  --count N  ends after N times (1 to 1000000)\n"
    "  --help     this text\n"
    "\n"
    "Ends with 0, with 1 when nothing could be printed, or with 2 when the request was not understood.\n";

std::string read_arguments(const std::vector<std::string>& words, request& wanted)
{
    bool counted = false;
    for (std::size_t i = 0; i < words.size(); ++i)
    {
        if (words[i] == "--help")
            wanted.help = true;
        else if (words[i] == "--watch")
            wanted.watch = true;
        else if (words[i] == "--count")
        {
            const std::string number = ++i < words.size() ? words[i] : "";
            wanted.rounds = rounds_from(number);
            if (wanted.rounds == 0)
                return "--count wants a number from 1 to " + std::to_string(kMostRounds) + ", not '" +
                       one_line(number) + "'";
            counted = true;
        }
        else
            return "'" + one_line(words[i]) + "' means nothing here; --help tells what does";
    }
    if (counted && !wanted.watch && !wanted.help)
        return "--count goes with --watch";
    if (wanted.watch && !counted)
        wanted.rounds = 0;
    return "";
}
} // namespace host_report
