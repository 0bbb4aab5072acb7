#pragma once
/// A thread's two records and who may free them.
///
/// The joiner holds the KThreadObject, the routine its start record, which names the other. A join that fails
/// lets go while the routine may still run and mark its end, so both records go when the last of the two does.

#include <atomic>

#include "KFramework/process.h"

namespace kf::process
{
/// What the routine receives. The first two fields are part of the contract.
struct start_record
{
    void* data;
    KFramework::KProcesses::KThreadObject* owner;
    std::atomic<int> holders;
};

/// Both records, held by joiner and routine; the handle is still null.
KFramework::KProcesses::KThreadObject* make_thread_records(void* data);

/// The routine's argument; null once there is no routine.
start_record* start_of(const KFramework::KProcesses::KThreadObject& thread) noexcept;

/// Frees the start record of a thread that was never started.
void forget_routine(KFramework::KProcesses::KThreadObject& thread) noexcept;

/// Frees both records: the thread is gone, whether it marked its end or not.
void free_thread_records(KFramework::KProcesses::KThreadObject* thread) noexcept;

/// The joiner lets go of a thread that may still run; the thread's records go with it or with the routine.
void abandon_thread(KFramework::KProcesses::KThreadObject* thread) noexcept;

/// The code given to EndThread, 0 before.
int exit_code_of(KFramework::KProcesses::KThreadObject& thread) noexcept;
} // namespace kf::process
