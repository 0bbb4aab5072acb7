/// end_with CODE [MILLISECONDS]: waits, then ends with the code.

#include <cwchar>

#include "KFramework/platform/windows_win.h"

int wmain(int count, wchar_t** arguments)
{
    if (count > 2)
        ::Sleep(std::wcstoul(arguments[2], nullptr, 10));
    return count > 1 ? static_cast<int>(std::wcstoul(arguments[1], nullptr, 10)) : 0;
}
