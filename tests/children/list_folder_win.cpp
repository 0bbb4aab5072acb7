/// Lists the folder of its first argument and prints how many entries it has, how many bytes of private memory
/// the listing left behind and how many it held at most, each after a word and an equals sign. A second argument
/// leaves out the names that begin with a dot.

#include "KFramework/filesystem.h"
#include "KFramework/platform/windows_win.h"
#include "KFramework/string.h"
#include "tests/support/private_memory_win.h"

#include <algorithm>
#include <cstdio>

int wmain(int count, wchar_t** arguments)
{
    namespace fs = KFramework::KFileSystem;
    using kf::test::private_bytes;
    if (count < 2)
        return 1;
    fs::KDirectory directory;
    directory.path = KFramework::KStringHelper::WideStringToUtf8String(arguments[1]);
    const bool dot_names = count < 3;

    bool more = fs::EnumDirFirstFile(&directory, false, false, true, dot_names);
    const std::size_t before = private_bytes();
    std::size_t peak = before;
    int entries = 0;
    for (; more; more = fs::EnumDirNextFile(&directory, false, false, true, dot_names))
    {
        if (++entries % 10000 == 0)
            peak = std::max(peak, private_bytes());
    }
    const std::size_t after = private_bytes();
    fs::EnumDirClose(&directory);
    std::printf("entries=%d left=%lld peak=%lld\n", entries,
                static_cast<long long>(after) - static_cast<long long>(before),
                static_cast<long long>(peak - before));
    return 0;
}
