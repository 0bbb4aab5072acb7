#pragma once
/// Owners of what belongs to a user's session.

#include "KFramework/platform/last_error_win.h"
#include "KFramework/platform/unique_resource.h"
#include "KFramework/platform/windows_win.h"

// clang-format off
#include <ntsecapi.h>
#include <wtsapi32.h>
// clang-format on

namespace kf::platform
{
/// Lets the calling thread act as a user for the length of a scope, and always
/// ends that, also when the start was refused.
class impersonation
{
public:
    /// @param token  null: the thread stays as it is, and nothing is ended.
    explicit impersonation(HANDLE token) noexcept : wanted_(token != nullptr)
    {
        if (wanted_)
            ::ImpersonateLoggedOnUser(token);
    }
    ~impersonation()
    {
        if (wanted_)
            ::RevertToSelf();
    }
    impersonation(const impersonation&) = delete;
    impersonation& operator=(const impersonation&) = delete;

private:
    bool wanted_;
};

/// Null means none: memory of the terminal services.
template <class T>
struct session_memory_traits
{
    using value_type = T*;
    static T* none() noexcept { return nullptr; }
    static bool valid(T* memory) noexcept { return memory != nullptr; }
    static void close(T* memory) noexcept
    {
        const last_error_guard keep;
        ::WTSFreeMemory(memory);
    }
};
template <class T>
using session_memory = unique_resource<session_memory_traits<T>>;

/// Null means none: memory of the security authority.
template <class T>
struct logon_memory_traits
{
    using value_type = T*;
    static T* none() noexcept { return nullptr; }
    static bool valid(T* memory) noexcept { return memory != nullptr; }
    static void close(T* memory) noexcept { ::LsaFreeReturnBuffer(memory); }
};
template <class T>
using logon_memory = unique_resource<logon_memory_traits<T>>;

/// Null means none: identifiers that AllocateAndInitializeSid made.
struct user_identifier_traits
{
    using value_type = PSID;
    static PSID none() noexcept { return nullptr; }
    static bool valid(PSID identifier) noexcept { return identifier != nullptr; }
    static void close(PSID identifier) noexcept { ::FreeSid(identifier); }
};
using user_identifier = unique_resource<user_identifier_traits>;
} // namespace kf::platform
