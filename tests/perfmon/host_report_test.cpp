/// The text of examples/host_report.

#include "examples/host_report/report.h"

#include <gtest/gtest.h>

using namespace host_report;

namespace
{
host_facts worker_host()
{
    host_facts host;
    host.name = "render-07";
    host.platform = "Windows Server 2016+ ";
    host.processor = "Model CPU";
    host.gigahertz = 3.5F;
    host.packages = 2;
    host.cores_per_package = 8;
    host.threads = 32;
    host.graphics = {"First Adapter", "Second Adapter"};
    host.addresses = "001a2b3c4d5e|000000000000|ffffffffffff";
    return host;
}

load_figures busy_moment()
{
    load_figures now;
    now.people = logons{1, 2};
    now.memory = {34'359'738'368, 12'884'901'888};
    now.swap = {std::uint64_t{128} << 40, 1'610'612'736};
    now.interfaces = {{"Ethernet", 1'572'864, 300, 0.5}, {"Loopback", 12, 0, 0.0}, {"WLAN", 0, 0, 0.0}};
    now.disks = {{"0 C:", 50, 20, 30}};
    now.processors = {0.0, 100.0};
    return now;
}

std::string text_of(const load_figures& now, bool bars = false)
{
    counters known;
    known.learn(now);
    return report(worker_host(), now, known, bars);
}

/// Whether a text has this line, its blanks in a row counted as one.
bool has_line(const std::string& text, const std::string& line)
{
    std::string single;
    for (const char c : text)
        if (c != ' ' || single.empty() || single.back() != ' ')
            single += c;
    return ("\n" + single).find("\n" + line + "\n") != std::string::npos;
}
} // namespace

TEST(Report, IsATableOfFactsAndFourOfLoads)
{
    EXPECT_EQ(text_of(busy_moment()), "Host               render-07\n"
                                      "Platform           Windows Server 2016+\n"
                                      "Processor          Model CPU\n"
                                      "Speed              3.5 GHz\n"
                                      "Packages           2\n"
                                      "Cores per package  8\n"
                                      "Threads            32\n"
                                      "Graphics           First Adapter\n"
                                      "                   Second Adapter\n"
                                      "Network addresses  00:1a:2b:3c:4d:5e\n"
                                      "                   -\n"
                                      "                   ff:ff:ff:ff:ff:ff\n"
                                      "Logged on          1 at the console, 2 remote\n"
                                      "\n"
                                      "Memory                      In use         Of   Load\n"
                                      "RAM                       12.0 GiB   32.0 GiB  37.5%\n"
                                      "Swap (own address space)   1.5 GiB  128.0 TiB   0.0%\n"
                                      "\n"
                                      "Network interface   Sent/s  Received/s   Load\n"
                                      "Ethernet           1.5 MiB       300 B  50.0%\n"
                                      "Loopback              12 B         0 B      -\n"
                                      "WLAN                   0 B         0 B   0.0%\n"
                                      "\n"
                                      "Disk  Reading  Writing   Load\n"
                                      "0 C:    20.0%    30.0%  50.0%\n"
                                      "\n"
                                      "Core    Load\n"
                                      "   0    0.0%\n"
                                      "   1  100.0%\n");
}

TEST(Report, HasBarsBehindTheLoadsThatAreKnown)
{
    const std::string text = text_of(busy_moment(), true);
    EXPECT_TRUE(has_line(text, "RAM 12.0 GiB 32.0 GiB 37.5% [########............]")) << text;
    EXPECT_TRUE(has_line(text, "Ethernet 1.5 MiB 300 B 50.0% [##########..........]")) << text;
    EXPECT_TRUE(has_line(text, "Loopback 12 B 0 B -")) << text;
    EXPECT_TRUE(has_line(text, "0 C: 20.0% 30.0% 50.0% [##########..........]")) << text;
    EXPECT_TRUE(has_line(text, " 0 0.0% [....................]")) << text;
    EXPECT_TRUE(has_line(text, " 1 100.0% [####################]")) << text;
}

TEST(Report, SaysUnknownInsteadOfTheLibrarysZerosAndEmptyTexts)
{
    load_figures now;
    now.interfaces = {{"Ethernet", 0, 0, 0.0}};
    now.processors = {0.0};
    const std::string nothing = report(host_facts{}, now, counters{}, true);
    EXPECT_EQ(nothing, "Host               unknown\n"
                       "Platform           unknown\n"
                       "Processor          unknown\n"
                       "Speed              unknown\n"
                       "Packages           unknown\n"
                       "Cores per package  unknown\n"
                       "Threads            unknown\n"
                       "Graphics           unknown\n"
                       "Network addresses  unknown\n"
                       "Logged on          unknown\n"
                       "\n"
                       "Memory                    In use  Of  Load\n"
                       "RAM                            -   -     -\n"
                       "Swap (own address space)       -   -     -\n"
                       "\n"
                       "Network interface  Sent/s  Received/s  Load\n"
                       "Ethernet                -           -     -\n"
                       "\n"
                       "Disk        Reading  Writing  Load\n"
                       "none known\n"
                       "\n"
                       "Core  Load\n"
                       "   0     -\n");

    host_facts named;
    named.platform = "Undefined";
    named.processor = "Unknown";
    named.graphics = {"Unknown"};
    EXPECT_EQ(report(named, now, counters{}, true), nothing);
}

TEST(Counters, MakeZerosKnownOnceAFigureHasBeenAboveZero)
{
    counters known;
    load_figures now;
    now.processors = {0.0, 0.0};
    now.interfaces = {{"Ethernet", 0, 0, 0.0}};
    now.disks = {{"0 C:", 0, 0, 0}};
    known.learn(now);
    EXPECT_FALSE(known.tell_of_processors());
    EXPECT_FALSE(known.tell_of_devices());

    now.interfaces[0].received = 1;
    known.learn(now);
    EXPECT_FALSE(known.tell_of_processors());
    EXPECT_TRUE(known.tell_of_devices());
    const std::string half = report(host_facts{}, now, known, false);
    EXPECT_TRUE(has_line(half, "0 C: 0.0% 0.0% 0.0%")) << half;
    EXPECT_TRUE(has_line(half, " 1 -")) << half;

    now.interfaces[0].received = 0;
    now.processors[1] = 0.5;
    known.learn(now);
    now.processors[1] = 0.0;
    known.learn(now);
    EXPECT_TRUE(known.tell_of_processors());
    const std::string text = report(host_facts{}, now, known, false);
    EXPECT_TRUE(has_line(text, "Ethernet 0 B 0 B 0.0%")) << text;
    EXPECT_TRUE(has_line(text, "0 C: 0.0% 0.0% 0.0%")) << text;
    EXPECT_TRUE(has_line(text, " 1 0.0%")) << text;
}

TEST(Counters, TellOfDevicesByAnyFigureOfADisk)
{
    for (double disk_figures::*figure : {&disk_figures::busy, &disk_figures::reading, &disk_figures::writing})
    {
        counters known;
        load_figures now;
        now.disks = {{"0 C:", 0, 0, 0}};
        now.disks[0].*figure = 0.1;
        known.learn(now);
        EXPECT_TRUE(known.tell_of_devices());
        EXPECT_FALSE(known.tell_of_processors());
    }
}
