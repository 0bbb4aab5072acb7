#include <charconv>
#include <limits>
#include <list>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "KFramework/string.h"

namespace
{
/// Comma, two 64-bit numbers with their signs, and the hyphen between them.
constexpr std::size_t kLongestItem = 1 + 20 + 1 + 20;

/// Items with commas between them, written straight into a buffer that grows by doubling.
class item_text
{
public:
    /// One number, or a run of them.
    template <class Number>
    void add(Number first, Number last)
    {
        if (text_.size() - used_ < kLongestItem)
            text_.resize(2 * text_.size() + kLongestItem);
        if (used_ > 0)
            text_[used_++] = ',';
        write(first);
        if (first == last)
            return;
        text_[used_++] = '-';
        write(last);
    }

    std::string take()
    {
        text_.resize(used_);
        return std::move(text_);
    }

private:
    template <class Number>
    void write(Number value)
    {
        const auto end = std::to_chars(text_.data() + used_, text_.data() + text_.size(), value).ptr;
        used_ = static_cast<std::size_t>(end - text_.data());
    }

    std::string text_;
    std::size_t used_ = 0;
};

template <class Numbers>
std::string printable(const Numbers& numbers)
{
    item_text items;
    for (const auto number : numbers)
        items.add(number, number);
    return items.take();
}

/// Whether a value is the run's end plus 1; the largest number has no successor.
template <class Number>
bool continues(Number end, Number value)
{
    return end != std::numeric_limits<Number>::max() && value == end + 1;
}

/// KEPT[ranges-in-order]: in the order in which the numbers come.
template <class Numbers>
std::string printable_ranges(const Numbers& numbers)
{
    item_text items;
    auto at = numbers.begin();
    while (at != numbers.end())
    {
        const auto first = *at;
        auto last = first;
        while (++at != numbers.end() && continues(last, *at))
            last = *at;
        items.add(first, last);
    }
    return items.take();
}

/// The elements that `takes` accepts, with commas between them.
template <class Texts, class Takes>
std::string joined(const Texts& texts, Takes takes)
{
    std::size_t length = 0;
    for (const std::string& text : texts)
        length += text.size() + 1;

    std::string result;
    result.reserve(length);
    bool first = true;
    for (const std::string& text : texts)
    {
        if (!takes(text))
            continue;
        if (!first)
            result += ',';
        first = false;
        result += text;
    }
    return result;
}

bool not_empty(const std::string& text)
{
    return !text.empty();
}
} // namespace

namespace KFramework::KStringHelper
{
std::string IntVectorToPrintable(const std::vector<int>* numbers)
{
    return printable(*numbers);
}

std::string LongVectorToPrintable(const std::vector<long>* numbers)
{
    return printable(*numbers);
}

std::string IntSetToPrintable(const std::set<int>* numbers)
{
    return printable(*numbers);
}

// KEPT[printables-plural]: hosts link this very name.
std::string LongSetToPrintables(const std::set<long>* numbers)
{
    return printable(*numbers);
}

std::string IntVectorToPrintableRanges(const std::vector<int>* numbers)
{
    return printable_ranges(*numbers);
}

std::string LongVectorToPrintableRanges(const std::vector<long>* numbers)
{
    return printable_ranges(*numbers);
}

std::string IntSetToPrintableRanges(const std::set<int>* numbers)
{
    return printable_ranges(*numbers);
}

std::string LongSetToPrintableRanges(const std::set<long>* numbers)
{
    return printable_ranges(*numbers);
}

std::string StringSetToPrintable(const std::set<std::string>* texts)
{
    // KEPT[set-keeps-empties]: the two below leave them out.
    return joined(*texts, [](const std::string&) { return true; });
}

std::string StringVectorToPrintable(const std::vector<std::string>* texts)
{
    return joined(*texts, not_empty);
}

std::string StringListToPrintable(const std::list<std::string>* texts)
{
    return joined(*texts, not_empty);
}
} // namespace KFramework::KStringHelper
