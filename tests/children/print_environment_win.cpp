/// Prints its environment, one "name=value" a line, as UTF-8 with "\n".

#include <cstdio>
#include <cwchar>
#include <fcntl.h>
#include <io.h>
#include <string>

#include "KFramework/platform/windows_win.h"

int wmain()
{
    ::_setmode(1, _O_BINARY);
    for (const wchar_t* entry = ::GetEnvironmentStringsW(); *entry != L'\0'; entry += std::wcslen(entry) + 1)
    {
        const int size = ::WideCharToMultiByte(CP_UTF8, 0, entry, -1, nullptr, 0, nullptr, nullptr);
        std::string text(static_cast<std::size_t>(size), '\0');
        ::WideCharToMultiByte(CP_UTF8, 0, entry, -1, text.data(), size, nullptr, nullptr);
        std::printf("%s\n", text.c_str());
    }
    return 0;
}
