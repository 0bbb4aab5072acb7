#include <cstdlib>
#include <set>
#include <string>
#include <vector>

#include "KFramework/string.h"
#include "KFramework/string/delimiters.h"

namespace
{
/// Calls take(piece) for every piece that is not empty, each as a terminated text of its own: a converter may
/// not read on into a delimiter that is a digit, a sign or a blank.
template <class Take>
void for_each_piece(std::string text, const std::string& delimiters, Take take)
{
    const auto piece = [&](std::size_t start, std::size_t end)
    {
        if (start == end)
            return;
        text[end] = '\0';
        take(text.c_str() + start);
    };
    const std::size_t last = kf::string::cut_at_delimiters(text, delimiters, piece);
    piece(last, text.size());
}

/// KEPT[numbers-without-ranges]: what the C library makes of a piece, so "1-10" is 1 and "x" is 0.
template <class Number, class Convert>
std::vector<Number> number_vector(const std::string& text, const std::string& delimiters, Convert convert)
{
    std::vector<Number> numbers;
    for_each_piece(text, delimiters, [&](const char* piece) { numbers.push_back(convert(piece)); });
    return numbers;
}

template <class Number, class Convert>
std::set<Number> number_set(const std::string& text, const std::string& delimiters, Convert convert)
{
    std::set<Number> numbers;
    // The hint makes an ascending list linear.
    for_each_piece(text, delimiters,
                   [&](const char* piece) { numbers.insert(numbers.end(), convert(piece)); });
    return numbers;
}
} // namespace

namespace KFramework::KStringHelper
{
std::vector<int> TokenizeStringToIntVector(const std::string& text, const std::string& delimiters)
{
    return number_vector<int>(text, delimiters, ::atoi);
}

std::vector<long> TokenizeStringToLongVector(const std::string& text, const std::string& delimiters)
{
    return number_vector<long>(text, delimiters, ::atol);
}

std::set<int> TokenizeStringToIntSet(const std::string& text, const std::string& delimiters)
{
    return number_set<int>(text, delimiters, ::atoi);
}

std::set<long> TokenizeStringToLongSet(const std::string& text, const std::string& delimiters)
{
    return number_set<long>(text, delimiters, ::atol);
}
} // namespace KFramework::KStringHelper
