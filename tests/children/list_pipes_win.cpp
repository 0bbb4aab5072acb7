/// Prints the value of every handle it holds that is a pipe, in decimal, one a line.

#include <cstdint>
#include <cstdio>
#include <fcntl.h>
#include <io.h>

#include "KFramework/platform/windows_win.h"

int wmain()
{
    ::_setmode(1, _O_BINARY);
    for (std::uintptr_t value = 4; value < 0x8000; value += 4)
    {
        if (::GetFileType(reinterpret_cast<HANDLE>(value)) == FILE_TYPE_PIPE)
            std::printf("%llu\n", static_cast<unsigned long long>(value));
    }
    return 0;
}
