#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

namespace KFramework
{
namespace
{
/// Whether kernel objects can be named for all sessions: from version 5.0 on.
bool has_global_names()
{
    OSVERSIONINFOEXW wanted{};
    wanted.dwOSVersionInfoSize = sizeof wanted;
    wanted.dwMajorVersion = 5;
    DWORDLONG at_least = 0;
    at_least = ::VerSetConditionMask(at_least, VER_MAJORVERSION, VER_GREATER_EQUAL);
    at_least = ::VerSetConditionMask(at_least, VER_MINORVERSION, VER_GREATER_EQUAL);
    at_least = ::VerSetConditionMask(at_least, VER_SERVICEPACKMAJOR, VER_GREATER_EQUAL);
    return ::VerifyVersionInfoW(&wanted, VER_MAJORVERSION | VER_MINORVERSION | VER_SERVICEPACKMAJOR,
                                at_least) != FALSE;
}
} // namespace

void* CreateUniqueLock(const char* name)
{
    if (name == nullptr)
        return nullptr;
    std::wstring full_name = has_global_names() ? L"Global\\" : L"";
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
