#include "tests/services/service_calls_win.h"

namespace kf::services::test
{
namespace
{
kf::test::captured_output* output = nullptr;
std::vector<std::string> calls;
std::string failing_call;
std::size_t seen = 0;
service_request requested;
std::wstring described;

int manager, service;

SC_HANDLE manager_handle()
{
    return reinterpret_cast<SC_HANDLE>(&manager);
}

SC_HANDLE service_handle()
{
    return reinterpret_cast<SC_HANDLE>(&service);
}

std::string name_of(SC_HANDLE handle)
{
    return handle == manager_handle()   ? "manager"
           : handle == service_handle() ? "service"
                                        : "a foreign handle";
}

void note_printing()
{
    const std::size_t size = output->bytes().size();
    if (size > seen)
        calls.emplace_back("print");
    seen = size;
}

/// Whether the call is to work.
bool note(const std::string& call, DWORD error = ERROR_ACCESS_DENIED)
{
    note_printing();
    calls.push_back(call);
    if (call != failing_call)
        return true;
    ::SetLastError(error);
    return false;
}

SC_HANDLE WINAPI open_manager(const wchar_t* machine, const wchar_t* database, DWORD access)
{
    const bool is_local = machine == nullptr && database == nullptr;
    const std::string call = access == SC_MANAGER_CREATE_SERVICE ? "open manager to create"
                             : access == SC_MANAGER_CONNECT      ? "open manager to connect"
                                                                 : "open manager with other rights";
    return note(is_local ? call : "open a foreign manager") ? manager_handle() : nullptr;
}

SC_HANDLE WINAPI open_service(SC_HANDLE from, const wchar_t* name, DWORD access)
{
    const std::string rights = access == DELETE ? " to delete" : " with other rights";
    return note("open service " + std::string(name, name + std::wcslen(name)) + " of " + name_of(from) +
                rights)
               ? service_handle()
               : nullptr;
}

std::wstring text_of(const wchar_t* text)
{
    return text != nullptr ? text : L"";
}

SC_HANDLE WINAPI create_service(SC_HANDLE from, const wchar_t* name, const wchar_t* display_name,
                                DWORD access, DWORD type, DWORD start, DWORD error_control,
                                const wchar_t* line, const wchar_t* group, DWORD* tag,
                                const wchar_t* dependencies, const wchar_t* account, const wchar_t* password)
{
    requested = {text_of(name),
                 text_of(display_name),
                 text_of(line),
                 text_of(account),
                 text_of(password),
                 display_name != nullptr,
                 account != nullptr,
                 password != nullptr,
                 group != nullptr || tag != nullptr || dependencies != nullptr,
                 access,
                 type,
                 start,
                 error_control};
    return note("create service of " + name_of(from), ERROR_SERVICE_EXISTS) ? service_handle() : nullptr;
}

BOOL WINAPI change_config(SC_HANDLE of, DWORD level, void* record)
{
    described = text_of(static_cast<SERVICE_DESCRIPTIONW*>(record)->lpDescription);
    return note((level == SERVICE_CONFIG_DESCRIPTION ? "describe " : "change otherwise ") + name_of(of))
               ? TRUE
               : FALSE;
}

BOOL WINAPI delete_service(SC_HANDLE of)
{
    return note("delete " + name_of(of), ERROR_SERVICE_MARKED_FOR_DELETE) ? TRUE : FALSE;
}

BOOL WINAPI close_handle(SC_HANDLE of)
{
    return note("close " + name_of(of)) ? TRUE : FALSE;
}

DWORD WINAPI module_path(HMODULE module, wchar_t* path, DWORD size)
{
    if (!note(module == nullptr && size == 260 ? "ask for the path" : "ask otherwise for the path"))
        return 0;
    const std::wstring whole = L"C:\\farm\\worker.exe";
    return static_cast<DWORD>(whole.copy(path, size)); // without a terminator, as some systems cut
}
} // namespace

service_calls::service_calls(const std::string& failing)
    : output_(kf::test::captured_output::stream::output), open_manager_("OpenSCManagerW", &open_manager),
      open_service_("OpenServiceW", &open_service), create_service_("CreateServiceW", &create_service),
      change_config_("ChangeServiceConfig2W", &change_config),
      delete_service_("DeleteService", &delete_service), close_handle_("CloseServiceHandle", &close_handle),
      module_path_("GetModuleFileNameW", &module_path)
{
    output = &output_;
    calls.clear();
    failing_call = failing;
    seen = 0;
    requested = {};
    described.clear();
}

std::vector<std::string> service_calls::journal()
{
    note_printing();
    return calls;
}

const service_request& service_calls::request()
{
    return requested;
}

const std::wstring& service_calls::description()
{
    return described;
}
} // namespace kf::services::test
