#include "KFramework/perfmon/instances_win.h"

#include "KFramework/perfmon/counter_names.h"
#include "KFramework/platform/pdh_win.h"
#include "KFramework/string.h"

#include <vector>

namespace kf::perfmon
{
namespace
{
constexpr DWORD kDetail = 400; // everything that the system lists

PDH_STATUS list_items(const std::wstring& object, wchar_t* counters, DWORD& counters_size, wchar_t* instances,
                      DWORD& instances_size)
{
    return ::PdhEnumObjectItemsW(nullptr, nullptr, object.c_str(), counters, &counters_size, instances,
                                 &instances_size, kDetail, 0);
}
} // namespace

counter_instances instances_of(const std::u16string& object)
{
    const std::wstring name(object.begin(), object.end());
    DWORD counters_size = 0, instances_size = 0;
    if (static_cast<DWORD>(list_items(name, nullptr, counters_size, nullptr, instances_size)) !=
        PDH_MORE_DATA)
        return {};

    // One more each: an object may have no instances, and then room for none is asked for.
    std::vector<wchar_t> counters(std::size_t{counters_size} + 1), listed(std::size_t{instances_size} + 1);
    if (list_items(name, counters.data(), counters_size, listed.data(), instances_size) != ERROR_SUCCESS)
        return {};

    counter_instances instances;
    for (std::u16string& instance : listed_texts(std::u16string(listed.begin(), listed.end())))
    {
        std::wstring wide(instance.begin(), instance.end());
        instances.emplace(KFramework::KStringHelper::WideStringToUtf8String(wide.data()),
                          std::move(instance));
    }
    return instances;
}
} // namespace kf::perfmon
