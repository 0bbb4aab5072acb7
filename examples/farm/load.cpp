#include "load.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>
#include <numeric>
#include <vector>

namespace farm
{
namespace
{
/// Room for the reports of some 2,000 processors.
constexpr std::size_t kLongestLoad = 16'000;
/// A pebibyte: who has more is no worker of ours.
constexpr std::uint64_t kMostMemory = 1ULL << 50;
constexpr std::size_t kMemoryFigures = 5;

/// The numbers of a report, one blank behind each but perhaps the last; none when there is anything else.
template <class Number>
std::optional<std::vector<Number>> numbers_in(std::string_view report)
{
    std::vector<Number> numbers;
    while (!report.empty())
    {
        Number value{};
        const char* const end = report.data() + report.size();
        const auto [stopped, error] = std::from_chars(report.data(), end, value);
        if (error != std::errc() || (stopped != end && *stopped != ' '))
            return std::nullopt;
        numbers.push_back(value);
        report.remove_prefix(std::min(report.size(), static_cast<std::size_t>(stopped - report.data()) + 1));
    }
    return numbers;
}

/// The mean of what the processors do; behind them stands the renderer's figure, which may run over.
std::optional<int> mean_processor(std::string_view report)
{
    const auto figures = numbers_in<double>(report);
    const auto possible = [](double percent)
    { return percent >= 0 && percent <= 100; }; // no number is neither
    if (!figures || figures->size() < 2 || !std::all_of(figures->begin(), figures->end() - 1, possible))
        return std::nullopt;
    const double sum = std::accumulate(figures->begin(), figures->end() - 1, 0.0);
    return static_cast<int>(sum / static_cast<double>(figures->size() - 1) + 0.5);
}

std::string gibibytes(std::uint64_t bytes)
{
    std::array<char, 32> text = {};
    std::snprintf(text.data(), text.size(), "%.1f", static_cast<double>(bytes) / (1ULL << 30));
    return text.data();
}
} // namespace

std::string load_text(const std::string& processors, const std::string& memory)
{
    return processors + "\n" + memory;
}

std::optional<load> parse_load(std::string_view text)
{
    const auto middle = text.find('\n');
    if (text.size() > kLongestLoad || middle == std::string_view::npos)
        return std::nullopt;
    const auto processor = mean_processor(text.substr(0, middle));
    const auto memory = numbers_in<std::uint64_t>(text.substr(middle + 1));
    if (!processor || !memory || memory->size() != kMemoryFigures)
        return std::nullopt;
    const std::uint64_t amount = (*memory)[0];
    const std::uint64_t used = (*memory)[1];
    if (amount == 0 || amount > kMostMemory || used > amount)
        return std::nullopt;
    return load{*processor, used, amount};
}

std::string processor_cell(const std::optional<load>& known)
{
    return known ? std::to_string(known->processor) + "%" : "-";
}

std::string memory_cell(const std::optional<load>& known)
{
    return known ? gibibytes(known->memory_used) + "/" + gibibytes(known->memory) + " GiB" : "-";
}
} // namespace farm
