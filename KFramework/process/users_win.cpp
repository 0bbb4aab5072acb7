#include <optional>
#include <string>

#include "KFramework/platform/guarded_close_win.h"
#include "KFramework/platform/wide_text_win.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/process.h"
#include "KFramework/process/account_name.h"
#include "KFramework/string.h"

namespace
{
using kf::platform::wide_text;

constexpr const char* kLogonFailed = "LogonUser() failed, error ";
constexpr const char* kImpersonationFailed = "ImpersonateLoggedOnUser() failed, error ";

std::string failure_text(const char* text, DWORD code)
{
    return text + KFramework::KStringHelper::FromLong(static_cast<long>(code));
}

/// Gives the system's error code, whatever it is; none for success.
[[nodiscard]] std::optional<DWORD> log_on(const char* user, const char* password, HANDLE* token)
{
    const kf::process::account_name name = kf::process::split_account(user);
    wide_text account(name.account.c_str());
    wide_text domain(name.domain ? name.domain->c_str() : nullptr);
    wide_text secret(password);
    if (account.failed() || domain.failed() || secret.failed())
        return ERROR_NO_UNICODE_TRANSLATION; // a text left empty in its place might be let in
    if (::LogonUserW(account.get(), domain.get(), secret.get(), LOGON32_LOGON_INTERACTIVE,
                     LOGON32_PROVIDER_DEFAULT, token))
        return std::nullopt;
    return ::GetLastError(); // before the texts are freed, which may change it
}
} // namespace

namespace KFramework::KProcesses
{
bool LogonUserW(const char* user, const char* password, void** token, std::string& error)
{
    if (token == nullptr)
        return false;
    const std::optional<DWORD> code =
        log_on(user != nullptr ? user : "", password != nullptr ? password : "", token);
    if (!code)
        return true;
    error = failure_text(kLogonFailed, *code);
    *token = nullptr;
    return false;
}

bool ImpersonateUser(void* token, std::string& error)
{
    if (token == nullptr || ::ImpersonateLoggedOnUser(token))
        return true;
    const DWORD code = ::GetLastError();
    error = failure_text(kImpersonationFailed, code);
    // KEPT[impersonation-takes-token]
    kf::platform::guarded_close(token); // it may well be no handle at all
    return false;
}

bool RevertUserImpersonation(void* token)
{
    if (token != nullptr)
        ::RevertToSelf();
    // KEPT[users-always-true]
    return true;
}

bool LogoutUser(void* token)
{
    if (token != nullptr)
        kf::platform::guarded_close(token);
    return true;
}
} // namespace KFramework::KProcesses
