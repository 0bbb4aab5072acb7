/// Calls CompressFile ("compress FROM TO") or UncompressFile ("uncompress FROM TO"); ends with 0 for true, 1 for
/// false and 2 for a wrong call.

#include "KFramework/filesystem.h"

#include <cstring>

int main(int count, char** arguments)
{
    namespace fs = KFramework::KFileSystem;
    if (count != 4)
        return 2;
    if (std::strcmp(arguments[1], "compress") == 0)
        return fs::CompressFile(arguments[2], arguments[3]) ? 0 : 1;
    if (std::strcmp(arguments[1], "uncompress") == 0)
        return fs::UncompressFile(arguments[2], arguments[3]) ? 0 : 1;
    return 2;
}
