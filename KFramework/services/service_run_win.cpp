#include "KFramework/platform/windows_win.h"
#include "KFramework/services.h"

namespace KFramework::KServices
{
bool RegisterWin32Service(const wchar_t* name, void* serviceMain)
{
    const SERVICE_TABLE_ENTRYW table[] = {
        {const_cast<wchar_t*>(name), reinterpret_cast<LPSERVICE_MAIN_FUNCTIONW>(serviceMain)},
        {nullptr, nullptr},
    };
    return ::StartServiceCtrlDispatcherW(table) != FALSE;
}
} // namespace KFramework::KServices
