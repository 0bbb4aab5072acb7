#pragma once
/// A service manager of the test's own in place of the system's: notes every call and fails the chosen one.

#include <string>
#include <vector>

#include "KFramework/platform/windows_win.h"
#include "tests/support/captured_output_win.h"
#include "tests/support/import_hook_win.h"

namespace kf::services::test
{
/// What CreateServiceW was asked for.
struct service_request
{
    std::wstring name, display_name, line, account, password;
    bool has_display_name = false, has_account = false, has_password = false,
         has_group_tag_or_dependencies = false;
    DWORD access = 0, type = 0, start = 0, error_control = 0;
};

/// One at a time; catches standard output too.
class service_calls
{
public:
    /// @param failing  the call that fails, as it stands in journal(); "" fails none.
    explicit service_calls(const std::string& failing = "");
    service_calls(const service_calls&) = delete;
    service_calls& operator=(const service_calls&) = delete;

    /// The calls in order, each with what matters of it, and "print" where text was written between them.
    [[nodiscard]] std::vector<std::string> journal();

    /// What was printed, as bytes.
    [[nodiscard]] std::string printed() { return output_.bytes(); }

    [[nodiscard]] static const service_request& request();
    [[nodiscard]] static const std::wstring& description();

private:
    kf::test::captured_output output_;
    kf::test::import_hook<SC_HANDLE WINAPI(const wchar_t*, const wchar_t*, DWORD)> open_manager_;
    kf::test::import_hook<SC_HANDLE WINAPI(SC_HANDLE, const wchar_t*, DWORD)> open_service_;
    kf::test::import_hook<SC_HANDLE WINAPI(SC_HANDLE, const wchar_t*, const wchar_t*, DWORD, DWORD, DWORD,
                                           DWORD, const wchar_t*, const wchar_t*, DWORD*, const wchar_t*,
                                           const wchar_t*, const wchar_t*)>
        create_service_;
    kf::test::import_hook<BOOL WINAPI(SC_HANDLE, DWORD, void*)> change_config_;
    kf::test::import_hook<BOOL WINAPI(SC_HANDLE)> delete_service_;
    kf::test::import_hook<BOOL WINAPI(SC_HANDLE)> close_handle_;
    kf::test::import_hook<DWORD WINAPI(HMODULE, wchar_t*, DWORD)> module_path_;
};
} // namespace kf::services::test
