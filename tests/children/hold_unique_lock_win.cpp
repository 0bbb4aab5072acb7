/// Takes the unique lock that its argument names and says "held" or "refused". Then, for each byte of standard
/// input, gives the lock back and says "returned"; ends with the input, holding what it still holds.

#include "KFramework/filesystem.h"

#include <cstdio>
#include <string>

int wmain(int count, wchar_t** arguments)
{
    std::string name;
    for (const wchar_t* letter = count > 1 ? arguments[1] : L""; *letter != 0; ++letter)
        name += static_cast<char>(*letter); // ASCII
    void* const lock = KFramework::CreateUniqueLock(name.c_str());
    std::puts(lock != nullptr ? "held" : "refused");
    std::fflush(stdout);
    while (std::getchar() != EOF)
    {
        std::puts(KFramework::DeleteUniqueLock(lock, "") ? "returned" : "nothing to return");
        std::fflush(stdout);
    }
    return 0;
}
