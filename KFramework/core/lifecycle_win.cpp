#include "KFramework/core.h"
#include "KFramework/core/host_facts_win.h"
#include "KFramework/core/state.h"
#include "KFramework/perfmon.h"
#include "KFramework/process.h"

#include <cstdlib>

namespace KFramework
{
void InitializeLibrary(const char* fullPath)
{
    kf::core::process_state& state = kf::core::state();
    state.module_base_path = _GetModuleBasePath();
    // KEPT[full-path-verbatim]
    state.module_full_path = fullPath != nullptr ? std::string(fullPath) : _GetModuleFullPath();
    state.seed_mutex = KProcesses::CreateMutexW();
    state.global_mutex = KProcesses::CreateMutexW();
    UpdateServerTime();
    // KEPT[seed-start]: exactly one draw, before anything else could draw.
    state.seed_counter = static_cast<std::uint32_t>(std::rand());
    kf::core::refresh_processor_facts();
    kf::core::refresh_mac_text();
}

void ShutdownLibrary()
{
    KPerformanceMonitor::StopPerformanceMonitor();
    // KEPT[shutdown-releases-little]: no pointer is cleared and nothing else freed.
    KProcesses::DestroyMutex(kf::core::state().seed_mutex);
    KProcesses::DestroyMutex(kf::core::state().global_mutex);
}
} // namespace KFramework
