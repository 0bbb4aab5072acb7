#include "tests/perfmon/german_host_win.h"

#include <algorithm>
#include <cwchar>
#include <mutex>

#include "tests/support/temporary_folder.h"

namespace kf::perfmon::test
{
namespace
{
const std::map<DWORD, std::wstring> kNames{{238, kGermanProcessor},     {6, L"Prozessorzeit (%)"},
                                           {510, kGermanInterface},     {388, L"Gesamtanzahl Bytes/s"},
                                           {506, L"Gesendete Bytes/s"}, {520, L"Aktuelle Bandbreite"},
                                           {234, kGermanDisk},          {200, L"Zeit (%)"},
                                           {202, L"Lesezeit (%)"},      {204, L"Schreibzeit (%)"}};

constexpr PDH_STATUS kFailed = static_cast<PDH_STATUS>(0xC0000BB8);

int the_query;
std::mutex mutex;
host_traits host;                // guarded by mutex
std::vector<std::string> calls;  // guarded by mutex
std::vector<std::wstring> added; // guarded by mutex; a counter is its place in here, from 1
std::vector<int> pauses;         // guarded by mutex
bool is_open = false;            // guarded by mutex

void note_misuse(bool wrong)
{
    if (wrong)
        calls.emplace_back("misuse");
}

BOOL WINAPI memory_of(MEMORYSTATUSEX* memory)
{
    const std::lock_guard lock(mutex);
    calls.emplace_back("memory");
    return ::GlobalMemoryStatusEx(memory);
}

PDH_STATUS WINAPI name_of(const wchar_t* machine, DWORD index, wchar_t* buffer, DWORD* size)
{
    const std::lock_guard lock(mutex);
    calls.push_back("name " + std::to_string(index));
    note_misuse(machine != nullptr);
    const auto name = kNames.find(index);
    if (!host.knows_names || name == kNames.end())
    {
        std::wcscpy(buffer, L"no name");
        return kFailed;
    }
    if (*size <= name->second.size())
        return static_cast<PDH_STATUS>(PDH_MORE_DATA);
    std::wcscpy(buffer, name->second.c_str());
    *size = static_cast<DWORD>(name->second.size() + 1);
    return ERROR_SUCCESS;
}

std::wstring list_of(const std::vector<std::wstring>& texts)
{
    std::wstring list;
    for (const std::wstring& text : texts)
        list.append(text).push_back(L'\0');
    if (!list.empty())
        list.push_back(L'\0');
    return list;
}

/// As the system does it: both lists or none.
PDH_STATUS WINAPI list_items(const wchar_t* source, const wchar_t* machine, const wchar_t* object,
                             wchar_t* counters, DWORD* counters_size, wchar_t* instances,
                             DWORD* instances_size, DWORD detail, DWORD flags)
{
    const std::lock_guard lock(mutex);
    calls.push_back("list " + kf::test::utf8_text(object));
    note_misuse(source != nullptr || machine != nullptr || detail != 400 || flags != 0);
    const std::wstring all_counters = list_of({L"Zeit (%)", L"Lesezeit (%)"});
    std::vector<std::wstring> instance_texts = object == kGermanInterface ? host.interfaces
                                               : object == kGermanDisk    ? host.disks
                                                                          : std::vector<std::wstring>{};
    const bool first = counters == nullptr && instances == nullptr;
    if (host.lists_grow && !first)
        instance_texts.emplace_back(L"new");
    const std::wstring all_instances = list_of(instance_texts);
    note_misuse(first && (*counters_size != 0 || *instances_size != 0));
    const bool fits = *counters_size >= all_counters.size() && *instances_size >= all_instances.size();
    *counters_size = static_cast<DWORD>(all_counters.size());
    *instances_size = static_cast<DWORD>(all_instances.size());
    if (first)
        return host.first_answer;
    if (!fits)
        return static_cast<PDH_STATUS>(PDH_MORE_DATA);
    std::copy(all_counters.begin(), all_counters.end(), counters);
    std::copy(all_instances.begin(), all_instances.end(), instances);
    return host.second_answer;
}

PDH_STATUS WINAPI open_query(const wchar_t* source, DWORD_PTR, PDH_HQUERY* query)
{
    const std::lock_guard lock(mutex);
    calls.emplace_back("open");
    note_misuse(source != nullptr || is_open);
    *query = &the_query; // also when it fails: what is written then means nothing
    is_open = host.opens;
    added.clear();
    return host.opens ? ERROR_SUCCESS : kFailed;
}

PDH_STATUS WINAPI add_counter(PDH_HQUERY query, const wchar_t* path, DWORD_PTR, PDH_HCOUNTER* counter)
{
    const std::lock_guard lock(mutex);
    note_misuse(query != &the_query || !is_open);
    added.emplace_back(path);
    *counter = reinterpret_cast<PDH_HCOUNTER>(added.size()); // as above
    return host.refuses(path) ? kFailed : ERROR_SUCCESS;
}

PDH_STATUS WINAPI collect(PDH_HQUERY query)
{
    std::unique_lock lock(mutex);
    calls.emplace_back("collect");
    note_misuse(query != &the_query || !is_open);
    pauses.push_back(monitor_copy::pauses());
    const PDH_STATUS answer = host.failing_collections-- > 0 ? kFailed : ERROR_SUCCESS;
    const auto collection = static_cast<int>(pauses.size());
    const auto on_collection = host.on_collection;
    lock.unlock();
    on_collection(collection);
    return answer;
}

PDH_STATUS WINAPI read_counter(PDH_HCOUNTER counter, DWORD format, DWORD*, PDH_FMT_COUNTERVALUE* value)
{
    const std::lock_guard lock(mutex);
    const auto place = reinterpret_cast<std::size_t>(counter);
    note_misuse(!is_open || place == 0 || place > added.size());
    if (!is_open || place == 0 || place > added.size())
        return kFailed;
    value->CStatus = ERROR_SUCCESS;
    if (format == PDH_FMT_DOUBLE)
        value->doubleValue = host.doubles[added[place - 1]];
    else if (format == PDH_FMT_LARGE)
        value->largeValue = host.integers[added[place - 1]];
    else
        note_misuse(true);
    return added[place - 1] == host.unreadable ? kFailed : ERROR_SUCCESS;
}

PDH_STATUS WINAPI close_query(PDH_HQUERY query)
{
    const std::lock_guard lock(mutex);
    calls.emplace_back("close");
    note_misuse(query != &the_query || !is_open);
    is_open = false;
    return ERROR_SUCCESS;
}

const char* with_host(const char* module, host_traits traits)
{
    const std::lock_guard lock(mutex);
    host = std::move(traits);
    calls.clear();
    added.clear();
    pauses.clear();
    is_open = false;
    return module;
}
} // namespace

german_host::german_host(const monitor_copy& monitor, host_traits traits)
    : monitor_(monitor),
      memory_(with_host(monitor.name(), std::move(traits)), "GlobalMemoryStatusEx", memory_of),
      naming_(monitor.name(), "PdhLookupPerfNameByIndexW", name_of),
      listing_(monitor.name(), "PdhEnumObjectItemsW", list_items),
      opening_(monitor.name(), "PdhOpenQueryW", open_query),
      adding_(monitor.name(), "PdhAddCounterW", add_counter),
      collecting_(monitor.name(), "PdhCollectQueryData", collect),
      reading_(monitor.name(), "PdhGetFormattedCounterValue", read_counter),
      closing_(monitor.name(), "PdhCloseQuery", close_query)
{
}

german_host::~german_host()
{
    monitor_.stop();
}

std::vector<std::string> german_host::journal()
{
    const std::lock_guard lock(mutex);
    return calls;
}

int german_host::count(const std::string& call)
{
    const std::lock_guard lock(mutex);
    return static_cast<int>(std::count(calls.begin(), calls.end(), call));
}

std::vector<std::wstring> german_host::paths()
{
    const std::lock_guard lock(mutex);
    return added;
}

std::vector<int> german_host::pauses_before_collections()
{
    const std::lock_guard lock(mutex);
    return pauses;
}

std::wstring path_of(const std::wstring& object, const std::wstring& instance, const std::wstring& counter)
{
    return L"\\" + object + L"(" + instance + L")\\" + counter;
}
} // namespace kf::perfmon::test
