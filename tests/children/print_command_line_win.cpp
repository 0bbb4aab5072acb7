/// Prints the command line it was started with, as UTF-8 without anything behind it.

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <string>

#include "KFramework/platform/windows_win.h"

int wmain()
{
    ::_setmode(1, _O_BINARY);
    const wchar_t* const line = ::GetCommandLineW();
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, line, -1, nullptr, 0, nullptr, nullptr);
    std::string text(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, line, -1, text.data(), size, nullptr, nullptr);
    text.pop_back(); // the terminator
    std::fwrite(text.data(), 1, text.size(), stdout);
    return 0;
}
