/// Answers one request a line with one line; texts are hexadecimal on both sides.
///
///     encode KEY VALUE KEY VALUE ...    the bundle
///     decode BUNDLE                     keys and values, each followed by a blank
///     vector LIST DELIMITERS            the numbers, printed
///     set LIST DELIMITERS               the same in order and once each
///     vector_ranges LIST                the ranges of a list with commas
///     set_ranges LIST                   the same of the set
///     pad DIGITS WIDTH                  WIDTH in decimal, as hexadecimal like all else

#include "KFramework/string.h"

#include <cstdio>
#include <functional>
#include <iostream>
#include <sstream>

namespace text = KFramework::KStringHelper;
using words = std::vector<std::string>;

namespace
{
/// "-" stands for the empty text.
std::string from_hex(const std::string& digits)
{
    std::string bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
        bytes += static_cast<char>(std::stoi(digits.substr(i, 2), nullptr, 16));
    return bytes;
}

std::string to_hex(const std::string& bytes)
{
    std::string digits;
    for (const char c : bytes)
    {
        char two[3];
        std::snprintf(two, sizeof two, "%02x", static_cast<unsigned>(static_cast<unsigned char>(c)));
        digits += two;
    }
    return digits.empty() ? "-" : digits;
}

std::string encode(const words& arguments)
{
    std::map<std::string, std::string> masks;
    for (std::size_t i = 0; i + 1 < arguments.size(); i += 2)
        masks[arguments[i]] = arguments[i + 1];
    return to_hex(text::EncodeFramesMasks(masks));
}

std::string decode(const words& arguments)
{
    std::string answer;
    for (const auto& [key, value] : text::DecodeFramesMask(arguments.at(0)))
        answer += to_hex(key) + " " + to_hex(value) + " ";
    return answer;
}

std::string vector_of(const words& arguments)
{
    const auto numbers = text::TokenizeStringToIntVector(arguments.at(0), arguments.at(1));
    return to_hex(text::IntVectorToPrintable(&numbers));
}

std::string set_of(const words& arguments)
{
    const auto numbers = text::TokenizeStringToLongSet(arguments.at(0), arguments.at(1));
    return to_hex(text::LongSetToPrintables(&numbers));
}

std::string vector_ranges(const words& arguments)
{
    const auto numbers = text::TokenizeStringToLongVector(arguments.at(0), ",");
    return to_hex(text::LongVectorToPrintableRanges(&numbers));
}

std::string set_ranges(const words& arguments)
{
    const auto numbers = text::TokenizeStringToIntSet(arguments.at(0), ",");
    return to_hex(text::IntSetToPrintableRanges(&numbers));
}

std::string pad(const words& arguments)
{
    return to_hex(text::AddNumericPadding(arguments.at(0), std::stoi(arguments.at(1))));
}
} // namespace

int main()
{
    const std::map<std::string, std::function<std::string(const words&)>> answers = {
        {"encode", encode},
        {"decode", decode},
        {"vector", vector_of},
        {"set", set_of},
        {"vector_ranges", vector_ranges},
        {"set_ranges", set_ranges},
        {"pad", pad},
    };
    std::string line;
    while (std::getline(std::cin, line))
    {
        std::istringstream request(line);
        std::string name;
        request >> name;
        words arguments;
        for (std::string digits; request >> digits;)
            arguments.push_back(from_hex(digits));
        std::cout << answers.at(name)(arguments) << "\n";
    }
    return 0;
}
