#include <KFramework/socket.h> // before <windows.h>

#include "password_input_win.h"

#include "password.h"

#include <KFramework/string.h>

#include <array>
#include <cstdio>
#include <cstdlib>

namespace farm
{
using namespace KFramework;

namespace
{
/// Room for the longest password and whatever stands around it; a longer line is too long all the same.
constexpr std::size_t kLongestLine = 1000;

secret from_wide(wchar_t* text)
{
    return password_from(KStringHelper::WideStringToUtf8String(text));
}

secret piped_line(HANDLE input)
{
    std::string line;
    line.reserve(kLongestLine); // grows nowhere else
    char next = '\0';
    DWORD count = 0;
    while (line.size() < kLongestLine && ::ReadFile(input, &next, 1, &count, nullptr) && count == 1 &&
           next != '\n')
        line += next;
    if (line.starts_with("\xEF\xBB\xBF")) // some shells begin their text with a mark
        line.erase(0, 3);
    return password_from(std::move(line));
}

secret typed_line(HANDLE input, const char* question)
{
    std::fprintf(stderr, "%s", question);
    std::fflush(stderr);
    std::array<wchar_t, kLongestLine> line = {};
    DWORD count = 0;
    ::ReadConsoleW(input, line.data(), kLongestLine - 1, &count, nullptr);
    std::fprintf(stderr, "\n");
    secret typed = from_wide(line.data());
    ::SecureZeroMemory(line.data(), sizeof line);
    return typed;
}

std::string ask_twice(HANDLE input, DWORD mode, secret& password)
{
    ::SetConsoleMode(input, mode & ~static_cast<DWORD>(ENABLE_ECHO_INPUT));
    password = typed_line(input, "new password: ");
    const bool same = typed_line(input, "once more: ").text() == password.text();
    ::SetConsoleMode(input, mode);
    return same ? "" : "the two are not the same";
}
} // namespace

std::string read_password(secret& password)
{
    const HANDLE input = ::GetStdHandle(STD_INPUT_HANDLE);
    DWORD mode = 0;
    std::string wrong;
    if (::GetConsoleMode(input, &mode))
        wrong = ask_twice(input, mode, password);
    else
        password = piped_line(input);
    if (wrong.empty())
        wrong = wrong_password(password.text());
    if (!wrong.empty())
        password = secret();
    return wrong;
}

secret take_environment_password()
{
    wchar_t* const value = ::_wgetenv(kPasswordVariable);
    if (value == nullptr)
        return {};
    secret password = from_wide(value);
    ::SecureZeroMemory(value, wcslen(value) * sizeof(wchar_t)); // the runtime's copy
    ::_wputenv((std::wstring(kPasswordVariable) + L"=").c_str());
    return password;
}
} // namespace farm
