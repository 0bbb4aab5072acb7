#include "KFramework/core.h"

#include <cstddef>
#include <utility>

namespace KFramework
{
namespace
{
// Bytes, not words: callers pass addresses inside packed records.
void reverse_bytes(void* p, std::size_t count)
{
    auto* bytes = static_cast<unsigned char*>(p);
    for (std::size_t i = 0; i < count / 2; ++i)
        std::swap(bytes[i], bytes[count - 1 - i]);
}
} // namespace

void Swap2Bytes(void* p)
{
    reverse_bytes(p, 2);
}

void Swap4Bytes(void* p)
{
    reverse_bytes(p, 4);
}

void Swap8Bytes(void* p)
{
    reverse_bytes(p, 8);
}
} // namespace KFramework
