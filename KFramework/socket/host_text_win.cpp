#include "KFramework/platform/windows_win.h"
#include "KFramework/socket.h"
#include "KFramework/socket/host_text.h"

#include <cstdlib>
#include <cstring>

namespace KFramework::KSocket
{
namespace
{

constexpr char kUnknownHost[] = "Unknown";

/// Turns an IPv6 address that holds an IPv4 one into the latter, where it stands.
void unmap(void* address, int* address_bytes)
{
    u_short family = 0;
    std::memcpy(&family, address, sizeof family);
    if (family != AF_INET6)
        return;
    sockaddr_in6 mapped = {};
    std::memcpy(&mapped, address, sizeof mapped); // the two records overlap
    if (!IN6_IS_ADDR_V4MAPPED(&mapped.sin6_addr))
        return;
    sockaddr_in plain = {};
    plain.sin_family = AF_INET;
    plain.sin_port = mapped.sin6_port;
    std::memcpy(&plain.sin_addr, &mapped.sin6_addr.s6_addr[12], sizeof plain.sin_addr);
    std::memcpy(address, &plain, sizeof plain);
    *address_bytes = sizeof plain;
}

} // namespace

bool FillSocketHostAndPort(void* address, int* addressLength, char* host, int* port, char* scope)
{
    if (scope != nullptr)
        *scope = '\0';
    // KEPT[host-unmapped]: the caller's address itself is rewritten, and stays so when the look-up fails.
    unmap(address, addressLength);

    char text[kf::socket::kHostRoom];
    char service[NI_MAXSERV];
    if (::getnameinfo(static_cast<const sockaddr*>(address), *addressLength, text, sizeof text, service,
                      sizeof service, NI_NUMERICHOST | NI_NUMERICSERV) != 0)
    {
        *port = 0;
        kf::socket::copy_bounded(host, kf::socket::kHostRoom, kUnknownHost);
        return false;
    }
    *port = std::atoi(service);
    const kf::socket::host_parts parts = kf::socket::split_zone(text);
    kf::socket::copy_bounded(host, kf::socket::kHostRoom, parts.host);
    if (scope != nullptr)
        kf::socket::copy_bounded(scope, kf::socket::kHostRoom, parts.scope);
    return true;
}

std::string escapeHostString(const std::string& host)
{
    return kf::socket::escape_percent(host);
}

} // namespace KFramework::KSocket
