#include <algorithm>
#include <memory>
#include <vector>

#include "KFramework/ldap.h"
#include "KFramework/ldap/wide_text_win.h"
#include "KFramework/platform/ldap_win.h"
#include "KFramework/string.h"

namespace
{
using kf::ldap::report;
using kf::ldap::wide_text;
using kf::platform::ldap_answer;
using kf::platform::ldap_iterator;
using kf::platform::ldap_name;
using kf::platform::ldap_values;
using KFramework::KLDAP::KldapObject;
using KFramework::KStringHelper::WideStringToUtf8String;

/// Attribute names as the client wants them.
class name_list
{
public:
    explicit name_list(const std::set<std::string>* names)
    {
        if (names != nullptr)
            for (const std::string& name : *names)
                texts_.emplace_back(name.c_str());
        for (wide_text& text : texts_)
            pointers_.push_back(text.get());
        pointers_.push_back(nullptr);
    }

    [[nodiscard]] wchar_t** get() noexcept { return pointers_.data(); }
    [[nodiscard]] bool failed() const { return std::ranges::any_of(texts_, &wide_text::failed); }

private:
    std::vector<wide_text> texts_;
    std::vector<wchar_t*> pointers_;
};

std::string joined_values(LDAP* session, LDAPMessage* entry, wchar_t* name)
{
    const ldap_values values(::ldap_get_valuesW(session, entry, name));
    std::string joined;
    if (!values)
        return joined;
    // KEPT[ldap-joined-values]: a "," inside a value stays as it is.
    for (wchar_t** value = values.get(); *value != nullptr; ++value)
    {
        if (value != values.get())
            joined += ',';
        joined += WideStringToUtf8String(*value);
    }
    return joined;
}

/// Null for an entry without attributes.
std::unique_ptr<KldapObject> read_entry(LDAP* session, LDAPMessage* entry)
{
    std::unique_ptr<KldapObject> object;
    ldap_iterator place;
    ldap_name name(::ldap_first_attributeW(session, entry, place.put()));
    while (name)
    {
        if (!object) // KEPT[ldap-bare-entry]
            object = std::make_unique<KldapObject>();
        // KEPT[ldap-first-name]: emplace changes nothing that is there.
        object->attributes.emplace(WideStringToUtf8String(name.get()),
                                   joined_values(session, entry, name.get()));
        name.reset(::ldap_next_attributeW(session, entry, place.get()));
    }
    return object;
}

void collect_entries(LDAP* session, LDAPMessage* answer, std::list<KldapObject*>* results,
                     unsigned int* error)
{
    const ULONG count = ::ldap_count_entries(session, answer);
    LDAPMessage* entry = nullptr;
    for (ULONG i = 0; i < count; ++i)
    {
        entry = i == 0 ? ::ldap_first_entry(session, answer) : ::ldap_next_entry(session, entry);
        if (entry == nullptr)
        {
            // KEPT[ldap-entry-error]: what has been found so far counts.
            report(error, ::LdapGetLastError());
            return;
        }
        std::unique_ptr<KldapObject> object = read_entry(session, entry);
        if (object && results != nullptr)
        {
            results->push_back(object.get());
            static_cast<void>(object.release()); // the list's from here
        }
    }
}
} // namespace

namespace KFramework::KLDAP
{
bool search(ldap* session, const char* base, const char* filter, std::set<std::string>* attributes,
            std::list<KldapObject*>* results, unsigned int* error)
{
    wide_text wide_base(base), wide_filter(filter);
    name_list names(attributes);
    if (wide_base.failed() || wide_filter.failed() || names.failed())
    {
        report(error, LDAP_ENCODING_ERROR);
        return false;
    }
    ldap_answer answer;
    const ULONG code = ::ldap_search_sW(session, wide_base.get(), LDAP_SCOPE_SUBTREE, wide_filter.get(),
                                        names.get(), FALSE, answer.put());
    if (code != LDAP_SUCCESS)
    {
        report(error, code);
        return false;
    }
    if (answer)
        collect_entries(session, answer.get(), results, error);
    return true;
}
} // namespace KFramework::KLDAP
