#include <cstdint>

#include "KFramework/ldap.h"
#include "KFramework/ldap/wide_text_win.h"
#include "KFramework/platform/ldap_win.h"

namespace
{
using kf::ldap::report;
using kf::ldap::wide_text;
using kf::platform::ldap_session;

constexpr ULONG kProtocolVersion = 3;

/// Turns SSL on where it is not; gives the client's result code.
[[nodiscard]] ULONG make_sure_of_ssl(const ldap_session& session)
{
    std::uintptr_t is_on = 0; // room for either size that clients write
    const ULONG error = ::ldap_get_optionW(session.get(), LDAP_OPT_SSL, &is_on);
    if (error != LDAP_SUCCESS || is_on != 0)
        return error;
    return ::ldap_set_optionW(session.get(), LDAP_OPT_SSL, LDAP_OPT_ON);
}
} // namespace

namespace KFramework::KLDAP
{
ldap* allocateSession(const char* host, int port, int ssl, unsigned int* error)
{
    wide_text wide_host(host);
    if (wide_host.failed())
    {
        report(error, LDAP_ENCODING_ERROR);
        return nullptr;
    }
    const auto number = static_cast<ULONG>(port);
    ldap_session session(ssl != 0 ? ::ldap_sslinitW(wide_host.get(), number, 1)
                                  : ::ldap_initW(wide_host.get(), number));
    if (!session)
    {
        report(error, ::GetLastError());
        return nullptr;
    }
    ULONG code = ::ldap_set_optionW(session.get(), LDAP_OPT_PROTOCOL_VERSION, &kProtocolVersion);
    // KEPT[ldap-ssl-one]: other values than 1 leave it to the client.
    if (code == LDAP_SUCCESS && ssl == 1)
        code = make_sure_of_ssl(session);
    if (code != LDAP_SUCCESS)
    {
        report(error, code);
        return nullptr;
    }
    return session.release();
}

bool connectSession(ldap* session, unsigned int* error)
{
    const ULONG code = ::ldap_connect(session, nullptr);
    if (code != LDAP_SUCCESS)
        report(error, code);
    return code == LDAP_SUCCESS;
}

// KEPT[ldap-map-unused]
bool bindSession(ldap* session, const char* name, const char* password,
                 std::map<std::string, std::string>* /*unused*/, unsigned int* error)
{
    wide_text wide_name(name), wide_password(password);
    if (wide_name.failed() || wide_password.failed())
    {
        report(error, LDAP_ENCODING_ERROR); // an empty password in its place might be let in
        return false;
    }
    // KEPT[ldap-empty-password]
    const ULONG code = ::ldap_bind_sW(session, wide_name.get(), wide_password.get(), LDAP_AUTH_SIMPLE);
    if (code != LDAP_SUCCESS)
    {
        report(error, code);
        return false;
    }
    SecPkgContext_ConnectionInfo encryption{}; // for who watches the client; not used
    ::ldap_get_optionW(session, LDAP_OPT_SSL_INFO, &encryption);
    return true;
}

void unbindSession(ldap* session)
{
    const ldap_session closed_here(session);
}
} // namespace KFramework::KLDAP
