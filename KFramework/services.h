#pragma once
/// Passwords as derived keys.
///
/// Threads: every function may be called from any thread at any time.
/// Errors: results only. Nothing is logged, no password or key above all, and nothing throws but exhausted
/// memory.
/// Ownership: texts are passed and returned by value; arguments stay the caller's.

#include <string>

#include "KFramework/export.h"

namespace KFramework::KServices
{
// --- stored keys -------------------------------------------------------------
//
// A stored key is one line of text:
//
//     pbkdf2$COUNT$KEY$SALT
//
// COUNT is the number of rounds in decimal. KEY is 64 bytes as 128 hexadecimal digits in small letters,
// derived by PBKDF2 with HMAC-SHA-512 from the password's bytes and the salt's characters. SALT stands as it
// was given. Neither digest nor length ever changes: every stored key depends on them.

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
