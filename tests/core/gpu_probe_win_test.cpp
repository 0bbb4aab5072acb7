/// The graphics probe against a management service of the test's own: interfaces are tables of functions, and
/// only the entries that the probe may call are filled.

#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/library_copy_win.h"

#include <objbase.h>
#include <oleauto.h>
#include <wbemidl.h>

namespace
{

// Entries of the interfaces' tables.
constexpr std::size_t kRelease = 2;
constexpr std::size_t kConnectServer = 3;
constexpr std::size_t kExecQuery = 20;
constexpr std::size_t kNext = 4;
constexpr std::size_t kGet = 4;

struct stand_in
{
    const void* const* table;
};

/// What the management service does, and what it saw.
struct service
{
    HRESULT enter = S_OK;
    HRESULT security = S_OK;
    HRESULT create = S_OK;
    HRESULT connect = S_OK;
    HRESULT blanket = S_OK;
    HRESULT query = S_OK;
    std::vector<const wchar_t*> adapters; ///< null: a name that is no text

    unsigned entered = 0;
    unsigned left = 0;
    unsigned living = 0; ///< interfaces given and not released
    std::size_t next = 0;
    bool left_with_living = false;
};

service wmi;

ULONG WINAPI release(stand_in*)
{
    return --wmi.living;
}

HRESULT WINAPI get(stand_in*, LPCWSTR name, LONG flags, VARIANT* value, CIMTYPE*, LONG*)
{
    EXPECT_STREQ(name, L"Name");
    EXPECT_EQ(flags, 0);
    const wchar_t* const text = wmi.adapters.at(wmi.next - 1);
    if (text == nullptr)
    {
        V_VT(value) = VT_NULL;
        V_BSTR(value) = nullptr;
        return S_OK;
    }
    V_VT(value) = VT_BSTR;
    V_BSTR(value) = ::SysAllocString(text);
    return S_OK;
}

template <std::size_t Entry, class Function>
stand_in* make(Function* function)
{
    static std::array<const void*, 32> table{};
    table[kRelease] = reinterpret_cast<const void*>(&release);
    table[Entry] = reinterpret_cast<const void*>(function);
    static stand_in object{table.data()};
    ++wmi.living;
    return &object;
}

HRESULT WINAPI next(stand_in*, LONG time_out, ULONG wanted, stand_in** objects, ULONG* count)
{
    EXPECT_EQ(time_out, -1);
    EXPECT_EQ(wanted, 1u);
    *count = 0;
    if (wmi.next == wmi.adapters.size())
        return S_FALSE;
    ++wmi.next;
    *objects = make<kGet>(&get);
    *count = 1;
    return S_OK;
}

HRESULT WINAPI exec_query(stand_in*, const BSTR language, const BSTR query, LONG, IWbemContext*,
                          stand_in** result)
{
    EXPECT_STREQ(language, L"WQL");
    EXPECT_STREQ(query, L"SELECT * FROM Win32_VideoController");
    if (SUCCEEDED(wmi.query))
        *result = make<kNext>(&next);
    return wmi.query;
}

HRESULT WINAPI connect_server(stand_in*, const BSTR path, const BSTR user, const BSTR password, const BSTR,
                              LONG, const BSTR, IWbemContext*, stand_in** result)
{
    EXPECT_STREQ(path, L"ROOT\\CIMV2");
    EXPECT_EQ(user, nullptr);
    EXPECT_EQ(password, nullptr);
    if (SUCCEEDED(wmi.connect))
        *result = make<kExecQuery>(&exec_query);
    return wmi.connect;
}

HRESULT WINAPI enter(LPVOID, DWORD kind)
{
    EXPECT_EQ(kind, static_cast<DWORD>(COINIT_MULTITHREADED));
    if (SUCCEEDED(wmi.enter))
        ++wmi.entered;
    return wmi.enter;
}

void WINAPI leave()
{
    ++wmi.left;
    wmi.left_with_living = wmi.living != 0;
}

HRESULT WINAPI set_security(PSECURITY_DESCRIPTOR, LONG, SOLE_AUTHENTICATION_SERVICE*, void*,
                            DWORD authentication, DWORD impersonation, void*, DWORD, void*)
{
    EXPECT_EQ(authentication, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_DEFAULT));
    EXPECT_EQ(impersonation, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
    return wmi.security;
}

HRESULT WINAPI create(REFCLSID kind, LPUNKNOWN, DWORD context, REFIID, LPVOID* result)
{
    EXPECT_TRUE(IsEqualGUID(kind, CLSID_WbemLocator));
    EXPECT_EQ(context, static_cast<DWORD>(CLSCTX_INPROC_SERVER));
    if (SUCCEEDED(wmi.create))
        *result = make<kConnectServer>(&connect_server);
    return wmi.create;
}

HRESULT WINAPI set_blanket(IUnknown*, DWORD authentication, DWORD authorisation, OLECHAR*, DWORD level,
                           DWORD impersonation, RPC_AUTH_IDENTITY_HANDLE, DWORD)
{
    EXPECT_EQ(authentication, static_cast<DWORD>(RPC_C_AUTHN_WINNT));
    EXPECT_EQ(authorisation, static_cast<DWORD>(RPC_C_AUTHZ_NONE));
    EXPECT_EQ(level, static_cast<DWORD>(RPC_C_AUTHN_LEVEL_CALL));
    EXPECT_EQ(impersonation, static_cast<DWORD>(RPC_C_IMP_LEVEL_IMPERSONATE));
    return wmi.blanket;
}

/// A library that has not been asked yet, on a system of the test's own.
class graphics_adapters : public testing::Test
{
protected:
    graphics_adapters()
        : enter_(copy_.name(), "CoInitializeEx", &enter), leave_(copy_.name(), "CoUninitialize", &leave),
          security_(copy_.name(), "CoInitializeSecurity", &set_security),
          create_(copy_.name(), "CoCreateInstance", &create),
          blanket_(copy_.name(), "CoSetProxyBlanket", &set_blanket)
    {
        wmi = {};
    }

