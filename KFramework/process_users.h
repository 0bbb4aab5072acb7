#pragma once
/// Other users' accounts, and what happens to the machine as a whole: shutting down, sleeping, waking another one.
/// Part of process.h.
///
/// Threads: any, save where a function says otherwise. Impersonation belongs to the calling thread alone; nothing else
/// is kept between calls.
/// Errors: results, and the error texts where there are some; nothing is logged.
/// Ownership: a token is the caller's from LogonUserW until LogoutUser, or until ImpersonateUser fails.

#include <string>

#include "KFramework/export.h"

namespace KFramework::KProcesses
{
// --- users -------------------------------------------------------------------

/// Logs a user on to this machine, interactively, with the system's own way of checking.
///
/// @param user      account, or account@domain, in UTF-8; null counts as empty.
/// @param password  in UTF-8; null counts as empty. Its wide copy is wiped before this returns.
/// @param token     receives the token, and null on failure. Null gives false and touches nothing.
/// @param error     "LogonUser() failed, error " and the system's error code on failure; otherwise untouched.
/// @owns    the caller ends the logon with LogoutUser. SpawnProcess takes the token.
/// @kept    user-first-at: the first "@" ends the account; without one no domain is given.
///
///   "render@farm"  =>  account render, domain farm
///   "a@b@c"        =>  account a, domain b@c
KFRAMEWORK_API bool LogonUserW(const char* user, const char* password, void** token, std::string& error);

/// Lets the calling thread act as a user, until RevertUserImpersonation.
///
/// @param token  stays the caller's on success. Null: nothing happens, and the result is true.
/// @param error  "ImpersonateLoggedOnUser() failed, error " and the system's error code on failure; otherwise
///               untouched.
/// @kept    impersonation-takes-token: on failure the token is closed; do not use or close it again.
KFRAMEWORK_API bool ImpersonateUser(void* token, std::string& error);

/// Ends the calling thread's impersonation.
///
/// @param token  null: nothing happens. Any other ends what there is; it stays the caller's.
/// @return  true.
/// @kept    users-always-true: here and in LogoutUser, whatever the system says.
KFRAMEWORK_API bool RevertUserImpersonation(void* token);

/// Closes a token. Null does nothing.
///
/// @return  true.
KFRAMEWORK_API bool LogoutUser(void* token);

// --- the machine ---------------------------------------------------------------

/// Shuts down, suspends or restarts this machine, or logs its users off. Unsaved work is lost.
///
/// @param event  0 shuts down at once, 1 puts to sleep, 2 hibernates, 3 restarts, 4 logs every active session off.
/// @return  events 0 to 3: whether the system took the request. False also when the process may not ask at all,
///          and for every other number, which does nothing.
/// @threads any, one at a time: the privilege is the process's. Not while the thread acts as a user, whose rights the
///          system would look at.
/// @kept    event-numbers: the order is sleep, hibernate, restart.
/// @kept    event-text-unused: the text is ignored.
/// @kept    log-off-false: event 4 gives false, even when every session was logged off.
///
/// The process's shutdown privilege is enabled for the request and put back as it was when the request fails, or when
/// the number names no event. It stays enabled when the request works; that of event 4 works when the sessions could
/// be listed and each active one was logged off, though the result is false.
KFRAMEWORK_API bool SendSystemEvent(int event, std::string);

/// Nothing.
///
/// @kept    custom-event-nothing: programs call it on every platform.
KFRAMEWORK_API void SendCustomEvent(std::string);

/// Wakes another machine: broadcasts its magic packet in the local network. The host starts Windows Sockets first.
///
/// @param mac   hardware address: 12 hexadecimal digits, with ":" and "-" anywhere between them.
/// @param port  UDP, 0 to 65535; machines listen on 7 or 9.
/// @return  true when the whole packet was sent, which says nothing about the other machine; false at once when mac
///          has not 12 characters besides ":" and "-".
/// @kept    wake-loose-digits: characters are not checked; each two are read as far as they are a hexadecimal
///          number.
///
///   "00:11:22:33:44:55", "00-11-22-33-44-55", "001122334455"  =>  the same packet
///   "zz1122334455"  =>  first byte 0
KFRAMEWORK_API bool SendWOL(std::string mac, int port);
} // namespace KFramework::KProcesses
