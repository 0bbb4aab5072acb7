#pragma once
/// Owners of what belongs to a user's session.

#include "KFramework/platform/windows_win.h"

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
} // namespace kf::platform
