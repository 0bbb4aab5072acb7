/// Number lists against the rules written down literally, and printed lists read back. Input: a line of delimiters,
/// the list.

#include "fuzz/target.h"

#include <climits>
#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "KFramework/string.h"

namespace text = KFramework::KStringHelper;
using ints = std::vector<int>;

namespace
{

/// A number beyond the range has no defined value, so nothing is said about such a list.
bool fits(const std::string& piece)
{
    const long long value = std::strtoll(piece.c_str(), nullptr, 10);
    return value >= INT_MIN && value <= INT_MAX;
}

/// Every piece that is not empty, by the C library; false when one does not fit.
bool read_literally(const std::string& list, const std::string& delimiters, ints& numbers)
{
    std::string left = list;
    for (;;)
    {
        const std::size_t end = left.find_first_of(delimiters);
        const std::string piece = left.substr(0, end);
        if (!fits(piece))
            return false;
        if (!piece.empty())
            numbers.push_back(std::atoi(piece.c_str()));
        if (end == std::string::npos)
            return true;
        left.erase(0, end + delimiters.size());
    }
}

/// The numbers that a text of ranges stands for.
ints expanded(const std::string& ranges)
{
    ints numbers;
    const char* at = ranges.c_str();
    while (*at != '\0')
    {
        char* behind = nullptr;
        const long long first = std::strtoll(at, &behind, 10);
        long long last = first;
        if (*behind == '-')
            last = std::strtoll(behind + 1, &behind, 10);
        kf::fuzz::require(*behind == ',' || *behind == '\0', "items have commas between them");
        for (long long number = first; number <= last; ++number)
            numbers.push_back(static_cast<int>(number));
        at = *behind == ',' ? behind + 1 : behind;
    }
    return numbers;
}

void check_printed(const ints& numbers)
{
    kf::fuzz::require(text::TokenizeStringToIntVector(text::IntVectorToPrintable(&numbers), ",") == numbers,
                      "a printed list reads back");
    const std::string ranges = text::IntVectorToPrintableRanges(&numbers);
    kf::fuzz::require(expanded(ranges) == numbers, "ranges stand for the numbers they were made of");
    const std::vector<long> longs(numbers.begin(), numbers.end());
    kf::fuzz::require(text::LongVectorToPrintableRanges(&longs) == ranges,
                      "ranges do not depend on the type");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    kf::fuzz::input input(data, size);
    const std::string delimiters(input.line());
    const std::string list(input.rest());
    const ints read = text::TokenizeStringToIntVector(list, delimiters);
    const std::set<int> set = text::TokenizeStringToIntSet(list, delimiters);
    const std::vector<long> longs = text::TokenizeStringToLongVector(list, delimiters);
    const std::set<long> long_set = text::TokenizeStringToLongSet(list, delimiters);
    kf::fuzz::require(set == std::set<int>(read.begin(), read.end()), "the set holds the vector's numbers");
    kf::fuzz::require(long_set == std::set<long>(longs.begin(), longs.end()),
                      "the set of long holds the vector's numbers");
    check_printed(read);

    ints expected;
    if (!read_literally(list, delimiters, expected))
        return 0;
    kf::fuzz::require(read == expected, "the list reads as the literal rules say");
    kf::fuzz::require(longs == std::vector<long>(expected.begin(), expected.end()),
                      "both types read the same numbers");
    return 0;
}
