/// Opens a file for reading, lets others read and write it but neither rename nor delete it, and says "held" on
/// standard output; ends when it is killed.
///
/// usage: hold_file PATH

#include "KFramework/platform/windows_win.h"

#include <cstdio>

int wmain(int count, wchar_t** arguments)
{
    if (count != 2)
        return 2;
    const HANDLE file = ::CreateFileW(arguments[1], GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                      OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    std::puts("held");
    std::fflush(stdout);
    ::Sleep(INFINITE);
    return 0;
}
