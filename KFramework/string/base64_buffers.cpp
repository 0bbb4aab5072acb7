#include <cstdlib>

#include "KFramework/string.h"
#include "KFramework/string/base64.h"

using kf::string::best_base64_kernel;

namespace KFramework::KBase64
{
void Encode(const char* in, unsigned long long inSize, char* out, unsigned long long outSize)
{
    kf::string::base64_encode(best_base64_kernel(), in, inSize, out, outSize);
}

unsigned long long EncodeAlloc(const char* in, unsigned long long inSize, char** out)
{
    *out = nullptr;
    const unsigned long long size = (inSize / 3 + (inSize % 3 != 0 ? 1 : 0)) * 4 + 2;
    if (inSize > size)
        return 0; // the multiplication wrapped around
    *out = static_cast<char*>(std::malloc(size));
    if (*out == nullptr)
        return 0;
    Encode(in, inSize, *out, size);
    return size - 1; // KEPT[base64-length-plus-one]: the terminating zero counts
}

bool Decode(const char* in, unsigned long long inSize, char* out, unsigned long long* outSize)
{
    const auto decoded = kf::string::base64_decode(best_base64_kernel(), in, inSize, out, *outSize);
    *outSize = decoded.written;
    return decoded.whole;
}

bool DecodeAlloc(const char* in, unsigned long long inSize, char** out, unsigned long long* outSize)
{
    unsigned long long size = inSize / 4 * 3 + 3;
    *out = static_cast<char*>(std::malloc(size));
    if (*out == nullptr)
    {
        if (outSize != nullptr)
            *outSize = 0;
        return true; // KEPT[base64-no-memory-true]: the null tells
    }
    if (!Decode(in, inSize, *out, &size))
    {
        DeleteBuffer(out);
        return false;
    }
    (*out)[size] = '\0'; // there is room: a text that decodes is a multiple of four characters long
    if (outSize != nullptr)
        *outSize = size;
    return true;
}

void DeleteBuffer(char** buffer)
{
    std::free(*buffer);
    *buffer = nullptr;
}
} // namespace KFramework::KBase64
