#include "KFramework/services/session_keys_win.h"

#include <algorithm>
#include <string>

#include "KFramework/platform/handles_win.h"
#include "KFramework/platform/sessions_win.h"
#include "KFramework/services/session_keys.h"
#include "KFramework/string.h"

namespace kf::services
{
namespace
{
using platform::unique_registry_key;
using platform::user_identifier;

constexpr DWORD kNameCharacters = 260;
constexpr DWORD kSessionNameBytes = 1024;
constexpr DWORD kAccountCharacters = 512;
constexpr const wchar_t* kSessionName = L"SESSIONNAME";
constexpr const wchar_t* kEnvironment = L"\\Volatile Environment";

unique_registry_key open_key(HKEY parent, const wchar_t* path)
{
    HKEY key = nullptr;
    if (::RegOpenKeyExW(parent, path, 0, KEY_READ, &key) != ERROR_SUCCESS)
        return {};
    return unique_registry_key(key);
}

/// Calls act with the name of every key below one.
template <class Act>
void for_each_key(const unique_registry_key& key, Act act)
{
    wchar_t name[kNameCharacters];
    for (DWORD index = 0;; ++index)
    {
        DWORD length = kNameCharacters;
        const LSTATUS code =
            ::RegEnumKeyExW(key.get(), index, name, &length, nullptr, nullptr, nullptr, nullptr);
        if (code == ERROR_SUCCESS)
            act(name);
        else if (code != ERROR_MORE_DATA) // a name without room is passed over
            return;
    }
}

bool is_user(wchar_t* name)
{
    const std::string text = KFramework::KStringHelper::WideStringToUtf8String(name);
    const auto parts = may_be_user_key(text) ? read_identifier(text) : std::nullopt;
    if (!parts)
        return false;

    SID_IDENTIFIER_AUTHORITY authority;
    static_assert(sizeof authority.Value == kAuthorityBytes);
    std::copy(parts->authority.begin(), parts->authority.end(), authority.Value);
    const auto& sub = parts->sub_authorities;
    user_identifier identifier;
    if (!::AllocateAndInitializeSid(&authority, parts->count, sub[0], sub[1], sub[2], sub[3], sub[4], sub[5],
                                    sub[6], sub[7], identifier.put()))
        return false;

    wchar_t account[kAccountCharacters], domain[kAccountCharacters];
    DWORD account_size = kAccountCharacters, domain_size = kAccountCharacters;
    SID_NAME_USE use = SidTypeUnknown;
    return ::LookupAccountSidW(nullptr, identifier.get(), account, &account_size, domain, &domain_size,
                               &use) &&
           use == SidTypeUser;
}

/// 1 when the key has a session's name.
int sessions_of(const unique_registry_key& key)
{
    // KEPT[old-logons-remote]: the name is not looked at; that of the console counts as remote too.
    unsigned char name[kSessionNameBytes];
    DWORD size = kSessionNameBytes;
    return ::RegQueryValueExW(key.get(), kSessionName, nullptr, nullptr, name, &size) == ERROR_SUCCESS ? 1
                                                                                                       : 0;
}
} // namespace

bool count_session_keys(int& remote_count)
{
    const unique_registry_key users = open_key(HKEY_USERS, nullptr);
    if (!users)
        return false;
    const auto count_user = [&](wchar_t* name)
    {
        if (!is_user(name))
            return;
        const unique_registry_key environment =
            open_key(users.get(), (name + std::wstring(kEnvironment)).c_str());
        if (!environment)
            return;
        remote_count += sessions_of(environment);
        for_each_key(environment,
                     [&](const wchar_t* session)
                     {
                         const unique_registry_key key = open_key(environment.get(), session);
                         if (key)
                             remote_count += sessions_of(key);
                     });
    };
    for_each_key(users, count_user);
    return true;
}
} // namespace kf::services
