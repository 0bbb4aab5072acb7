#pragma once
/// A German host with something to do.

#include <string>

#include "tests/perfmon/german_host_win.h"

namespace kf::perfmon::test
{
/// Pauses after which a first cycle that began meanwhile has stored its figures, and another has begun.
inline constexpr int kOneCycle = 4;

inline const std::wstring kTotalBytes = L"Gesamtanzahl Bytes/s";
inline const std::wstring kSentBytes = L"Gesendete Bytes/s";
inline const std::wstring kBandwidth = L"Aktuelle Bandbreite";
inline const std::wstring kTime = L"Zeit (%)";
inline const std::wstring kReadTime = L"Lesezeit (%)";
inline const std::wstring kWriteTime = L"Schreibzeit (%)";

std::wstring core_path(int core);

/// An interface's three values.
void set_traffic(host_traits& host, const std::wstring& name, long long total, long long sent,
                 long long bandwidth);

void set_disk(host_traits& host, const std::wstring& name, double total, double read, double write);

/// Core 0 at 12.5 %; an interface with bandwidth and one, with an umlaut in its name, without; two disks.
host_traits busy_host();
} // namespace kf::perfmon::test
