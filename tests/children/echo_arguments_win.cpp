/// Prints each argument in brackets on a line of its own, as UTF-8 with "\n".

#include <cstdio>
#include <fcntl.h>
#include <io.h>
#include <string>

#include "KFramework/platform/windows_win.h"

namespace
{

std::string utf8(const wchar_t* text)
{
    const int size = ::WideCharToMultiByte(CP_UTF8, 0, text, -1, nullptr, 0, nullptr, nullptr);
    std::string result(static_cast<std::size_t>(size), '\0');
    ::WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(), size, nullptr, nullptr);
    result.pop_back(); // the terminator
    return result;
}

} // namespace

int wmain(int count, wchar_t** arguments)
{
    ::_setmode(1, _O_BINARY);
    for (int i = 1; i < count; ++i)
        std::printf("[%s]\n", utf8(arguments[i]).c_str());
    return 0;
}
