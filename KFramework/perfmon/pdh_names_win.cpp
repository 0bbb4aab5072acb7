#include "KFramework/perfmon/pdh_names_win.h"

#include "KFramework/platform/pdh_win.h"

#include <algorithm>
#include <iterator>

namespace kf::perfmon
{
std::optional<std::u16string> local_counter_name(std::uint32_t index)
{
    wchar_t name[PDH_MAX_COUNTER_NAME + 1] = {};
    DWORD size = PDH_MAX_COUNTER_NAME; // the last element stays 0
    if (::PdhLookupPerfNameByIndexW(nullptr, index, name, &size) != ERROR_SUCCESS || name[0] == L'\0')
        return std::nullopt;
    return std::u16string(name, std::find(name, std::end(name), L'\0'));
}
} // namespace kf::perfmon
