#pragma once
/// Windows services, the machine's sleep, and passwords as derived keys.
///
/// Threads: every function may be called from any thread at any time, except where it says otherwise.
/// Errors: results only. Installing and removing a service also print what came of it, for the person at the
/// console. Nothing is logged, no password or key above all, and nothing throws but exhausted memory.
/// Ownership: texts are passed and returned by value; arguments stay the caller's.

#include <string>

#include "KFramework/export.h"

namespace KFramework::KServices
{
// --- services ------------------------------------------------------------------

/// Installs the running program as a service of this machine, and prints what came of it.
///
/// The service has a process of its own, is started by hand, and its errors at start are ignored.
///
/// @param name             the service manager's name for it; not null.
/// @param displayName      what people see; may be null: the name.
/// @param description      a sentence for people; may be null: none.
/// @param account          whom it runs as, for example L".\\farm"; used only when account and password are
///                         both neither null nor empty. Else the service runs as the local system.
/// @param password         the account's. Reaches the service manager in clear text and is not kept here.
/// @param argumentsSuffix  what follows the program's path; null counts as empty.
/// @return  false when the service manager cannot be opened or creates no such service.
/// @threads any.
/// @kept    suffix-as-given: the command line is the program's full path, without quotes and cut to what fits
///          into 260 characters, and directly behind it the suffix, which brings its own blank. Install a
///          program in a folder without blanks, in which only administrators may write: the system looks for
///          C:\a.exe before C:\a b\c.exe.
/// @kept    account-with-password: an account without a password is not used.
/// @kept    description-unchecked: a service whose description cannot be set is installed all the same.
/// @kept    service-texts: the texts, their wording and the line ends around them are fixed:
///
///     "\nService installed successfully.\n"
///     "\nCannot install the service. You could haven't enough permissions or the service could be already installed.\n"
///     "\nCannot connect to the service control manager.\n"
///
///   C:\farm\worker.exe, L" run" => C:\farm\worker.exe run
KFRAMEWORK_API bool InstallWin32Service(const wchar_t* name, const wchar_t* displayName,
                                        const wchar_t* description, const wchar_t* account,
                                        const wchar_t* password, const wchar_t* argumentsSuffix);

/// Removes a service, and prints what came of it; one that runs goes when it has stopped.
///
/// @param name  as it was installed; not null.
/// @return  false when the service manager or the service cannot be opened.
/// @threads any.
/// @kept    removal-unchecked: true, and the text says so, once the service could be opened for removal, even
///          when the service manager then refuses.
///
///     "\nService removed successfully.\n"
///     "\nCannot remove the service. You could haven't enough permissions or the service could be not installed.\n"
///     "\nCannot connect to the service control manager.\n"
KFRAMEWORK_API bool UninstallWin32Service(const wchar_t* name);

/// Runs the program's one service: hands its main function to the service manager.
///
/// @param name         as it was installed.
/// @param serviceMain  an LPSERVICE_MAIN_FUNCTIONW, not null; runs on a thread of its own.
/// @return  after the service has stopped: true. At once: false, when the service manager did not start this
///          process.
/// @threads the program's main thread, once.
KFRAMEWORK_API bool RegisterWin32Service(const wchar_t* name, void* serviceMain);

/// Nothing, on this platform.
///
/// @return  true.
/// @kept    fork-does-nothing: programs call it everywhere before they run as a service.
KFRAMEWORK_API bool ForkAndDaemon(int);

// --- power -----------------------------------------------------------------------

/// The process-wide power-save flag: false until somebody sets it.
KFRAMEWORK_API bool GetPowerSaveState();

/// Sets the flag; other threads may see it late.
///
/// @kept    power-flag-only: nothing else happens. What the flag means is the program's business.
KFRAMEWORK_API void SetPowerSaveState(bool save);

/// Keeps the machine awake, or lets it sleep again.
///
/// @param keepAwake  true holds until the calling thread says false or ends: one long-lived thread says both.
/// @kept    away-mode-first: awake is first asked for with away mode (0x80000041), so that the machine works on
///          when a person puts it to sleep; where the system refuses that, without (0x80000001).
KFRAMEWORK_API void SetSystemSleepStatus(bool keepAwake);

// --- logons ------------------------------------------------------------------------

/// Counts the active logons of this machine.
///
/// @param consoleCount  raised by one for each that sits at the machine; set to 0 before the call. May be null.
/// @param remoteCount   the same for each remote one.
/// @return  false when the system does not let the logons be examined: the counters say nothing then.
/// @kept    logons-added: the counters are added to, and set to 0 by the caller alone.
/// @kept    logons-not-people: a person has as many logons as the system made; with user account control, an
///          administrator has two.
/// @kept    old-logons-remote: systems before version 5.2 do not tell who sits at the machine: all logons count as
///          remote there, and consoleCount is set to 0.
KFRAMEWORK_API bool IsSomeoneLogged(int* consoleCount, int* remoteCount);

// --- stored keys -------------------------------------------------------------
//
// A stored key is one line of text:
//
//     pbkdf2$COUNT$KEY$SALT
//
// COUNT is the number of rounds in decimal. KEY is 64 bytes as 128 hexadecimal digits in small letters,
// derived by PBKDF2 with HMAC-SHA-512 from the password's bytes and the salt's characters. SALT stands as it
// was given. Neither digest nor length ever changes: every stored key depends on them. docs/file-formats.md has an
// example. The machine's OpenSSL configuration is not read.

/// A salt for GeneratePBKDF2Key, from the C runtime's rand().
///
/// @return  64 hexadecimal digits in small letters: 32 draws of rand(), modulo 256 each.
/// @threads any; where the runtime keeps the generator's state per thread, each thread has its own draws.
/// @kept    salt-draws: 64 values are drawn and the first 32 used.
/// @kept    salt-unseeded: nothing here seeds the generator. In a thread that never called srand() the first
///          salt is the same in every process. A host seeds once in each thread that makes salts, with a
///          value that nobody can guess:
///
///     std::srand(std::random_device{}());
///
///          rand() stays a weak source all the same. A host that has a better one passes salts of its own: any
///          text that is not empty and holds no "$".
KFRAMEWORK_API std::string GenerateRandomSalt();

/// Derives a key and writes it as a stored key.
///
/// @param password    its whole length counts, bytes of 0 too, save those at its end: HMAC fills up with such
///                    bytes, to 128. May be empty when the salt is not.
/// @param salt        never give an empty one: see empty-salt.
/// @param iterations  rounds; the time taken is proportional to it. There is no default.
/// @return  the stored key; empty when password and salt are both empty, and when the key cannot be derived:
///          do not store an empty text.
/// @kept    salt-as-text: the salt's characters are used, not the bytes that hexadecimal digits stand for.
/// @kept    rounds-as-given: a count below 1 derives with one round, and stands in the text as it was given.
/// @kept    empty-salt: a key made with an empty salt ends in "$" and is no stored key to VerifyPBKDF2Key: the
///          right password fails, and the text itself passes for the password.
///
///   "password", "salt", 1 => pbkdf2$1$867f70cf1ade02cf...60a57fce$salt
///   "password", "",     1 => pbkdf2$1$...$, which must not be stored
///   "",         "",     1 => (empty)
KFRAMEWORK_API std::string GeneratePBKDF2Key(const std::string& password, const std::string& salt,
                                             int iterations);

/// Whether a password belongs to a stored key.
///
/// @param stored    a stored key, or a password in clear text from before there were keys. Whoever can write
///                  it chooses how long this call takes: the count in it is used as it stands.
/// @param password  the candidate.
/// @return  for a text of at least four fields between "$" of which the first is "pbkdf2": whether the key
///          made from the password, the fourth field and the count is that text. For any other text: whether
///          password and text are equal. How long the comparison takes depends on the lengths alone.
/// @kept    key-as-written: the whole text is compared, so capital digits, a count with zeros before it or
///          anything after it, and a fifth field never verify.
/// @kept    clear-text-entries: a text that is no stored key is compared as it stands.
KFRAMEWORK_API bool VerifyPBKDF2Key(const std::string& stored, const std::string& password);
} // namespace KFramework::KServices
