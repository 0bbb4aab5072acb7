#pragma once
/// Owners of COM's resources. The apartment is declared before what lives in it.

#include "KFramework/platform/unique_resource.h"
#include "KFramework/platform/windows_win.h"

#include <objbase.h>
#include <oleauto.h>

namespace kf::platform
{
/// COM on the calling thread for as long as this lives.
class com_apartment
{
public:
    com_apartment() noexcept : result_(::CoInitializeEx(nullptr, COINIT_MULTITHREADED)) {}
    ~com_apartment()
    {
        if (entered())
            ::CoUninitialize();
    }
    com_apartment(const com_apartment&) = delete;
    com_apartment& operator=(const com_apartment&) = delete;

    bool entered() const noexcept { return SUCCEEDED(result_); }

private:
    HRESULT result_;
};

/// Null means none: a counted interface.
template <class Interface>
struct interface_traits
{
    using value_type = Interface*;
    static Interface* none() noexcept { return nullptr; }
    static bool valid(Interface* p) noexcept { return p != nullptr; }
    static void close(Interface* p) noexcept { p->Release(); }
};
template <class Interface>
using com_interface = unique_resource<interface_traits<Interface>>;

/// Null means none: a text that SysAllocString gave.
struct automation_text_traits
{
    using value_type = BSTR;
    static BSTR none() noexcept { return nullptr; }
    static bool valid(BSTR text) noexcept { return text != nullptr; }
    static void close(BSTR text) noexcept { ::SysFreeString(text); }
};
using automation_text = unique_resource<automation_text_traits>;

/// A VARIANT that clears itself.
class automation_value
{
public:
    automation_value() noexcept { ::VariantInit(&value_); }
    ~automation_value() { ::VariantClear(&value_); }
    automation_value(const automation_value&) = delete;
    automation_value& operator=(const automation_value&) = delete;

    VARIANT* put() noexcept
    {
        ::VariantClear(&value_);
        return &value_;
    }
    /// The text it holds; null for any other type.
    BSTR text() const noexcept { return V_VT(&value_) == VT_BSTR ? V_BSTR(&value_) : nullptr; }

private:
    VARIANT value_;
};
} // namespace kf::platform
