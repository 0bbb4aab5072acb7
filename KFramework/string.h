#pragma once
/// Conversions, trimming, tokenizers, text encodings and small text files, on byte strings that hold UTF-8 or
/// any code page.
///
/// Threads: every function may be called from any thread at any time; none keeps state. A string that is
/// edited in place is the caller's to guard.
/// Errors: results only. Nothing is logged, and nothing throws but exhausted memory.
/// Ownership: everything is passed and returned by value; arguments stay the caller's.
/// Letters are those of the "C" locale, whatever locale the host has set: bytes above 127 pass unchanged.
/// Every function takes time linear in the size of its arguments.

#include <list>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "KFramework/codecs.h"
#include "KFramework/export.h"

namespace KFramework::KStringHelper
{
// --- numbers ---------------------------------------------------------------

/// Decimal, with a minus sign when negative, without padding or grouping.
KFRAMEWORK_API std::string FromInt(int value);

/// As FromInt.
KFRAMEWORK_API std::string FromLong(long value);

/// As FromInt.
KFRAMEWORK_API std::string FromInt64(long long value);

/// As FromInt.
KFRAMEWORK_API std::string FromUnsignedInt(unsigned int value);

/// As FromInt.
KFRAMEWORK_API std::string FromUnsignedInt64(unsigned long long value);

/// Decimal of the low 32 bits.
///
/// @kept    sizet-low-bits: the upper 32 bits are dropped; FromUnsignedInt64 writes them all.
///
///   4294967295 => 4294967295
///   4294967297 => 1
KFRAMEWORK_API std::string FromSizet(unsigned long long value);

/// A time as a plain number.
///
/// @param seconds  any value; no date is made of it.
KFRAMEWORK_API std::string FromTime(long long seconds);

/// "1" for true, "0" for false.
KFRAMEWORK_API std::string FromBool(bool value);

/// Fixed notation for a value with a fraction, a plain integer for one without.
///
/// @param precision  digits after the point, 0 or more; a negative one counts as 6. Rounded as a stream
///                   rounds.
/// @return  "inf", "-inf" and "nan" for what is no number: they count as fractional.
/// @kept    integral-without-point: a value without a fraction has neither point nor zeros, whatever the
///          precision.
/// @kept    double-int-min: an integral value outside the range of a 32-bit integer gives -2147483648.
///
///   2.5, 3          => 2.500
///   -0.5, 2         => -0.50
///   3.0, 3          => 3
///   30000000000.0, 2 => -2147483648
KFRAMEWORK_API std::string FromDouble(double value, int precision);

/// General notation for a value with a fraction, a plain integer for one without, as FromDouble writes it.
///
/// @param precision  significant digits; 0 counts as 1 and a negative one as 6.
///
///   2.5, 3       => 2.5
///   1234.5678, 3 => 1.23e+03
///   2.0, 5       => 2
KFRAMEWORK_API std::string FromDoubleNoFixed(double value, int precision);

/// FromDouble of the float's exact value.
KFRAMEWORK_API std::string FromFloat(float value, int precision);

/// FromDoubleNoFixed of the float's exact value.
KFRAMEWORK_API std::string FromFloatNoFixed(float value, int precision);

/// False for "0" and for "false" in any case.
///
/// @kept    to-bool-permissive: everything else is true, the empty text, "no" and "off" included.
///
///   FALSE     => false
///   (empty)   => true
///   "False "  => true
KFRAMEWORK_API bool ToBool(const std::string& text);

// --- case, trimming, replacement ---------------------------------------------

/// A copy with the letters a to z as capitals.
KFRAMEWORK_API std::string ToUpper(const std::string& text);

/// A copy with the letters A to Z as small ones.
KFRAMEWORK_API std::string ToLower(const std::string& text);

/// Removes the leading spaces, then the leading tabs of what is left.
///
/// @param s         edited in place.
/// @param alsoTabs  false leaves tabs alone.
/// @kept    trim-order: one pass each, spaces first; a space behind a leading tab stays.
///
///   "  a" => "a"
///   "\t a" with tabs => " a"
KFRAMEWORK_API void TrimLeft(std::string& s, bool alsoTabs);

/// The mirror image of TrimLeft: trailing spaces, then trailing tabs.
///
///   "a  " => "a"
///   "a \t" with tabs => "a "
KFRAMEWORK_API void TrimRight(std::string& s, bool alsoTabs);

/// Removes every line feed, carriage return and tab.
///
/// @param s  edited in place.
/// @kept    trim-cr-everywhere: they go wherever they stand, and tabs go too.
///
///   "a\r\nb\tc" => "abc"
KFRAMEWORK_API void TrimCR(std::string& s);

/// The first bytes of a text, or all of it.
///
/// @param maxLength  in bytes; a character of several bytes may be cut.
KFRAMEWORK_API std::string TrimStringLength(const std::string& s, unsigned long long maxLength);

/// A copy with every occurrence of one text replaced by another; inserted text is not searched again.
///
/// @param what           what to look for; the copy is unchanged when it is empty.
/// @param with           what to put there; may be empty.
/// @param caseSensitive  false takes capitals and small letters for the same.
///
///   aXbx, x, y, false => ayby
///   aXbx, x, y, true  => aXby
///   aaa, a, aa, true  => aaaaaa
KFRAMEWORK_API std::string Replace(const std::string& source, const std::string& what,
                                   const std::string& with, bool caseSensitive);

/// A copy with a backslash for every slash.
KFRAMEWORK_API std::string ConformToOS(const std::string& path);

/// The text after the last "@", or the whole text when it holds none.
///
/// @param account  not changed.
KFRAMEWORK_API std::string GetDomain(std::string& account);

// --- lines and tokens ----------------------------------------------------------

/// One line of a text, without its line feed; a carriage return before it stays.
///
/// @param text        ends at its first NUL byte; null counts as empty.
/// @param lineNumber  from 1; a number outside the text gives an empty line.
///
///   a\nb, 2   => b
///   a\nb\n, 3 => (empty)
KFRAMEWORK_API std::string GetLine(const char* text, int lineNumber);

/// As above; a NUL byte ends the text here too.
KFRAMEWORK_API std::string GetLine(const std::string& text, int lineNumber);

/// Moves the text before the first delimiter out of a source, or all of it when there is none.
///
/// @param source     loses the token and the delimiter; unchanged on failure.
/// @param token      receives the text; unchanged on failure. May be source itself and then holds the token.
/// @param delimiter  found as a whole; null is never found.
/// @return  false when source is empty.
/// @kept    extract-skips-one-byte: of a longer delimiter only the first byte is taken out of source.
///
///   k=v, =  => token k, source v
///   abc, =  => token abc, source empty
///   a::b, :: => token a, source :b
KFRAMEWORK_API bool ExtractToken(std::string& source, std::string& token, const char* delimiter);

/// The same for a source with quotes and escapes.
///
/// A delimiter inside quotes is text. A backslash and the byte after it stand for one byte: \n for a line
/// feed, \t for a tab, anything else for itself; a backslash at the very end is text.
///
/// @param source       loses the token and the delimiter; unchanged on failure.
/// @param token        receives the decoded text; unchanged on failure. May be source itself.
/// @param delimiter    its first character counts; an empty text or null stands for the NUL byte.
/// @param quote        its first character counts, as with delimiter.
/// @param stripQuotes  false copies the quotes into the token.
/// @return  false when source is empty or a quote is left open.
///
///   "a,b",c => token a,b, source c
///   "a,b    => false
KFRAMEWORK_API bool ExtractToken(std::string& source, std::string& token, const char* delimiter,
                                 const char* quote, bool stripQuotes);

/// Splits a text at every byte that is one of the delimiters. Empty tokens stay, but for one at the very end.
///
/// @param delimiters  a set of bytes, in any order; with an empty one the text is one token.
/// @return  with room reserved for at least 100 tokens.
/// @kept    token-step: behind a delimiter as many bytes are skipped as the set has, which is 1 for a set of
///          one.
///
///   a,,b at ,  => a, (empty), b
///   a,b, at ,  => a, b
///   a,bc at ", " => a, c
KFRAMEWORK_API std::vector<std::string> TokenizeString(const std::string& text,
                                                       const std::string& delimiters);

/// As TokenizeString, but the last token stays even when it is empty, so there is always one.
///
///   a,b, at , => a, b, (empty)
KFRAMEWORK_API std::vector<std::string> TokenizeStringNoStripe(const std::string& text,
                                                               const std::string& delimiters);

/// Splits a text at every separator that no backslash stands before. The backslashes stay in the tokens.
///
/// @return  at least one token; none for the end of a text that ends in the separator.
/// @kept    escaped-last-piece: when the text ends in an escaped separator, what follows its last cut is
///          dropped; without any cut the whole text is the token.
///
///   a\,b,c => a\,b and c
///   a,b\,  => a
KFRAMEWORK_API std::vector<std::string> TokenizeStringWithEscape(const std::string& text, char separator);

/// Splits a text into literal pieces and blocks from "<%" through "%>". No piece is empty.
///
/// @kept    inline-shared-percent: "<%>" is a whole block.
/// @kept    inline-unclosed-twice: a block that stays open is dropped with all that follows, and the piece
///          before it is given twice.
///
///   x<%y%>z => x, <%y%>, z
///   x<%y    => x, x
KFRAMEWORK_API std::vector<std::string> TokenizeInlinePython(const std::string& text);

/// Splits a command line into the executable, without its quotes, and the rest.
///
/// @param executable  receives the text before the first space or within the quotes; with a quote that stays
///                    open the rest of the line. Unchanged on failure. May be commandLine itself.
/// @param arguments   receives what follows the one byte behind the executable; untouched when nothing does.
/// @return  false for an empty line and for one that begins with a space.
/// @kept    split-first-byte: with a quote later in the word the word begins at its second byte.
///
///   "C:\a b.exe" -x => C:\a b.exe and -x
///   ab"c d" -x      => b"c d and -x
KFRAMEWORK_API bool SplitCommandLines(const std::string& commandLine, std::string& executable,
                                      std::string& arguments);

// --- number lists and ranges -----------------------------------------------------
//
// Collections are read only, stay the caller's and must not be null; nobody may change one meanwhile.

/// A text with zeros in front, so that it is at least `width` bytes long.
///
/// @param digits  any text; one that is long enough comes back unchanged.
/// @param width   in bytes; 0 and less change nothing.
/// @kept    zeros-before-sign: the text is not looked at, so zeros go in front of a sign too.
///
///   7, 3  => 007
///   -5, 4 => 00-5
KFRAMEWORK_API std::string AddNumericPadding(const std::string& digits, int width);

/// The numbers of a list, in its order. Empty pieces are skipped, and TokenizeString's step past a delimiter
/// (token-step) is made here too.
///
/// @param delimiters  a set of bytes; with an empty one the text is one piece.
/// @return  what the C library's atoi makes of each piece; for a number beyond the range that is up to it.
/// @kept    numbers-without-ranges: a piece counts up to its first byte that is no digit, and without digits
///          it is 0.
///
///   1,,2,x at , => 1, 2, 0
///   1-10 at ,   => 1
KFRAMEWORK_API std::vector<int> TokenizeStringToIntVector(const std::string& text,
                                                          const std::string& delimiters);

/// As TokenizeStringToIntVector, by atol.
KFRAMEWORK_API std::vector<long> TokenizeStringToLongVector(const std::string& text,
                                                            const std::string& delimiters);

/// As TokenizeStringToIntVector; each number once, ascending.
///
///   3,1,3 at , => 1, 3
KFRAMEWORK_API std::set<int> TokenizeStringToIntSet(const std::string& text, const std::string& delimiters);

/// As TokenizeStringToIntSet, by atol.
KFRAMEWORK_API std::set<long> TokenizeStringToLongSet(const std::string& text, const std::string& delimiters);

/// Every number in decimal, in the collection's order, with "," between them and no blanks.
///
/// @kept    printables-plural: the function for a set of long ends in an "s", alone among its like.
///
///   5, 4 => 5,4
KFRAMEWORK_API std::string IntVectorToPrintable(const std::vector<int>* numbers);
KFRAMEWORK_API std::string LongVectorToPrintable(const std::vector<long>* numbers);
KFRAMEWORK_API std::string IntSetToPrintable(const std::set<int>* numbers);
KFRAMEWORK_API std::string LongSetToPrintables(const std::set<long>* numbers);

/// The same with runs of numbers, each one more than the one before, as first number, "-", last number; two
/// numbers are a run already. docs/file-formats.md has the format.
///
/// @kept    ranges-in-order: a vector is neither sorted nor freed of repeats; whatever is not one more than the
///          number before begins a new item.
///
///   {1, 2, 3, 5, 7, 8} => 1-3,5,7-8
///   {-2, -1, 0}        => -2-0
///   3, 4, 4, 2         => 3-4,4,2
KFRAMEWORK_API std::string IntVectorToPrintableRanges(const std::vector<int>* numbers);
KFRAMEWORK_API std::string LongVectorToPrintableRanges(const std::vector<long>* numbers);
KFRAMEWORK_API std::string IntSetToPrintableRanges(const std::set<int>* numbers);
KFRAMEWORK_API std::string LongSetToPrintableRanges(const std::set<long>* numbers);

/// Every text, in the collection's order, with "," between them; nothing is quoted.
///
/// @kept    set-keeps-empties: an empty element of a set gets its comma, one of a vector or list is left out.
///
///   vector a, (empty), b => a,b
///   set {(empty), a}     => ,a
KFRAMEWORK_API std::string StringSetToPrintable(const std::set<std::string>* texts);
KFRAMEWORK_API std::string StringVectorToPrintable(const std::vector<std::string>* texts);
KFRAMEWORK_API std::string StringListToPrintable(const std::list<std::string>* texts);

// --- frame masks -----------------------------------------------------------------

/// A named set of texts as one line of Base64. docs/file-formats.md has the format.
///
/// @param masks  keys and values without line feeds, which would split them, and without NUL bytes: the bundle
///               ends before the first.
///
///   {a: 1-10, b: 5} => YQoxLTEwCmIKNQo=
///   {}              => (empty)
KFRAMEWORK_API std::string EncodeFramesMasks(std::map<std::string, std::string> masks);

/// The set that a bundle holds, or what can be made of a damaged one; empty when it is no Base64.
///
/// @param bundle  anybody's text. A last key without a value counts for nothing.
/// @kept    first-mask-wins: of two entries with the same key the first stays.
KFRAMEWORK_API std::map<std::string, std::string> DecodeFramesMask(std::string bundle);

// --- encodings -----------------------------------------------------------------

/// UTF-16 to UTF-8. What cannot be encoded becomes U+FFFD.
///
/// @param text  terminated, not changed; null counts as empty.
KFRAMEWORK_API std::string WideStringToUtf8String(wchar_t* text);

/// UTF-8 to UTF-16, up to the first NUL byte. Broken sequences become U+FFFD, as many as the platform makes.
KFRAMEWORK_API std::wstring Utf8StringToWideString(const std::string& text);

/// A copy in which every invalid or incomplete UTF-8 sequence is one U+FFFD (the bytes EF BF BD).
KFRAMEWORK_API std::string fixUtf8String(const std::string& text);

// --- text encoders -----------------------------------------------------------------
//
// Byte by byte: a character of several bytes is that many bytes of 128 or more. None of these is a security
// filter. Of a path that a peer sends, decode everything first, then turn each "\\" into "/", and only then call
// WebSanityCheck.

/// The inside of a JSON string.
///
/// @kept    json-control-bytes: only \b \f \n \r \t have escapes; the other control bytes and all bytes of 128
///          or more stay as they are, and so does "/".
/// @kept    json-backslash-first: the result is that of replacing the backslash before everything else.
///
///   \a"b => \\a\"b
KFRAMEWORK_API std::string EncodeJSONString(const std::string& s);

/// A JSON string: EncodeJSONString in quotes.
KFRAMEWORK_API std::string jsonEncoder(const std::string& s);

/// Text for XML: &lt; &gt; &quot; &apos; for the four, and "&amp" for the ampersand.
///
/// @kept    bare-ampersand-entity: "&amp" has no semicolon, here and in EncodeHTML.
///
///   a&b<c => a&ampb&lt;c
KFRAMEWORK_API std::string EncodeXML(const std::string& s);

/// EncodeXML under another name.
KFRAMEWORK_API std::string xmlEncoder(const std::string& s);

/// EncodeXML, and "&#" with a number for each byte of 128 or more.
///
/// @kept    html-signed-bytes: the number is the byte as a signed one, and no semicolon follows.
///
///   the byte E9 => &#-23
KFRAMEWORK_API std::string EncodeHTML(const std::string& s);

/// Each single quote twice. Backslashes stay, which some databases take for escapes.
///
///   it's => it''s
KFRAMEWORK_API std::string EncodeSQL(const std::string& s);

/// Letters, digits and "./-_" as they are, a blank as "+", every other byte as "%" and two capital digits.
///
///   a b/c?d => a+b/c%3Fd
KFRAMEWORK_API std::string EncodeURL(const std::string& s);

/// A byte for each "%" that two bytes follow; a "%" nearer to the end stays.
///
/// @kept    plus-in-forms-only: "+" stays; DecodeGetURL makes it a blank.
/// @kept    url-any-digits: the two bytes need not be digits; what they give then is some byte.
///
///   a%2Fc+d => a/c+d
///   100%    => 100%
KFRAMEWORK_API std::string DecodeURL(const std::string& s);

/// DecodeURL for form data: each "+" is a blank first.
///
///   a+b%2Bc => a b+c
KFRAMEWORK_API std::string DecodeGetURL(const std::string& s);

/// "#" for each of ; = + < > | " ' \ / [ ] ? * : and for each byte of 128 or more; the length stays.
/// Leaves "..", control bytes and names of devices.
///
///   a:b?c => a#b#c
KFRAMEWORK_API std::string EncodeFilename(const std::string& s);

/// Turns double-quoted parts of a command into parts with a backslash before each blank.
/// Leaves ; $ ` | & < > and everything else that means something to a shell.
///
/// @kept    posix-drops-quotes: the quotes themselves go, one that is never closed too.
///
///   "a b" c => a\ b c
KFRAMEWORK_API std::string EscapeForPosixShell(const std::string& s);

/// A path without "." and "..": each ".." takes the piece before it away, if there is one.
/// Knows only "/": "..\\..\\x" passes, and so does "//x", which Windows takes for another machine.
///
/// @kept    web-path-loses-root: a ".." takes the empty piece before a leading slash away too.
///
///   a/../../b  => b
///   /x/./y     => /x/y
///   /a/../../b => b
KFRAMEWORK_API std::string WebSanityCheck(const std::string& path);

/// The bytes up to the first NUL as Base64, padded, without line breaks.
///
/// @return  empty also when memory is exhausted.
/// @kept    encoders-end-at-nul: here and in FromBase64, EncodeURL and DecodeURL a text ends at its first NUL
///          byte, and so does what is decoded. KBase64 takes any bytes.
KFRAMEWORK_API std::string ToBase64(const std::string& text);

/// The text that ToBase64 encoded; empty when anything is wrong with it, a line break included.
KFRAMEWORK_API std::string FromBase64(const std::string& text);

// --- time formatting -----------------------------------------------------------

/// A point in time as local time.
///
/// @param time  seconds since 1970-01-01 UTC. One that LocalTime_R has no fields for reads as the zeros it gives,
///              which is day 0 of January 1900.
/// @param mode  0 time of day, 1 date, 3 both without separators; 2 and every other number both.
/// @kept    time-month-first: the month comes before the day in every mode.
/// @kept    time-mode-default: there is no invalid mode.
/// @threads any, but only after InitializeLibrary, and not while holding the global mutex, which it takes.
///
///   5 March 2019, 13:04:09, 0 => 13:04:09
///   the same, 1               => 03/05/2019
///   the same, 3               => 03052019130409
///   the same, 2               => 03/05/2019 13:04:09
KFRAMEWORK_API std::string FormatTime(long long time, int mode);

/// A duration, with all its parts.
///
/// @param seconds  a negative one gives an empty text.
/// @kept    timespan-one-form: 1 has the plural too, and zero parts stay.
/// @kept    timespan-days-low-bits: of the days the low 32 bits are written.
///
///   0     => 0 days, 0 hours, 0 mins, 0 secs
///   90061 => 1 days, 1 hours, 1 mins, 1 secs
KFRAMEWORK_API std::string FormatTimespan(long long seconds);

// --- text files ----------------------------------------------------------------

/// Writes a file, replacing what was there; bytes are written as they are.
///
/// @param path  UTF-8.
/// @return  false when the file cannot be opened or not everything was written; part of it may be there then.
/// @kept    save-stops-at-nul: the content ends at its first NUL byte.
/// @kept    file-argument-order: here the content comes first, in LoadFileIntoString the destination.
KFRAMEWORK_API bool SaveFileFromString(const std::string& content, const std::string& path);

/// Reads a whole text file; bytes are read as they are.
///
/// @param content  receives the text; empty on failure.
/// @param path     UTF-8.
/// @return  false when the file cannot be opened; an error while reading ends the text like the end of the
///          file.
/// @kept    load-drops-after-nul: the file is taken in blocks of 2048 bytes, and in each of them everything
///          from its first NUL byte on is lost. Only text files survive.
KFRAMEWORK_API bool LoadFileIntoString(std::string& content, const std::string& path);
} // namespace KFramework::KStringHelper
