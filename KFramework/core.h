#pragma once

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

KFRAMEWORK_API void InitializeLibrary(const char* fullPath);
KFRAMEWORK_API void ShutdownLibrary();

KFRAMEWORK_API void SetLibraryContext(const char* name, void* data);
KFRAMEWORK_API void GetLibraryContext(const char** name, void** data);

KFRAMEWORK_API void LockGlobalMutex();
KFRAMEWORK_API void UnlockGlobalMutex();

KFRAMEWORK_API void SetDefaultLogger(KLogger::CKLoggerInstance* logger);
KFRAMEWORK_API KLogger::CKLoggerInstance* GetDefaultLogger();
KFRAMEWORK_API void RemoveDefaultLogger();

KFRAMEWORK_API void UpdateServerTime();
KFRAMEWORK_API long long GetServerTime();
KFRAMEWORK_API void MicroSleep(int ms);
KFRAMEWORK_API void LocalTime_R(long long* t, struct tm* out);

KFRAMEWORK_API std::string GetModuleFullPath();
KFRAMEWORK_API std::string GetModuleBasePath();
KFRAMEWORK_API std::string _GetModuleFullPath();
KFRAMEWORK_API std::string _GetModuleBasePath();

KFRAMEWORK_API int GetProgressiveSeed();

KFRAMEWORK_API void Swap2Bytes(void* p);
KFRAMEWORK_API void Swap4Bytes(void* p);
KFRAMEWORK_API void Swap8Bytes(void* p);

KFRAMEWORK_API unsigned int AtomicIncrement32(void* counter);
KFRAMEWORK_API unsigned int AtomicDecrement32(void* counter);
KFRAMEWORK_API unsigned int AtomicAdd32(void* counter, long n);
KFRAMEWORK_API unsigned int AtomicSubtract32(void* counter, long n);
KFRAMEWORK_API unsigned long long AtomicIncrement64(void* counter);
KFRAMEWORK_API unsigned long long AtomicDecrement64(void* counter);
KFRAMEWORK_API unsigned long long AtomicAdd64(void* counter, long long n);
KFRAMEWORK_API unsigned long long AtomicSubtract64(void* counter, long long n);

KFRAMEWORK_API std::string GetPhysicalCoresType();
KFRAMEWORK_API float GetPhysicalCoresSpeed();
KFRAMEWORK_API int GetPhysicalCoresCount();
KFRAMEWORK_API int GetPhysicalProcessorsCount();
KFRAMEWORK_API int GetProcessorsThreadsCount();
KFRAMEWORK_API std::vector<std::string> GetPhysicalGPUsNames();
KFRAMEWORK_API int GetPhysicalGPUsCount();
KFRAMEWORK_API std::string GetHostMacAddresses(bool ignored);
KFRAMEWORK_API bool GetHostName(std::string& name);
KFRAMEWORK_API std::string GetRunningPlatformString();
KFRAMEWORK_API int GetRunningPlatformOS();
KFRAMEWORK_API std::string GenerateUniqueGUID();
} // namespace KFramework
