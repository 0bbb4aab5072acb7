/// Reading a configuration file beside SimpleIni and inih, and merging changed settings into a text in memory beside
/// Boost.PropertyTree, which reads the text, takes the settings and writes it, without comments and order of the user.

#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <string>

#include <INIReader.h>
#define SI_NO_CONVERSION // its ConvertUTF.h is not packaged; it is used with bytes only
#include <SimpleIni.h>
#include <benchmark/benchmark.h>
#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>
#include <unistd.h>

#include "KFramework/config/file_text.h"
#include "KFramework/config/merge.h"
#include "KFramework/config/reader.h"

namespace
{

using entries = std::map<std::string, std::string>;
constexpr int kKeysOfASection = 100;

std::string section_of(int key)
{
    return "section" + std::to_string(1000 + key / kKeysOfASection);
}

std::string key_of(int key)
{
    return "key" + std::to_string(100'000 + key);
}

entries settings(int count, const std::string& value)
{
    entries all;
    for (int key = 0; key < count; ++key)
        all[section_of(key) + "#" + key_of(key)] = value + std::to_string(key);
    return all;
}

std::string text_of(const entries& all)
{
    std::string text;
    kf::config::replace_keys(text, all);
    return text;
}

/// A file with so many keys, gone at the end of the measurement.
class settings_file
{
public:
    explicit settings_file(benchmark::State& state)
        : path_(std::filesystem::temp_directory_path() / ("kf-bench-" + std::to_string(::getpid()) + ".conf"))
    {
        std::ofstream(path_) << text_of(settings(static_cast<int>(state.range(0)), "the value of "));
    }
    ~settings_file() { std::filesystem::remove(path_); }
    settings_file(const settings_file&) = delete;
    settings_file& operator=(const settings_file&) = delete;

    [[nodiscard]] const char* path() const { return path_.c_str(); }

private:
    std::filesystem::path path_;
};

void check(benchmark::State& state, std::size_t keys)
{
    if (keys != static_cast<std::size_t>(state.range(0)))
        state.SkipWithError("not all keys are there");
}

void load_ours(benchmark::State& state)
{
    const settings_file file(state);
    entries all;
    for ([[maybe_unused]] auto step : state)
    {
        all.clear();
        std::FILE* const opened = std::fopen(file.path(), "r");
        kf::config::reader reader(all);
        std::array<char, kf::config::kReadBytes> buffer;
        while (const std::size_t read = std::fread(buffer.data(), 1, buffer.size(), opened))
            benchmark::DoNotOptimize(reader.take(std::string_view(buffer.data(), read)));
        std::fclose(opened);
    }
    check(state, all.size());
}

void load_simpleini(benchmark::State& state)
{
    const settings_file file(state);
    std::size_t keys = 0;
    for ([[maybe_unused]] auto step : state)
    {
        CSimpleIniA peer;
        benchmark::DoNotOptimize(peer.LoadFile(file.path()));
        state.PauseTiming();
        CSimpleIniA::TNamesDepend sections;
        peer.GetAllSections(sections);
        keys = 0;
        for (const auto& section : sections)
            keys += static_cast<std::size_t>(peer.GetSectionSize(section.pItem));
        state.ResumeTiming();
    }
    check(state, keys);
}

void load_inih(benchmark::State& state)
{
    const settings_file file(state);
    for ([[maybe_unused]] auto step : state)
    {
        const INIReader peer(file.path());
        benchmark::DoNotOptimize(peer.ParseError());
    }
}

void save_ours(benchmark::State& state)
{
    const int count = static_cast<int>(state.range(0));
    std::string before = text_of(settings(count, "the value of "));
    kf::config::add_header_and_footer(before, std::tm{});
    const entries changed = settings(count, "another value of ");
    for ([[maybe_unused]] auto step : state)
    {
        std::string text = before;
        kf::config::remove_header_and_footer(text);
        kf::config::replace_keys(text, changed);
        kf::config::add_header_and_footer(text, std::tm{});
        benchmark::DoNotOptimize(text);
    }
}

void save_ptree(benchmark::State& state)
{
    namespace tree = boost::property_tree;
    const int count = static_cast<int>(state.range(0));
    const std::string before = text_of(settings(count, "the value of "));
    const entries changed = settings(count, "another value of ");
    for ([[maybe_unused]] auto step : state)
    {
        tree::ptree peer;
        std::istringstream from(before);
        tree::read_ini(from, peer);
        for (const auto& [name, value] : changed)
            peer.put(tree::ptree::path_type(name, '#'), value);
        std::ostringstream to;
        tree::write_ini(to, peer);
        benchmark::DoNotOptimize(to.str());
    }
}

/// Only the writing, of a tree that is there already.
void save_ptree_write(benchmark::State& state)
{
    namespace tree = boost::property_tree;
    tree::ptree peer;
    for (const auto& [name, value] : settings(static_cast<int>(state.range(0)), "another value of "))
        peer.put(tree::ptree::path_type(name, '#'), value);
    for ([[maybe_unused]] auto step : state)
    {
        std::ostringstream to;
        tree::write_ini(to, peer);
        benchmark::DoNotOptimize(to.str());
    }
}

BENCHMARK(load_ours)->Name("config_load_1K/ours")->Arg(1000)->UseRealTime();
BENCHMARK(load_simpleini)->Name("config_load_1K/simpleini")->Arg(1000)->UseRealTime();
BENCHMARK(load_inih)->Name("config_load_1K/inih")->Arg(1000)->UseRealTime();
BENCHMARK(load_ours)->Name("config_load_10K/ours")->Arg(10'000)->UseRealTime();
BENCHMARK(load_simpleini)->Name("config_load_10K/simpleini")->Arg(10'000)->UseRealTime();
BENCHMARK(load_inih)->Name("config_load_10K/inih")->Arg(10'000)->UseRealTime();
BENCHMARK(save_ours)->Name("config_save_1K/ours")->Arg(1000)->UseRealTime();
BENCHMARK(save_ptree)->Name("config_save_1K/ptree")->Arg(1000)->UseRealTime();
BENCHMARK(save_ptree_write)->Name("config_save_1K/ptree_write")->Arg(1000)->UseRealTime();
BENCHMARK(save_ours)->Name("config_save_10K/ours")->Arg(10'000)->UseRealTime();
BENCHMARK(save_ptree)->Name("config_save_10K/ptree")->Arg(10'000)->UseRealTime();
BENCHMARK(save_ptree_write)->Name("config_save_10K/ptree_write")->Arg(10'000)->UseRealTime();

} // namespace
