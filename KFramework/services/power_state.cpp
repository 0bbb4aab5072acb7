#include <atomic>

#include "KFramework/services.h"

namespace
{
// Orders nothing: readers may see a change late.
std::atomic<bool> power_save{false};
} // namespace

namespace KFramework::KServices
{
bool GetPowerSaveState()
{
    return power_save.load(std::memory_order_relaxed);
}

void SetPowerSaveState(bool save)
{
    // KEPT[power-flag-only]
    power_save.store(save, std::memory_order_relaxed);
}

bool ForkAndDaemon(int /*unused*/)
{
    // KEPT[fork-does-nothing]
    return true;
}
} // namespace KFramework::KServices
