#pragma once
/// Owners of what the LDAP client gives.

#include "KFramework/platform/last_error_win.h"
#include "KFramework/platform/unique_resource.h"
#include "KFramework/platform/windows_win.h"

#include <winldap.h>

#include <winber.h>

namespace kf::platform
{
/// Null means none; Close gives it back.
template <class Pointer, auto Close>
struct ldap_traits
{
    using value_type = Pointer;
    static Pointer none() noexcept { return nullptr; }
    static bool valid(Pointer p) noexcept { return p != nullptr; }
    static void close(Pointer p) noexcept
    {
        const last_error_guard keep;
        Close(p);
    }
};

/// Closing one logs out.
using ldap_session = unique_resource<ldap_traits<LDAP*, [](LDAP* p) { ::ldap_unbind(p); }>>;
using ldap_answer = unique_resource<ldap_traits<LDAPMessage*, [](LDAPMessage* p) { ::ldap_msgfree(p); }>>;
/// Where a walk over an entry's attributes stands.
using ldap_iterator = unique_resource<ldap_traits<BerElement*, [](BerElement* p) { ::ber_free(p, 0); }>>;
using ldap_name = unique_resource<ldap_traits<wchar_t*, [](wchar_t* p) { ::ldap_memfreeW(p); }>>;
using ldap_values = unique_resource<ldap_traits<wchar_t**, [](wchar_t** p) { ::ldap_value_freeW(p); }>>;
} // namespace kf::platform
