#include "tests/ldap/client_calls_win.h"

#include <set>

#include "KFramework/string.h"

namespace kf::ldap::test
{
namespace
{
using KFramework::KStringHelper::Utf8StringToWideString;
using KFramework::KStringHelper::WideStringToUtf8String;

client_answers answers;
std::vector<std::string> calls;
std::multiset<std::pair<std::string, const void*>> held;
int given_in_all = 0;
std::string wrongly_used;

LDAP the_session;
LDAPMessage the_answer;
std::vector<LDAPMessage> messages;
struct iterator
{
    std::size_t next;
};

void give(const char* kind, const void* what)
{
    held.emplace(kind, what);
    ++given_in_all;
}

bool take_back(const char* kind, const void* what)
{
    const auto found = held.find({kind, what});
    if (found == held.end())
    {
        wrongly_used += std::string(kind) + " freed that is not held; ";
        return false;
    }
    held.erase(found);
    return true;
}

std::string text_of(wchar_t* text)
{
    return text == nullptr ? "(null)" : WideStringToUtf8String(text);
}

/// The result code.
ULONG note(const std::string& call)
{
    calls.push_back(call);
    return call == answers.failing ? answers.code : ULONG{LDAP_SUCCESS};
}

LDAP* note_session(const std::string& call)
{
    if (note(call) != LDAP_SUCCESS)
    {
        ::SetLastError(answers.code);
        return nullptr;
    }
    give("session", &the_session);
    return &the_session;
}

LDAP* init(wchar_t* host, ULONG port)
{
    return note_session("init " + text_of(host) + " " + std::to_string(port));
}

LDAP* ssl_init(wchar_t* host, ULONG port, int secure)
{
    return note_session("sslinit " + text_of(host) + " " + std::to_string(port) + " " +
                        std::to_string(secure));
}

ULONG set_option(LDAP*, int option, const void* value)
{
    if (option == LDAP_OPT_PROTOCOL_VERSION)
        return note("set version " + std::to_string(*static_cast<const ULONG*>(value)));
    if (option == LDAP_OPT_SSL)
        return note(value == LDAP_OPT_ON ? "set ssl on" : "set ssl otherwise");
    return note("set option " + std::to_string(option));
}

ULONG get_option(LDAP*, int option, void* value)
{
    if (option == LDAP_OPT_SSL)
        *static_cast<ULONG*>(value) = answers.ssl_is_on ? 1 : 0;
    if (option == LDAP_OPT_SSL_INFO)
        *static_cast<SecPkgContext_ConnectionInfo*>(value) = {};
    return note(option == LDAP_OPT_SSL        ? "get ssl"
                : option == LDAP_OPT_SSL_INFO ? "get ssl information"
                                              : "get option " + std::to_string(option));
}

ULONG connect(LDAP* session, l_timeval* patience)
{
    return note(session == &the_session && patience == nullptr ? "connect" : "connect otherwise");
}

ULONG bind(LDAP* session, wchar_t* name, wchar_t* password, ULONG method)
{
    return note(session == &the_session && method == LDAP_AUTH_SIMPLE
                    ? "bind " + text_of(name) + " " + text_of(password)
                    : "bind otherwise");
}

ULONG search(LDAP*, wchar_t* base, ULONG scope, wchar_t* filter, wchar_t** names, ULONG only_names,
             LDAPMessage** answer)
{
    std::string call = "search " + text_of(base) + " " + text_of(filter) + " for";
    for (; *names != nullptr; ++names)
        call += " " + text_of(*names);
    if (scope != LDAP_SCOPE_SUBTREE || only_names != 0)
        call += " otherwise";
    const ULONG code = note(call);
    if (answers.gives_no_answer || (code != LDAP_SUCCESS && !answers.fails_with_answer))
        return code;
    give("answer", &the_answer);
    *answer = &the_answer;
    return code;
}

ULONG count(LDAP*, LDAPMessage* answer)
{
    if (answer != &the_answer)
    {
        wrongly_used += "entries counted of no answer; ";
        return 0;
    }
    return static_cast<ULONG>(messages.size());
}

LDAPMessage* entry_at(std::size_t index)
{
    return static_cast<int>(index) == answers.missing_entry || index >= messages.size() ? nullptr
                                                                                        : &messages[index];
}

LDAPMessage* first_entry(LDAP*, LDAPMessage*)
{
    return entry_at(0);
}

std::size_t index_of(LDAPMessage* entry)
{
    return static_cast<std::size_t>(entry - messages.data());
}

LDAPMessage* next_entry(LDAP*, LDAPMessage* entry)
{
    return entry_at(index_of(entry) + 1);
}

wchar_t* name_at(LDAPMessage* entry, iterator& place)
{
    const directory_entry& attributes = answers.entries[index_of(entry)];
    if (place.next >= attributes.size())
        return nullptr;
    const std::wstring name = Utf8StringToWideString(attributes[place.next++].name);
    auto* const copy = new wchar_t[name.size() + 1];
    copy[name.copy(copy, name.size())] = L'\0';
    give("name", copy);
    return copy;
}

wchar_t* first_attribute(LDAP*, LDAPMessage* entry, BerElement** place)
{
    auto* const made = new iterator{0};
    give("iterator", made);
    *place = reinterpret_cast<BerElement*>(made);
    return name_at(entry, *made);
}

wchar_t* next_attribute(LDAP*, LDAPMessage* entry, BerElement* place)
{
    return name_at(entry, *reinterpret_cast<iterator*>(place));
}

/// The values of the attribute whose name was given last: two attributes of an entry may have one name.
wchar_t** values(LDAP*, LDAPMessage* entry, wchar_t* name)
{
    const directory_attribute* wanted = nullptr;
    for (const auto& [kind, what] : held)
        if (kind == "iterator")
            wanted = &answers.entries[index_of(entry)][static_cast<const iterator*>(what)->next - 1];
    if (wanted == nullptr || wanted->name != text_of(name) || !wanted->values)
        return nullptr;
    auto* const list = new wchar_t*[wanted->values->size() + 1];
    std::size_t at = 0;
    for (const std::wstring& value : *wanted->values)
        list[at++] = const_cast<wchar_t*>(value.c_str());
    list[at] = nullptr;
    give("values", list);
    return list;
}

ULONG free_values(wchar_t** list)
{
    if (take_back("values", list))
        delete[] list;
    return LDAP_SUCCESS;
}

void free_name(wchar_t* name)
{
    if (take_back("name", name))
        delete[] name;
}

void free_iterator(BerElement* place, int with_buffer)
{
    if (with_buffer != 0)
        wrongly_used += "an iterator with its buffer; ";
    if (take_back("iterator", place))
        delete reinterpret_cast<iterator*>(place);
}

ULONG free_answer(LDAPMessage* answer)
{
    take_back("answer", answer);
    return LDAP_SUCCESS;
}

ULONG last_error()
{
    return note("ask for the last error") + LDAP_DECODING_ERROR;
}

ULONG unbind(LDAP* session)
{
    take_back("session", session);
    return note("unbind");
}
} // namespace

client_calls::client_calls(client_answers wanted)
    : init_("ldap_initW", &init), ssl_init_("ldap_sslinitW", &ssl_init),
      set_option_("ldap_set_optionW", &set_option), get_option_("ldap_get_optionW", &get_option),
      connect_("ldap_connect", &connect), bind_("ldap_bind_sW", &bind), search_("ldap_search_sW", &search),
      count_("ldap_count_entries", &count), first_entry_("ldap_first_entry", &first_entry),
      next_entry_("ldap_next_entry", &next_entry),
      first_attribute_("ldap_first_attributeW", &first_attribute),
      next_attribute_("ldap_next_attributeW", &next_attribute), values_("ldap_get_valuesW", &values),
      free_values_("ldap_value_freeW", &free_values), free_name_("ldap_memfreeW", &free_name),
      free_iterator_("ber_free", &free_iterator), free_answer_("ldap_msgfree", &free_answer),
      last_error_("LdapGetLastError", &last_error), unbind_("ldap_unbind", &unbind)
{
    answers = std::move(wanted);
    calls.clear();
    held.clear();
    given_in_all = 0;
    wrongly_used.clear();
    messages = std::vector<LDAPMessage>(answers.entries.size());
}

client_calls::~client_calls() = default;

const std::vector<std::string>& client_calls::journal()
{
    return calls;
}

std::string client_calls::imbalance()
{
    std::string text = wrongly_used;
    for (const auto& [kind, what] : held)
        text += kind + " not freed; ";
    return text;
}

int client_calls::given()
{
    return given_in_all;
}

LDAP* client_calls::session()
{
    return &the_session;
}
} // namespace kf::ldap::test
