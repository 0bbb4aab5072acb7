#pragma once
/// Owners of kernel handles. Each is named after what "none" is for it.

#include "KFramework/platform/last_error_win.h"
#include "KFramework/platform/unique_resource.h"
#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// Null means none: processes, threads, tokens, mutexes, pipes.
struct handle_traits
{
    using value_type = HANDLE;
    static HANDLE none() noexcept { return nullptr; }
    static bool valid(HANDLE h) noexcept { return h != nullptr; }
    static void close(HANDLE h) noexcept
    {
        const last_error_guard keep;
        ::CloseHandle(h);
    }
};
using unique_handle = unique_resource<handle_traits>;

/// INVALID_HANDLE_VALUE means none: files and snapshots.
struct file_traits
{
    using value_type = HANDLE;
    static HANDLE none() noexcept { return INVALID_HANDLE_VALUE; }
    static bool valid(HANDLE h) noexcept { return h != INVALID_HANDLE_VALUE; }
    static void close(HANDLE h) noexcept
    {
        const last_error_guard keep;
        ::CloseHandle(h);
    }
};
using unique_file = unique_resource<file_traits>;

/// INVALID_HANDLE_VALUE means none: directory searches.
struct find_traits
{
    using value_type = HANDLE;
    static HANDLE none() noexcept { return INVALID_HANDLE_VALUE; }
    static bool valid(HANDLE h) noexcept { return h != INVALID_HANDLE_VALUE; }
    static void close(HANDLE h) noexcept
    {
        const last_error_guard keep;
        ::FindClose(h);
    }
};
using unique_find = unique_resource<find_traits>;

/// Null means none: opened registry keys.
struct registry_key_traits
{
    using value_type = HKEY;
    static HKEY none() noexcept { return nullptr; }
    static bool valid(HKEY key) noexcept { return key != nullptr; }
    static void close(HKEY key) noexcept { ::RegCloseKey(key); } // gives its code, and leaves the last error
};
using unique_registry_key = unique_resource<registry_key_traits>;

/// Null means none: memory that the system gave through LocalAlloc.
template <class T>
struct local_memory_traits
{
    using value_type = T*;
    static T* none() noexcept { return nullptr; }
    static bool valid(T* p) noexcept { return p != nullptr; }
    static void close(T* p) noexcept
    {
        const last_error_guard keep;
        ::LocalFree(p);
    }
};
template <class T>
using local_memory = unique_resource<local_memory_traits<T>>;
} // namespace kf::platform
