#include "report.h"

#include "amounts.h"
#include "bars.h"
#include "table.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace host_report
{
namespace
{
constexpr int kBarCells = 20; // the memory's lines fit into 80 columns
constexpr const char* kUnknown = "unknown";
constexpr const char* kNoneKnown = "none known";

std::string known_text(std::string text)
{
    text.erase(text.find_last_not_of(' ') + 1); // a platform's name ends in a blank
    return text.empty() || text == "Unknown" || text == "Undefined" ? kUnknown : text;
}

std::string known_count(int count)
{
    return count > 0 ? std::to_string(count) : kUnknown;
}

std::string speed(float gigahertz)
{
    std::array<char, 64> text = {};
    std::snprintf(text.data(), text.size(), "%.1f GHz", static_cast<double>(gigahertz));
    return gigahertz > 0 ? text.data() : kUnknown;
}

std::string people(const std::optional<logons>& on)
{
    if (!on)
        return kUnknown;
    return std::to_string(on->console) + " at the console, " + std::to_string(on->remote) + " remote";
}

///   00a1b2c3d4e5  =>  00:a1:b2:c3:d4:e5
std::string colons(const std::string& digits)
{
    std::string text;
    for (std::size_t i = 0; i < digits.size(); i += 2)
        text += (i == 0 ? "" : ":") + digits.substr(i, 2);
    return text;
}

/// One for each adapter; an adapter without an address has only zeros.
std::vector<std::string> addresses(const std::string& joined)
{
    std::vector<std::string> all;
    for (std::size_t begin = 0; begin < joined.size();)
    {
        const std::size_t end = std::min(joined.find('|', begin), joined.size());
        const std::string digits = joined.substr(begin, end - begin);
        all.push_back(digits.find_first_not_of('0') == std::string::npos ? kNoFigure : colons(digits));
        begin = end + 1;
    }
    return all;
}

/// The label stands before the first text only.
void add_list(table& to, std::string label, const std::vector<std::string>& texts)
{
    for (const std::string& text : texts.empty() ? std::vector<std::string>{""} : texts)
    {
        to.add({label, known_text(text)});
        label.clear();
    }
}

std::string facts_text(const host_facts& host, const std::optional<logons>& on)
{
    table facts({{""}, {""}});
    facts.add({"Host", known_text(host.name)});
    facts.add({"Platform", known_text(host.platform)});
    facts.add({"Processor", known_text(host.processor)});
    facts.add({"Speed", speed(host.gigahertz)});
    facts.add({"Packages", known_count(host.packages)});
    facts.add({"Cores per package", known_count(host.cores_per_package)});
    facts.add({"Threads", known_count(host.threads)});
    add_list(facts, "Graphics", host.graphics);
    add_list(facts, "Network addresses", addresses(host.addresses));
    facts.add({"Logged on", people(on)});
    return facts.text();
}

/// The columns of a table of loads; with bars one more.
table load_table(std::vector<column> columns, bool bars)
{
    if (bars)
        columns.push_back({""});
    return table(std::move(columns));
}

std::string bar_of(double load)
{
    return bar(load, kBarCells);
}

std::string memory_text(const load_figures& now, bool bars)
{
    table all = load_table(
        {{"Memory"}, {"In use", align::right}, {"Of", align::right}, {"Load", align::right}}, bars);
    const auto add = [&all](const char* name, const memory_figures& one)
    {
        const double load = share(one.usage, one.amount);
        if (one.amount == 0)
            all.add({name, kNoFigure, kNoFigure, kNoFigure});
        else
            all.add({name, bytes(one.usage), bytes(one.amount), percent(load), bar_of(load)});
    };
    add("RAM", now.memory);
    add("Swap (own address space)", now.swap);
    return all.text();
}

std::string interfaces_text(const load_figures& now, bool known, bool bars)
{
    table all = load_table({{"Network interface"},
                            {"Sent/s", align::right},
                            {"Received/s", align::right},
                            {"Load", align::right}},
                           bars);
    for (const interface_figures& one : now.interfaces)
    {
        const bool traffic = one.sent > 0 || one.received > 0;
        const double load = 100 * one.usage;
        if (!known)
            all.add({one.name, kNoFigure, kNoFigure, kNoFigure});
        else if (traffic && load == 0.0) // of a bandwidth that the system does not know
            all.add({one.name, bytes(one.sent), bytes(one.received), kNoFigure});
        else
            all.add({one.name, bytes(one.sent), bytes(one.received), percent(load), bar_of(load)});
    }
    if (now.interfaces.empty())
        all.add({kNoneKnown});
    return all.text();
}

std::string disks_text(const load_figures& now, bool known, bool bars)
{
    table all = load_table(
        {{"Disk"}, {"Reading", align::right}, {"Writing", align::right}, {"Load", align::right}}, bars);
    for (const disk_figures& one : now.disks)
    {
        if (known)
            all.add(
                {one.name, percent(one.reading), percent(one.writing), percent(one.busy), bar_of(one.busy)});
        else
            all.add({one.name, kNoFigure, kNoFigure, kNoFigure});
    }
    if (now.disks.empty())
        all.add({kNoneKnown});
    return all.text();
}

std::string processors_text(const load_figures& now, bool known, bool bars)
{
    table all = load_table({{"Core", align::right}, {"Load", align::right}}, bars);
    for (std::size_t i = 0; i < now.processors.size(); ++i)
    {
        if (known)
            all.add({std::to_string(i), percent(now.processors[i]), bar_of(now.processors[i])});
        else
            all.add({std::to_string(i), kNoFigure});
    }
    return all.text();
}
} // namespace

void counters::learn(const load_figures& now)
{
    const auto busy = [](double load) { return load > 0.0; };
    processors_ = processors_ || std::any_of(now.processors.begin(), now.processors.end(), busy);
    devices_ = devices_ || processors_ ||
               std::any_of(now.interfaces.begin(), now.interfaces.end(),
                           [](const interface_figures& one) { return one.sent > 0 || one.received > 0; }) ||
               std::any_of(now.disks.begin(), now.disks.end(),
                           [&](const disk_figures& one)
                           { return busy(one.busy) || busy(one.reading) || busy(one.writing); });
}

std::string report(const host_facts& host, const load_figures& now, const counters& known, bool bars)
{
    return facts_text(host, now.people) + "\n" + memory_text(now, bars) + "\n" +
           interfaces_text(now, known.tell_of_devices(), bars) + "\n" +
           disks_text(now, known.tell_of_devices(), bars) + "\n" +
           processors_text(now, known.tell_of_processors(), bars);
}
} // namespace host_report
