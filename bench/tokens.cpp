/// TokenizeString beside boost::split, which cuts the same way when the set has one byte.

#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>

#include "KFramework/string.h"

namespace
{

/// Words of five bytes with a comma behind each but the last.
std::string list_of_words(benchmark::State& state)
{
    std::string text;
    while (text.size() < static_cast<std::size_t>(state.range(0)))
        text += "word1,";
    text.pop_back();
    return text;
}

void ours(benchmark::State& state)
{
    const std::string text = list_of_words(state);
    const std::string comma = ",";
    for ([[maybe_unused]] auto step : state)
        benchmark::DoNotOptimize(KFramework::KStringHelper::TokenizeString(text, comma));
}

void boost_split(benchmark::State& state)
{
    const std::string text = list_of_words(state);
    for ([[maybe_unused]] auto step : state)
    {
        std::vector<std::string> words;
        boost::algorithm::split(words, text, boost::algorithm::is_any_of(","));
        benchmark::DoNotOptimize(words);
    }
}

BENCHMARK(ours)->Name("tokenize_80B/ours")->Arg(80)->UseRealTime();
BENCHMARK(boost_split)->Name("tokenize_80B/boost")->Arg(80)->UseRealTime();
BENCHMARK(ours)->Name("tokenize_4K/ours")->Arg(4096)->UseRealTime();
BENCHMARK(boost_split)->Name("tokenize_4K/boost")->Arg(4096)->UseRealTime();

} // namespace
