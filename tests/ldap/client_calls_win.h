#pragma once
/// An LDAP client of the test's own in place of the system's: answers from given entries, notes every call, fails the
/// chosen one, and counts what it gave and got back.

#include "KFramework/platform/ldap_win.h"

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tests/support/import_hook_win.h"

namespace kf::ldap::test
{
struct directory_attribute
{
    std::string name;                                ///< ASCII or UTF-8
    std::optional<std::vector<std::wstring>> values; ///< none: the client gives null
};
using directory_entry = std::vector<directory_attribute>;

/// What the client does; set before the call under test.
struct client_answers
{
    std::vector<directory_entry> entries;
    std::string failing;            ///< the call that fails, as it stands in the journal; "" fails none
    ULONG code = 0;                 ///< how it fails; for a session that cannot be made, the last error
    bool ssl_is_on = true;          ///< what LDAP_OPT_SSL is read as
    bool fails_with_answer = false; ///< a failing search gives a partial answer all the same
    bool gives_no_answer = false;   ///< a good search gives none
    int missing_entry = -1;         ///< the entry, from 0, that is counted and not given
};

/// One at a time.
class client_calls
{
public:
    explicit client_calls(client_answers answers = {});
    ~client_calls();
    client_calls(const client_calls&) = delete;
    client_calls& operator=(const client_calls&) = delete;

    /// The calls in order, each with what matters of it; giving memory back and reading is not among them.
    [[nodiscard]] static const std::vector<std::string>& journal();

    /// What the client gave and has not got back, and what it got back and had not given: "" when all is well.
    [[nodiscard]] static std::string imbalance();

    /// How many names, values, iterators and answers were given at all.
    [[nodiscard]] static int given();

    [[nodiscard]] static LDAP* session();

private:
    template <class Function>
    using hook = kf::test::import_hook<Function>;

    hook<LDAP*(wchar_t*, ULONG)> init_;
    hook<LDAP*(wchar_t*, ULONG, int)> ssl_init_;
    hook<ULONG(LDAP*, int, const void*)> set_option_;
    hook<ULONG(LDAP*, int, void*)> get_option_;
    hook<ULONG(LDAP*, l_timeval*)> connect_;
    hook<ULONG(LDAP*, wchar_t*, wchar_t*, ULONG)> bind_;
    hook<ULONG(LDAP*, wchar_t*, ULONG, wchar_t*, wchar_t**, ULONG, LDAPMessage**)> search_;
    hook<ULONG(LDAP*, LDAPMessage*)> count_;
    hook<LDAPMessage*(LDAP*, LDAPMessage*)> first_entry_;
    hook<LDAPMessage*(LDAP*, LDAPMessage*)> next_entry_;
    hook<wchar_t*(LDAP*, LDAPMessage*, BerElement**)> first_attribute_;
    hook<wchar_t*(LDAP*, LDAPMessage*, BerElement*)> next_attribute_;
    hook<wchar_t**(LDAP*, LDAPMessage*, wchar_t*)> values_;
    hook<ULONG(wchar_t**)> free_values_;
    hook<void(wchar_t*)> free_name_;
    hook<void(BerElement*, int)> free_iterator_;
    hook<ULONG(LDAPMessage*)> free_answer_;
    hook<ULONG()> last_error_;
    hook<ULONG(LDAP*)> unbind_;
};
} // namespace kf::ldap::test
