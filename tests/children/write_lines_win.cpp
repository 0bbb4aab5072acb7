/// write_lines COUNT BYTES: writes COUNT lines of BYTES bytes each, "\n" included: the line's number in decimal
/// digits, padded with zeros in front. Each line is one write.

#include <cwchar>
#include <string>

#include "KFramework/platform/windows_win.h"

int wmain(int count, wchar_t** arguments)
{
    if (count != 3)
        return 1;
    const unsigned long lines = std::wcstoul(arguments[1], nullptr, 10);
    const unsigned long bytes = std::wcstoul(arguments[2], nullptr, 10);
    HANDLE const output = ::GetStdHandle(STD_OUTPUT_HANDLE);
    for (unsigned long i = 0; i < lines; ++i)
    {
        const std::string number = std::to_string(i);
        std::string line(bytes, '0');
        line.replace(bytes - 1 - number.size(), number.size(), number);
        line.back() = '\n';
        DWORD written = 0;
        if (!::WriteFile(output, line.data(), bytes, &written, nullptr) || written != bytes)
            return 2;
    }
    return 0;
}
