#pragma once
/// Base64 and MD5, as their standards have them. KFramework/string.h includes this header.
///
/// Threads: every function may be called from any thread at any time; a digest in the making is its caller's to guard.
/// Errors: results only. Nothing is logged and nothing throws.
/// Ownership: what EncodeAlloc and DecodeAlloc give goes back through DeleteBuffer; everything else stays the
/// caller's.

#include "KFramework/export.h"

/// Base64 of any bytes: the usual alphabet with "+" and "/", padded with "=", without line breaks.
namespace KFramework::KBase64
{
/// Writes the text of some bytes.
///
/// @param out      receives at most outSize characters, and a terminating zero if one more fits; must not
///                 overlap in.
/// @param outSize  4 for each 3 bytes or part of them, and 1 for the zero; a longer text is cut.
KFRAMEWORK_API void Encode(const char* in, unsigned long long inSize, char* out, unsigned long long outSize);

/// As Encode, into a buffer of its own.
///
/// @param out  receives the terminated text, to be released with DeleteBuffer; null when inSize is so large
///             that no such buffer can be, or memory is exhausted.
/// @return  the length of the text plus 1; 0 when out is null.
/// @kept    base64-length-plus-one: the terminating zero counts.
///
///   abc => YWJj and 5
KFRAMEWORK_API unsigned long long EncodeAlloc(const char* in, unsigned long long inSize, char** out);

/// Reads a text.
///
/// @param out      receives the bytes; nothing behind them is touched and no zero is added. May be in itself.
/// @param outSize  holds the room in out, receives the bytes written.
/// @return  true when the whole text was consumed. It ends at the first character that is wrong where it
///          stands, be it a blank or a line break; the bytes before it are written all the same.
/// @kept    base64-drops-beyond-room: bytes that find no room are dropped, and the result is still true.
/// @kept    base64-unpadded-false: two or three last characters without their "=" are decoded, but not
///          consumed.
///
///   YWJj, room 3 => abc, true
///   YWJj, room 1 => a, true
///   YWI, room 3  => ab, false
KFRAMEWORK_API bool Decode(const char* in, unsigned long long inSize, char* out, unsigned long long* outSize);

/// As Decode, into a buffer of its own that holds everything.
///
/// @param out      receives the bytes and a terminating zero, to be released with DeleteBuffer; null when
///                 the result is false.
/// @param outSize  may be null; receives the bytes without the zero; unchanged when the result is false.
/// @kept    base64-no-memory-true: when memory is exhausted the result is true, out null and outSize 0.
KFRAMEWORK_API bool DecodeAlloc(const char* in, unsigned long long inSize, char** out,
                                unsigned long long* outSize);

/// Frees what EncodeAlloc or DecodeAlloc gave, and sets it to null; null is left alone.
KFRAMEWORK_API void DeleteBuffer(char** buffer);
} // namespace KFramework::KBase64

/// MD5 digests, for telling contents apart; MD5 protects nothing against anyone who means harm.
namespace KFramework::TZMd5
{
/// A digest in the making.
struct md5_state_s
{
    unsigned int count[2]; ///< bits taken so far, low word first
    unsigned int abcd[4];  ///< the chaining words
    unsigned char buf[64]; ///< the bytes that do not fill a block yet
};

/// Makes a state ready for its first byte.
KFRAMEWORK_API void md5_init(md5_state_s* state);

/// Adds bytes.
///
/// @param data    at any address.
/// @param length  in bytes; nothing happens when it is 0 or negative.
KFRAMEWORK_API void md5_append(md5_state_s* state, const unsigned char* data, int length);

/// Writes the digest. The state then needs md5_init before it is used again.
KFRAMEWORK_API void md5_finish(md5_state_s* state, unsigned char digest[16]);

/// Takes one block into the chaining words; neither the count nor the buffered bytes change.
KFRAMEWORK_API void md5_process(md5_state_s* state, const unsigned char block[64]);

/// A digest as 32 hexadecimal digits in small letters.
///
/// @param text  receives the digits and a terminating zero: 33 bytes.
/// @return  text.
KFRAMEWORK_API const char* md5_string(unsigned char digest[16], char* text);
} // namespace KFramework::TZMd5
