/// Opens a file for reading, lets others read and write it but neither rename nor delete it, and says "held" on
/// standard output; ends when it is killed. With "alone" others cannot open the file at all.
///
/// usage: hold_file PATH [alone]

#include "KFramework/platform/windows_win.h"

#include <cstdio>

int wmain(int count, wchar_t** arguments)
{
    if (count != 2 && count != 3)
        return 2;
    const DWORD sharing = count == 2 ? FILE_SHARE_READ | FILE_SHARE_WRITE : 0;
    const HANDLE file = ::CreateFileW(arguments[1], GENERIC_READ, sharing, nullptr, OPEN_EXISTING,
                                      FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        return 1;
    std::puts("held");
    std::fflush(stdout);
    ::Sleep(INFINITE);
    return 0;
}
