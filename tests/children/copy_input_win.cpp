/// Copies standard input to standard output until the input ends, says "end" on standard error, and ends with
/// the number of bytes copied.

#include "KFramework/platform/windows_win.h"

int wmain()
{
    HANDLE const input = ::GetStdHandle(STD_INPUT_HANDLE);
    HANDLE const output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    char buffer[256];
    DWORD total = 0;
    DWORD taken = 0;
    while (::ReadFile(input, buffer, sizeof buffer, &taken, nullptr) && taken != 0)
    {
        DWORD written = 0;
        ::WriteFile(output, buffer, taken, &written, nullptr);
        total += written;
    }
    DWORD written = 0;
    ::WriteFile(::GetStdHandle(STD_ERROR_HANDLE), "end", 3, &written, nullptr);
    return static_cast<int>(total);
}
