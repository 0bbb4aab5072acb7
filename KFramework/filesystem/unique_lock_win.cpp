#include "KFramework/filesystem.h"
#include "KFramework/platform/version_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

namespace KFramework
{
void* CreateUniqueLock(const char* name)
{
    if (name == nullptr)
        return nullptr;
    const bool has_global_names = kf::platform::version_is_at_least(5, 0);
    std::wstring full_name = has_global_names ? L"Global\\" : L"";
    full_name += KStringHelper::Utf8StringToWideString(name);

    ::SetLastError(0); // a new mutex need not clear it
    // A raw handle on purpose: see below.
    void* const lock = ::CreateMutexW(nullptr, TRUE, full_name.c_str());
    const DWORD error = ::GetLastError();
    // KEPT[second-lock-stays-open]: a handle to another holder's mutex is neither given nor closed.
    return error == 0 ? lock : nullptr;
}

bool DeleteUniqueLock(void* handle, const char* /*name*/)
{
    if (handle == nullptr)
        return false;
    // KEPT[lock-is-abandoned]: closed, never released; the name does not matter.
    ::CloseHandle(handle);
    return true;
}
} // namespace KFramework
