#include "tests/perfmon/busy_host_win.h"

namespace kf::perfmon::test
{
std::wstring core_path(int core)
{
    return path_of(kGermanProcessor, std::to_wstring(core), L"Prozessorzeit (%)");
}

void set_traffic(host_traits& host, const std::wstring& name, long long total, long long sent,
                 long long bandwidth)
{
    host.integers[path_of(kGermanInterface, name, kTotalBytes)] = total;
    host.integers[path_of(kGermanInterface, name, kSentBytes)] = sent;
    host.integers[path_of(kGermanInterface, name, kBandwidth)] = bandwidth;
}

void set_disk(host_traits& host, const std::wstring& name, double total, double read, double write)
{
    host.doubles[path_of(kGermanDisk, name, kTime)] = total;
    host.doubles[path_of(kGermanDisk, name, kReadTime)] = read;
    host.doubles[path_of(kGermanDisk, name, kWriteTime)] = write;
}

host_traits busy_host()
{
    host_traits host;
    host.doubles[core_path(0)] = 12.5;
    set_traffic(host, L"Intel[R] Ethernet", 1500, 1200, 1'000'000);
    set_traffic(host, L"Ärger [R] Netz", 7'000'000'000, 3'000'000'000, 0);
    set_disk(host, L"0 C:", 12.25, 8.5, 3.75);
    set_disk(host, L"1 D:", 99.5, 0.0, 99.5);
    return host;
}
} // namespace kf::perfmon::test
