#pragma once

#include "KFramework/platform/windows_win.h"

namespace kf::platform
{
/// Keeps the calling thread's last error over a scope, so that cleaning up does
/// not hide why we are leaving.
class last_error_guard
{
public:
    last_error_guard() noexcept : error_(::GetLastError()) {}
    ~last_error_guard() { ::SetLastError(error_); }
    last_error_guard(const last_error_guard&) = delete;
    last_error_guard& operator=(const last_error_guard&) = delete;

private:
    DWORD error_;
};
} // namespace kf::platform
