#include "KFramework/platform/windows_win.h"
#include "KFramework/services.h"

namespace
{
constexpr EXECUTION_STATE kAwake = ES_CONTINUOUS | ES_SYSTEM_REQUIRED;
constexpr EXECUTION_STATE kAwakeInAwayMode = kAwake | ES_AWAYMODE_REQUIRED;
static_assert(kAwake == 0x80000001 && kAwakeInAwayMode == 0x80000041);
} // namespace

namespace KFramework::KServices
{
void SetSystemSleepStatus(bool keepAwake)
{
    if (!keepAwake)
    {
        ::SetThreadExecutionState(ES_CONTINUOUS);
        return;
    }
    // KEPT[away-mode-first]: systems without away mode refuse it.
    if (::SetThreadExecutionState(kAwakeInAwayMode) == 0)
        ::SetThreadExecutionState(kAwake);
}
} // namespace KFramework::KServices
