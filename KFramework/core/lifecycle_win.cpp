#include "KFramework/core.h"
#include "KFramework/core/state_win.h"
#include "KFramework/process.h"

#include <cstdlib>

namespace KFramework
{
void InitializeLibrary(const char* fullPath)
{
    kf::core::process_state& state = kf::core::state();
    state.module_base_path = _GetModuleBasePath();
    state.module_full_path = fullPath != nullptr ? std::string(fullPath) : _GetModuleFullPath();
    state.seed_mutex = KProcesses::CreateMutexW();
    state.global_mutex = KProcesses::CreateMutexW();
    UpdateServerTime();
    state.seed_counter = static_cast<std::uint32_t>(std::rand()); // NOLINT: the host seeds it, or does not
}

void ShutdownLibrary()
{
    KProcesses::DestroyMutex(kf::core::state().seed_mutex);
    KProcesses::DestroyMutex(kf::core::state().global_mutex);
}
} // namespace KFramework
