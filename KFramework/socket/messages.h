#pragma once
/// The exact texts that the socket functions print to standard error or log.

namespace kf::socket
{

inline constexpr char kCloseFailed[] = "Close socket return: %d\n";
inline constexpr char kLookupFailed[] = "getaddrinfo: %s\n";

// Without a line end, as whatever reads the stream expects.
inline constexpr char kSetOptionFailed[] = "setsockopt";
inline constexpr char kGetOptionFailed[] = "getsockopt";
inline constexpr char kBindFailed[] = "bind() failed";
inline constexpr char kGroupOptionFailed[] = "setsockopt() failed";
inline constexpr char kUnknownFamily[] = "Neither IPv4 or IPv6";

inline constexpr char kSendingInterfaceFailed[] = "interface setsockopt() sending interface error\n";
inline constexpr char kBroadcastFailed[] = "Unable to send broadcast packet. Socket error!";

inline constexpr char kLogModule[] = "KFramework";

} // namespace kf::socket
