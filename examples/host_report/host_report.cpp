/// Prints what the library knows of this host as tables, once or, with bars, every two seconds.
///
///     host_report [--watch [--count N]]
///
/// Ends with 0, with 1 when nothing could be printed, or with 2 when the request was not understood.

#include "host_win.h" // before <windows.h>

#include "arguments.h"
#include "console_win.h"

#include <KFramework/string.h>

#include <windows.h>

#include <string>
#include <vector>

namespace
{
using namespace host_report;

constexpr unsigned long kPeriod = 2000; // milliseconds, which is how often the monitor has new figures
constexpr unsigned long kGlance = 50;   // milliseconds
constexpr int kGlances = 40;            // the monitor's first figures take it a second and a little

/// Until the counters have answered, which on some hosts they never do; false when the program is to stop.
bool wait_for_counters(const stop_request& stop, counters& known)
{
    for (int i = 0; i < kGlances && !known.tell_of_devices(); ++i)
    {
        if (stop.wait(kGlance))
            return false;
        known.learn(read_loads());
    }
    return true;
}

int run(const request& wanted)
{
    const stop_request stop;
    const library_session library;
    const host_facts host = read_facts();
    counters known;
    if (!wait_for_counters(stop, known))
        return 1;
    display shown(wanted.watch);
    for (int round = 1;; ++round)
    {
        const load_figures now = read_loads();
        known.learn(now);
        if (!shown.show(report(host, now, known, wanted.watch)))
            return 1;
        if (round == wanted.rounds || stop.wait(kPeriod))
            return 0;
    }
}
} // namespace

int wmain(int count, wchar_t** arguments)
{
    std::vector<std::string> words;
    for (int i = 1; i < count; ++i)
        words.push_back(KFramework::KStringHelper::WideStringToUtf8String(arguments[i]));
    request wanted;
    if (const std::string wrong = read_arguments(words, wanted); !wrong.empty())
    {
        write_text(::GetStdHandle(STD_ERROR_HANDLE), "host_report: " + wrong + "\n");
        return 2;
    }
    if (wanted.help)
        return write_text(::GetStdHandle(STD_OUTPUT_HANDLE), kUsage) ? 0 : 1;
    return run(wanted);
}
