#include "KFramework/core.h"
#include "KFramework/core/state.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <array>

namespace KFramework
{
namespace
{
constexpr DWORD kPathUnits = 2048;
} // namespace

std::string _GetModuleFullPath()
{
    // The executable's module, not this library's: the handle is null.
    std::array<wchar_t, kPathUnits> path = {};
    if (::GetModuleFileNameW(nullptr, path.data(), kPathUnits) == 0)
        return {};
    path.back() = L'\0'; // a longer path is cut, on old systems without a terminator
    return KStringHelper::WideStringToUtf8String(path.data());
}

std::string _GetModuleBasePath()
{
    const std::string full_path = _GetModuleFullPath();
    const auto separator = full_path.rfind('\\');
    return separator == std::string::npos ? std::string() : full_path.substr(0, separator);
}

std::string GetModuleFullPath()
{
    return kf::core::state().module_full_path;
}

std::string GetModuleBasePath()
{
    return kf::core::state().module_base_path;
}
} // namespace KFramework
