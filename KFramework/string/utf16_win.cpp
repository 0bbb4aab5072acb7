#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

namespace KFramework::KStringHelper
{
std::string WideStringToUtf8String(wchar_t* text)
{
    if (text == nullptr)
        return {};
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    if (size <= 0)
        return {};
    std::string result(static_cast<std::size_t>(size), '\0');
    if (::WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr) != size)
        return {};
    result.resize(static_cast<std::size_t>(size) - 1); // without the terminator
    return result;
}

std::wstring Utf8StringToWideString(const std::string& text)
{
    const int size = ::MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, nullptr, 0);
    if (size <= 0)
        return {};
    std::wstring result(static_cast<std::size_t>(size), L'\0');
    if (::MultiByteToWideChar(CP_UTF8, 0, text.c_str(), -1, result.data(), size) != size)
        return {};
    result.resize(static_cast<std::size_t>(size) - 1);
    return result;
}
} // namespace KFramework::KStringHelper
