/// write_utf16 TEXT: writes the text to standard output as UTF-16 in one write.

#include <cwchar>

#include "KFramework/platform/windows_win.h"

int wmain(int count, wchar_t** arguments)
{
    if (count != 2)
        return 1;
    const DWORD bytes = static_cast<DWORD>(std::wcslen(arguments[1]) * sizeof(wchar_t));
    DWORD written = 0;
    return ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), arguments[1], bytes, &written, nullptr) ? 0 : 2;
}
