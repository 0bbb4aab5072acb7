#pragma once
/// Performance counters as a German system has them, in place of the system's own.

#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "KFramework/platform/pdh_win.h"
#include "tests/perfmon/monitor_copy_win.h"
#include "tests/support/import_hook_win.h"

namespace kf::perfmon::test
{
/// What the host has and what of it fails.
struct host_traits
{
    std::vector<std::wstring> interfaces{L"Ärger [R] Netz", L"Intel[R] Ethernet"};
    std::vector<std::wstring> disks{L"1 D:", L"0 C:", L"_Total"};
    PDH_STATUS first_answer = static_cast<PDH_STATUS>(PDH_MORE_DATA);
    PDH_STATUS second_answer = ERROR_SUCCESS;
    bool knows_names = true;
    bool opens = true;
    bool lists_grow = false; ///< from the first call to the second
    int failing_collections = 0;
    std::function<void(int collection)> on_collection = [](int) {
    }; ///< counted from 1; on the monitor's thread
    std::function<bool(const std::wstring& path)> refuses = [](const std::wstring&) { return false; };
    std::wstring unreadable; ///< a path that is added and gives no value

    /// Path to value; 0 for the others.
    std::map<std::wstring, double> doubles;
    std::map<std::wstring, long long> integers;
};

/// One at a time; stops the monitor before it goes.
class german_host
{
public:
    explicit german_host(const monitor_copy& monitor, host_traits traits = {});
    german_host(const german_host&) = delete;
    german_host& operator=(const german_host&) = delete;
    ~german_host();

    /// The calls in order: "memory", "name 6", "list Netzwerkschnittstelle", "open", "collect", "close", "misuse".
    /// Names are in UTF-8.
    [[nodiscard]] static std::vector<std::string> journal();
    [[nodiscard]] static int count(const std::string& call);

    /// The paths that were added, in order, refused ones included.
    [[nodiscard]] static std::vector<std::wstring> paths();

    /// For every collection, how many pauses the monitor had begun before.
    [[nodiscard]] static std::vector<int> pauses_before_collections();

private:
    const monitor_copy& monitor_;
    kf::test::import_hook<BOOL WINAPI(MEMORYSTATUSEX*)> memory_;
    kf::test::import_hook<PDH_STATUS WINAPI(const wchar_t*, DWORD, wchar_t*, DWORD*)> naming_;
    kf::test::import_hook<PDH_STATUS WINAPI(const wchar_t*, const wchar_t*, const wchar_t*, wchar_t*, DWORD*,
                                            wchar_t*, DWORD*, DWORD, DWORD)>
        listing_;
    kf::test::import_hook<PDH_STATUS WINAPI(const wchar_t*, DWORD_PTR, PDH_HQUERY*)> opening_;
    kf::test::import_hook<PDH_STATUS WINAPI(PDH_HQUERY, const wchar_t*, DWORD_PTR, PDH_HCOUNTER*)> adding_;
    kf::test::import_hook<PDH_STATUS WINAPI(PDH_HQUERY)> collecting_;
    kf::test::import_hook<PDH_STATUS WINAPI(PDH_HCOUNTER, DWORD, DWORD*, PDH_FMT_COUNTERVALUE*)> reading_;
    kf::test::import_hook<PDH_STATUS WINAPI(PDH_HQUERY)> closing_;
};

inline const std::wstring kGermanProcessor = L"Prozessor";
inline const std::wstring kGermanInterface = L"Netzwerkschnittstelle";
inline const std::wstring kGermanDisk = L"Physikalischer Datenträger";

/// \object(instance)\counter
std::wstring path_of(const std::wstring& object, const std::wstring& instance, const std::wstring& counter);
} // namespace kf::perfmon::test
