#include "tests/support/handle_count_win.h"

#include <cstdint>

#include "KFramework/platform/windows_win.h"

namespace kf::test
{

namespace
{

/// Handle values are multiples of 4 and are given out from the lowest free one.
constexpr std::uintptr_t kStep = 4;
/// Gives up this far behind the last handle found.
constexpr std::uintptr_t kGap = 0x2000;

template <class Predicate>
std::size_t count_handles(Predicate wanted)
{
    std::size_t count = 0;
    std::uintptr_t end = kGap;
    for (std::uintptr_t value = kStep; value < end; value += kStep)
    {
        HANDLE const handle = reinterpret_cast<HANDLE>(value);
        DWORD flags = 0;
        if (!::GetHandleInformation(handle, &flags))
            continue;
        end = value + kGap;
        if (wanted(handle))
            ++count;
    }
    return count;
}

bool is_socket(HANDLE handle)
{
    int type = 0;
    int size = sizeof type;
    return ::getsockopt(reinterpret_cast<SOCKET>(handle), SOL_SOCKET, SO_TYPE, reinterpret_cast<char*>(&type),
                        &size) == 0;
}

} // namespace

std::size_t handle_count()
{
    return count_handles([](HANDLE) { return true; });
}

std::size_t socket_count()
{
    return count_handles(is_socket);
}

} // namespace kf::test
