#pragma once

#include "KFramework/export.h"

#include <string>
#include <vector>

namespace KFramework::KStringHelper
{
KFRAMEWORK_API std::string FromInt(int value);
KFRAMEWORK_API std::string FromLong(long value);
KFRAMEWORK_API std::string FromInt64(long long value);
KFRAMEWORK_API std::string FromUnsignedInt(unsigned int value);
KFRAMEWORK_API std::string FromUnsignedInt64(unsigned long long value);
KFRAMEWORK_API std::string FromSizet(unsigned long long value);
KFRAMEWORK_API std::string FromTime(long long seconds);
KFRAMEWORK_API std::string FromBool(bool value);
KFRAMEWORK_API std::string FromDouble(double value, int precision);
KFRAMEWORK_API std::string FromDoubleNoFixed(double value, int precision);
KFRAMEWORK_API std::string FromFloat(float value, int precision);
KFRAMEWORK_API std::string FromFloatNoFixed(float value, int precision);
KFRAMEWORK_API bool ToBool(const std::string& text);

KFRAMEWORK_API std::string ToUpper(const std::string& text);
KFRAMEWORK_API std::string ToLower(const std::string& text);
KFRAMEWORK_API void TrimLeft(std::string& s, bool alsoTabs);
KFRAMEWORK_API void TrimRight(std::string& s, bool alsoTabs);
KFRAMEWORK_API void TrimCR(std::string& s);
KFRAMEWORK_API std::string TrimStringLength(const std::string& s, unsigned long long maxLength);
KFRAMEWORK_API std::string Replace(const std::string& source, const std::string& what, const std::string& with,
                                   bool caseSensitive);
KFRAMEWORK_API std::string ConformToOS(const std::string& path);
KFRAMEWORK_API std::string GetDomain(std::string& account);

KFRAMEWORK_API std::string GetLine(const char* text, int lineNumber);
KFRAMEWORK_API std::string GetLine(const std::string& text, int lineNumber);
KFRAMEWORK_API bool ExtractToken(std::string& source, std::string& token, const char* delimiter);
KFRAMEWORK_API bool ExtractToken(std::string& source, std::string& token, const char* delimiter, const char* quote,
                                 bool stripQuotes);
KFRAMEWORK_API std::vector<std::string> TokenizeString(const std::string& text, const std::string& delimiters);
KFRAMEWORK_API std::vector<std::string> TokenizeStringNoStripe(const std::string& text,
                                                               const std::string& delimiters);
KFRAMEWORK_API std::vector<std::string> TokenizeStringWithEscape(const std::string& text, char separator);
KFRAMEWORK_API std::vector<std::string> TokenizeInlinePython(const std::string& text);
KFRAMEWORK_API bool SplitCommandLines(const std::string& commandLine, std::string& executable,
                                      std::string& arguments);

KFRAMEWORK_API std::string WideStringToUtf8String(wchar_t* text);
KFRAMEWORK_API std::wstring Utf8StringToWideString(const std::string& text);
KFRAMEWORK_API std::string fixUtf8String(const std::string& text);
KFRAMEWORK_API bool SaveFileFromString(const std::string& content, const std::string& path);
KFRAMEWORK_API bool LoadFileIntoString(std::string& content, const std::string& path);
} // namespace KFramework::KStringHelper
