#include "KFramework/core/messages.h"
#include "KFramework/core/probes_win.h"
#include "KFramework/platform/windows_win.h"

#include <algorithm>
#include <cstdio>
#include <iphlpapi.h>
#include <vector>

namespace kf::core
{
namespace
{
/// One adapter's record: what the first question has room for.
constexpr ULONG kFirstBufferBytes = 704;
static_assert(kFirstBufferBytes == sizeof(IP_ADAPTER_INFO));

/// Adapters may appear between two calls; a system that never settles is given up.
constexpr int kMaxCalls = 16;

/// Whole records, so that the list in it is aligned.
using adapter_buffer = std::vector<IP_ADAPTER_INFO>;

[[nodiscard]] ULONG read_adapters(adapter_buffer& buffer)
{
    ULONG bytes = kFirstBufferBytes;
    ULONG error = ERROR_BUFFER_OVERFLOW;
    for (int call = 0; call < kMaxCalls && error == ERROR_BUFFER_OVERFLOW; ++call)
    {
        buffer.resize((bytes + sizeof(IP_ADAPTER_INFO) - 1) / sizeof(IP_ADAPTER_INFO));
        error = ::GetAdaptersInfo(buffer.data(), &bytes);
    }
    return error;
}
} // namespace

std::string probe_mac_text()
{
    adapter_buffer buffer;
    if (read_adapters(buffer) != ERROR_SUCCESS)
    {
        std::fputs(kAdaptersInfoFailed, stderr);
        return {};
    }
    std::vector<mac_address> addresses;
    for (const IP_ADAPTER_INFO* adapter = buffer.data(); adapter != nullptr; adapter = adapter->Next)
    {
        mac_address& address = addresses.emplace_back();
        std::copy_n(adapter->Address, address.size(), address.begin());
    }
    return mac_text(addresses);
}
} // namespace kf::core
