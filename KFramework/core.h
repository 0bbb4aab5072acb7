#pragma once
/// The library's life, its process-wide state, and what it knows about its host.
///
/// A program calls InitializeLibrary once before anything else, UpdateServerTime
/// every second or so, and ShutdownLibrary once at its end.
/// Threads: after InitializeLibrary any thread may call any function here, except
/// where a function says otherwise.
/// Errors: none are reported; a fact that cannot be read keeps its default.
/// Ownership: pointers that a program parks here stay its own.

#include "KFramework/export.h"

#include <ctime>
#include <string>
#include <vector>

namespace KFramework
{
namespace KLogger
{
struct CKLoggerInstance;
}

// --- life ------------------------------------------------------------------

/// Records the program's paths, makes the two mutexes, stores the first server
/// time, starts the seed counter and probes processors and network adapters.
///
/// Until then the paths are empty, and UpdateServerTime, GetServerTime,
/// LocalTime_R, the 64-bit counters and GetProgressiveSeed must not be called.
///
/// @param fullPath  what GetModuleFullPath gives from now on; null for the
///                  executable's real path. Copied.
/// @threads one, before the program starts others.
/// @kept full-path-verbatim: the argument is taken as it is, and never changes
///       the base path, which is always the real executable's.
/// @kept seed-start: the seed counter starts at one draw of the C runtime's
///       rand(), which the library does not seed: 41 unless the program did.
KFRAMEWORK_API void InitializeLibrary(const char* fullPath);

/// Stops the performance monitor and destroys the two mutexes; the rule from before InitializeLibrary holds again.
///
/// @threads one, after every other use of the library.
/// @kept shutdown-releases-little: paths, context, default logger and garbage
///       collector stay as they are; a second InitializeLibrary makes new mutexes.
KFRAMEWORK_API void ShutdownLibrary();

// --- what a program parks here ---------------------------------------------

/// Stores two pointers that the library never reads: a plug-in finds its host's
/// name and data through them.
///
/// @param name  stays the caller's and is not copied; may be null.
/// @param data  stays the caller's; may be null.
/// @threads before the program starts others.
KFRAMEWORK_API void SetLibraryContext(const char* name, void* data);

/// @param name  receives the stored name, null before any SetLibraryContext.
/// @param data  receives the stored data, null before any SetLibraryContext.
KFRAMEWORK_API void GetLibraryContext(const char** name, void** data);

/// Installs the logger that the library itself writes to.
///
/// @param logger  stays the caller's; removed before it is destroyed.
/// @threads before the program starts threads that log.
KFRAMEWORK_API void SetDefaultLogger(KLogger::CKLoggerInstance* logger);

/// @return  the installed logger, null if none; stays its owner's.
KFRAMEWORK_API KLogger::CKLoggerInstance* GetDefaultLogger();

/// Empties the slot; the logger is not destroyed.
KFRAMEWORK_API void RemoveDefaultLogger();

// --- the global mutex --------------------------------------------------------

/// Takes the library's one coarse lock. Not recursive, and the last in the lock
/// order: while it is held, call nothing that takes it (the time functions, the
/// 64-bit counters) and nothing that logs.
KFRAMEWORK_API void LockGlobalMutex();
KFRAMEWORK_API void UnlockGlobalMutex();

// --- time --------------------------------------------------------------------

/// Stores the current time as the server time.
KFRAMEWORK_API void UpdateServerTime();

/// The library's notion of now: what the last UpdateServerTime stored, however
/// long ago. Rotation, heartbeats and the garbage collector go by it.
///
/// @return  seconds since 1970-01-01 UTC.
/// @kept live-clock-not-stored: while nothing (0) is stored, the live clock is
///       given and not stored.
KFRAMEWORK_API long long GetServerTime();

/// Sleeps.
///
/// @param ms  milliseconds; -1 for ever.
/// @kept micro-sleep-unit: milliseconds, whatever the name says.
KFRAMEWORK_API void MicroSleep(int ms);

/// Converts a time to local calendar fields.
///
/// @param t    seconds since 1970-01-01 UTC.
/// @param out  receives the nine fields; all 0 for a time that has none (a
///             negative one).
KFRAMEWORK_API void LocalTime_R(long long* t, struct tm* out);

// --- paths -------------------------------------------------------------------

/// @return  UTF-8 full path that InitializeLibrary recorded.
KFRAMEWORK_API std::string GetModuleFullPath();

/// @return  UTF-8 folder that InitializeLibrary recorded, without a separator at
///          the end.
KFRAMEWORK_API std::string GetModuleBasePath();

/// Asks the system anew.
///
/// @return  UTF-8 full path of the program's executable, never of this library,
///          at most 2,047 UTF-16 units of it; "" when it cannot be read.
KFRAMEWORK_API std::string _GetModuleFullPath();

/// @return  what stands before the last "\" of _GetModuleFullPath; "" without one.
///
///   C:\farm\server.exe  =>  C:\farm
///   server.exe          =>
KFRAMEWORK_API std::string _GetModuleBasePath();

// --- counters ----------------------------------------------------------------

/// Counts up from its start value, modulo 2^32.
///
/// @return  the value before the step, so the first call gives the start value.
KFRAMEWORK_API int GetProgressiveSeed();

/// Reverse the bytes at p in place; p need not be aligned.
///
///   Swap4Bytes: 01 02 03 04  =>  04 03 02 01
KFRAMEWORK_API void Swap2Bytes(void* p);
KFRAMEWORK_API void Swap4Bytes(void* p);
KFRAMEWORK_API void Swap8Bytes(void* p);

/// Interlocked arithmetic on an unsigned 32-bit counter, which wraps.
///
/// @param counter  aligned to 4 bytes.
/// @return  AtomicIncrement32, AtomicDecrement32: the new value. AtomicAdd32,
///          AtomicSubtract32: the value before.
/// @kept add-32-old-value: add and subtract give the old value, unlike everything
///       beside them.
///
///   AtomicAdd32 of 5 to 10  =>  10, leaves 15
KFRAMEWORK_API unsigned int AtomicIncrement32(void* counter);
KFRAMEWORK_API unsigned int AtomicDecrement32(void* counter);
KFRAMEWORK_API unsigned int AtomicAdd32(void* counter, long n);
KFRAMEWORK_API unsigned int AtomicSubtract32(void* counter, long n);

/// Arithmetic on an unsigned 64-bit counter, which wraps.
///
/// @param counter  aligned to 8 bytes; may be one that a socket stream counts on.
/// @return  the new value.
/// @threads not while holding the global mutex, and only after InitializeLibrary.
/// @kept add-64-locked: takes the global mutex; does not become lock-free, callers
///       that hold the mutex rely on the counter standing still.
///
///   AtomicAdd64 of 5 to 10  =>  15
KFRAMEWORK_API unsigned long long AtomicIncrement64(void* counter);
KFRAMEWORK_API unsigned long long AtomicDecrement64(void* counter);
KFRAMEWORK_API unsigned long long AtomicAdd64(void* counter, long long n);
KFRAMEWORK_API unsigned long long AtomicSubtract64(void* counter, long long n);

// --- the host ----------------------------------------------------------------

/// @return  the processor's model name without its speed, "Unknown" without a probe.
///          Each pair of blanks has become one, once: four are then two.
///
///   "Model  CPU @ 3.40GHz"  =>  "Model CPU"
KFRAMEWORK_API std::string GetPhysicalCoresType();

/// @return  the first processor's maximum speed in GHz, rounded up to tenths; 0
///          without a probe or when unknown.
///
///   3401 MHz  =>  3.5
KFRAMEWORK_API float GetPhysicalCoresSpeed();

/// The counts are probed by InitializeLibrary, or by the first of these calls.
///
/// @return  at least 1, cores excepted: 0 when there are fewer than packages.
/// @kept cores-per-package: GetPhysicalCoresCount gives the cores of one package,
///       rounded down, not of the host.
///
///   two packages of 8 cores with 2 threads each  =>  8 cores, 2 processors, 32 threads
KFRAMEWORK_API int GetPhysicalCoresCount();
KFRAMEWORK_API int GetPhysicalProcessorsCount();
KFRAMEWORK_API int GetProcessorsThreadsCount();

/// The graphics adapters, asked for at the first call. COM runs on the calling
/// thread meanwhile.
///
/// @return  UTF-8 names; one "Unknown" when there is no adapter; empty (count 0)
///          when the system cannot be asked, which the next call tries again.
KFRAMEWORK_API std::vector<std::string> GetPhysicalGPUsNames();
KFRAMEWORK_API int GetPhysicalGPUsCount();

/// @return  twelve lower-case digits for each network adapter, "|" between two;
///          "" when they could not be read.
/// @kept mac-argument: the argument is ignored.
/// @kept mac-groups: "|" only between adapters, lower-case digits, and six bytes
///       whatever the adapter's address length.
KFRAMEWORK_API std::string GetHostMacAddresses(bool ignored);

/// Asks Windows Sockets, which the program has started.
///
/// @param name  receives the host's name; untouched on failure.
/// @return  false on failure.
KFRAMEWORK_API bool GetHostName(std::string& name);

/// The system's release: the true one, whatever the program's manifest says.
///
/// @return  the first name below whose release is reached, or "Undefined".
/// @kept platform-names: every name but "Undefined" ends in one blank, and Windows
///       7 SP 1 as a server is "Windows Server 2008 R3 ".
///
///   version      workstation        server
///   10.0         "Windows 10+ "     "Windows Server 2016+ "
///   6.3          "Windows 8.1 "     "Windows Server 2012 R2 "
///   6.2          "Windows 8 "       "Windows Server 2012 "
///   6.1 SP 1     "Windows 7 SP 1 "  "Windows Server 2008 R3 "
///   6.1          "Windows 7 "       "Windows Server 2008 R2 "
///   6.0          "Windows Vista "   "Windows Server 2008 "
///   5.1          "Windows XP "      "Windows Server 2003 "
KFRAMEWORK_API std::string GetRunningPlatformString();

/// @return  1: Windows.
KFRAMEWORK_API int GetRunningPlatformOS();

/// Text from the time and four draws of the C runtime's rand(). Only as unique as
/// these: two calls in one second with the same generator state give the same.
///
/// @return  upper-case digits, normally 24.
/// @kept guid-order: the last draw stands first, and the low 32 bits of the time
///       stand last.
KFRAMEWORK_API std::string GenerateUniqueGUID();
} // namespace KFramework
