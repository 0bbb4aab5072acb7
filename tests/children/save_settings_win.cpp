/// Saves the same settings with another value in all of them each time, 1, 2, 3 and so on as eight digits. After each
/// save it writes the number and "\n" to standard output, in one call. Begins when the event is set and ends when it is
/// killed.
///
/// usage: save_settings EVENT FILE KEYS

#include "KFramework/config.h"
#include "KFramework/core.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"

#include <cstdio>
#include <string>

using namespace KFramework;

int wmain(int count, wchar_t** arguments)
{
    if (count != 4)
        return 2;
    InitializeLibrary(nullptr);
    const HANDLE begin = ::OpenEventW(SYNCHRONIZE, FALSE, arguments[1]);
    if (::WaitForSingleObject(begin, 60'000) != WAIT_OBJECT_0)
        return 3;
    const std::string path = KStringHelper::WideStringToUtf8String(arguments[2]);
    const int keys = _wtoi(arguments[3]);
    CKConfigManager manager;
    for (int number = 1;; ++number)
    {
        char value[16];
        std::snprintf(value, sizeof value, "%08d", number);
        for (int key = 0; key < keys; ++key)
            SetConfigValue(&manager, "settings", ("key" + std::to_string(key)).c_str(), value);
        if (!SaveConfigFile(&manager, path.c_str()))
            return 1;
        const std::string done = std::to_string(number) + "\n";
        DWORD written = 0;
        ::WriteFile(::GetStdHandle(STD_OUTPUT_HANDLE), done.data(), static_cast<DWORD>(done.size()), &written,
                    nullptr);
    }
}
