#include "KFramework/core/state.h"

#include "KFramework/core.h"
#include "KFramework/process.h"

namespace kf::core
{
process_state& state() noexcept
{
    // Never destroyed: threads of the host may still log while the process ends.
    static process_state& instance = *new process_state;
    return instance;
}

global_lock::global_lock()
{
    KFramework::LockGlobalMutex();
}

global_lock::~global_lock()
{
    KFramework::UnlockGlobalMutex();
}
} // namespace kf::core

namespace KFramework
{
void LockGlobalMutex()
{
    KProcesses::LockMutex(kf::core::state().global_mutex);
}

void UnlockGlobalMutex()
{
    KProcesses::UnlockMutex(kf::core::state().global_mutex);
}

void SetLibraryContext(const char* name, void* data)
{
    kf::core::state().context_name = name;
    kf::core::state().context_data = data;
}

void GetLibraryContext(const char** name, void** data)
{
    *name = kf::core::state().context_name;
    *data = kf::core::state().context_data;
}

void SetDefaultLogger(KLogger::CKLoggerInstance* logger)
{
    kf::core::state().default_logger = logger;
}

KLogger::CKLoggerInstance* GetDefaultLogger()
{
    return kf::core::state().default_logger;
}

void RemoveDefaultLogger()
{
    kf::core::state().default_logger = nullptr;
}
} // namespace KFramework
