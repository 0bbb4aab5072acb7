#pragma once
/// Directory access: a session with an LDAP server, a search, and what the result codes mean.
///
///     allocateSession, connectSession, bindSession, search..., unbindSession
///
/// Every text is UTF-8.
///
/// Threads: any; one thread at a time uses a session.
/// Errors: false or null, with the client's result code in *error, which errorLookup turns into text. *error is
/// left alone when nothing fails; a null error is allowed everywhere. 83 is also given for a text that cannot be
/// converted. Nothing is logged, and nothing throws but exhausted memory.
/// Ownership: a session is the caller's from allocateSession to unbindSession; found objects are the caller's.
///
/// A host refuses an empty password itself: most servers take a name with an empty password for nobody in
/// particular and say that the bind succeeded. Without SSL name and password cross the network in clear text.

#include <list>
#include <map>
#include <set>
#include <string>

#include "KFramework/export.h"

struct ldap; ///< a session of the platform's LDAP client

namespace KFramework::KLDAP
{
/// An entry that a search found.
struct KldapObject
{
    std::map<std::string, std::string> attributes; ///< name to value, as search joins it
};

/// Makes a session; no connection yet.
///
/// @param host   name or address; null: as the client takes it.
/// @param port   usually 389, with SSL 636.
/// @param ssl    0: plain. Anything else: SSL.
/// @param error  receives the system's last error when no session can be made, the client's result code when an
///               option cannot be set or read.
/// @return  a session for protocol version 3, for unbindSession; or null.
/// @kept    ldap-ssl-one: only exactly 1 also makes sure that SSL is on, and fails where it cannot be turned on.
KFRAMEWORK_API ldap* allocateSession(const char* host, int port, int ssl, unsigned int* error);

/// Connects, and waits for that as long as the client does by itself.
///
/// @param session  not null.
KFRAMEWORK_API bool connectSession(ldap* session, unsigned int* error);

/// Logs in with a name and a password (a simple bind).
///
/// @param session   not null.
/// @param name      a distinguished name, or what else the server takes.
/// @param password  passed on as it is; its converted copy is wiped.
/// @param unused    may be null.
/// @param error     49 for a wrong name or password.
/// @kept    ldap-empty-password: an empty or null password is not refused here, and usually succeeds.
/// @kept    ldap-map-unused: the map is neither read nor written.
KFRAMEWORK_API bool bindSession(ldap* session, const char* name, const char* password,
                                std::map<std::string, std::string>* unused, unsigned int* error);

/// Finds the entries below a place, that place included.
///
/// @param session     not null.
/// @param base        a distinguished name.
/// @param filter      passed on as it is: escape what comes from people.
/// @param attributes  which to ask for, in the set's order. Empty or null: the client gets an empty list, which
///                    servers take for all.
/// @param results     receives one object for each entry, behind what it holds, in the server's order; delete
///                    them. Null: they are not kept.
/// @return  false when the search fails, with nothing added: 4 when the server knows more than it may give.
/// @kept    ldap-joined-values: the values of an attribute are joined with "," in the server's order, and a ","
///          inside a value is not escaped.
/// @kept    ldap-first-name: a name that comes twice in an entry keeps its first value.
/// @kept    ldap-bare-entry: an entry without attributes adds no object.
/// @kept    ldap-entry-error: when the client cannot give an entry that it has counted, *error tells why and
///          the search ends, but the result is true.
///
///   values a, b and c => a,b,c
///   no values         => (empty)
KFRAMEWORK_API bool search(ldap* session, const char* base, const char* filter,
                           std::set<std::string>* attributes, std::list<KldapObject*>* results,
                           unsigned int* error);

/// Logs out and frees the session.
///
/// @param session  not used again; null is allowed.
KFRAMEWORK_API void unbindSession(ldap* session);

/// What a result code means, in English.
///
/// @return  a static text; "Undefined error." for a code without one.
/// @kept    ldap-error-texts: the texts of 80 and 86 begin with a blank, and 94 has the text of 92.
///
///   0  => Successful request.
///   49 => The supplied credential is invalid.
KFRAMEWORK_API const char* errorLookup(int code);
} // namespace KFramework::KLDAP
