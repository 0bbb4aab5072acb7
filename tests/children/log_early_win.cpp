/// Reports without a logger before the library is initialised, with standard error in a file.
///
/// usage: log_early PATH

#include "KFramework/logger.h"

#include <cstdio>

int wmain(int count, wchar_t** arguments)
{
    if (count != 2 || ::_wfreopen(arguments[1], L"wb", stderr) == nullptr)
        return 2;
    KFramework::KLogger::AddLogEntry(nullptr, 99, "Test", "early %d", 1);
    return 0;
}
