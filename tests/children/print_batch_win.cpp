/// Stands in for the command shell: started as "shell" shell /C "file" & ..., it writes the file's bytes to
/// standard output as they are, and lingers for 300 ms so that they are read while it runs.

#include <cstdio>
#include <fcntl.h>
#include <io.h>

#include "KFramework/platform/windows_win.h"

namespace
{
constexpr int kFileArgument = 3;
} // namespace

int wmain(int count, wchar_t** arguments)
{
    if (count <= kFileArgument)
        return 1;
    ::_setmode(1, _O_BINARY);
    FILE* const file = ::_wfopen(arguments[kFileArgument], L"rb");
    if (file == nullptr)
        return 2;
    char buffer[4096];
    for (std::size_t size = 0; (size = std::fread(buffer, 1, sizeof buffer, file)) != 0;)
        std::fwrite(buffer, 1, size, stdout);
    std::fflush(stdout);
    ::Sleep(300);
    return 0;
}