    ~graphics_adapters() override
    {
        EXPECT_EQ(wmi.living, 0u);
        EXPECT_EQ(wmi.left, wmi.entered);
        EXPECT_FALSE(wmi.left_with_living) << "an interface outlived its apartment";
    }

    int count() const { return copy_.function<int()>("_ZN10KFramework20GetPhysicalGPUsCountEv")(); }
    std::vector<std::string> names() const
    {
        return copy_.function<std::vector<std::string>()>("_ZN10KFramework20GetPhysicalGPUsNamesB5cxx11Ev")();
    }

private:
    kf::test::library_copy copy_;
    kf::test::import_hook<decltype(enter)> enter_;
    kf::test::import_hook<decltype(leave)> leave_;
    kf::test::import_hook<decltype(set_security)> security_;
    kf::test::import_hook<decltype(create)> create_;
    kf::test::import_hook<decltype(set_blanket)> blanket_;
};

using texts = std::vector<std::string>;

} // namespace

TEST_F(graphics_adapters, AreNamedInUtf8AndAskedForOnce)
{
    wmi.adapters = {L"First", L"Zw\x00F6lf"};
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(names(), (texts{"First", "Zw\xC3\xB6lf"}));
    EXPECT_EQ(wmi.entered, 1u);
}

TEST_F(graphics_adapters, AreAskedForByTheirNamesToo)
{
    wmi.adapters = {L"Only"};
    EXPECT_EQ(names(), texts{"Only"});
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(wmi.entered, 1u);
}

TEST_F(graphics_adapters, AreOneUnknownWhenThereIsNone)
{
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(names(), texts{"Unknown"});
    EXPECT_EQ(wmi.entered, 1u);
}

TEST_F(graphics_adapters, AreUnknownOneByOneWithoutATextForAName)
{
    wmi.adapters = {nullptr, L"Named"};
    EXPECT_EQ(count(), 2);
    EXPECT_EQ(names(), (texts{"Unknown", "Named"}));
}

TEST_F(graphics_adapters, AreFoundWhenTheProcessHasSetItsSecurityBefore)
{
    wmi.security = RPC_E_TOO_LATE;
    wmi.adapters = {L"Only"};
    EXPECT_EQ(names(), texts{"Only"});
}

TEST_F(graphics_adapters, AreNoneAfterAnyFailureAndAskedForAgain)
{
    wmi.adapters = {L"Only"};
    unsigned entered = 0;
    for (HRESULT service::*const step : {&service::enter, &service::security, &service::create,
                                         &service::connect, &service::blanket, &service::query})
    {
        wmi.*step = E_ACCESSDENIED;
        EXPECT_EQ(count(), 0);
        EXPECT_EQ(names(), texts{});
        entered += step == &service::enter ? 0 : 2;
        EXPECT_EQ(wmi.entered, entered);
        EXPECT_EQ(wmi.left, entered);
        EXPECT_EQ(wmi.living, 0u);
        wmi.*step = S_OK;
    }
    EXPECT_EQ(count(), 1);
    EXPECT_EQ(names(), texts{"Only"});
}

TEST(GraphicsAdapters, OfThisMachineHaveNames)
{
    const std::vector<std::string> names = KFramework::GetPhysicalGPUsNames();
    EXPECT_GE(names.size(), 1u);
    EXPECT_EQ(KFramework::GetPhysicalGPUsCount(), static_cast<int>(names.size()));
    for (const std::string& name : names)
        EXPECT_FALSE(name.empty());
}
