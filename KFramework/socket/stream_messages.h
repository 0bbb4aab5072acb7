#pragma once
/// The exact texts that the streams log or print to standard error.

namespace kf::socket
{

inline constexpr char kStreamModule[] = "CKSocketStream";
inline constexpr char kRecordModule[] = "CKSocketOverlappedStruct";

inline constexpr char kSendOverflow[] = "Socket send buffer overflow. Terminating connection! [%d]";
inline constexpr char kReadOverflow[] = "Socket read buffer overflow. Terminating connection! [%d]";
inline constexpr char kReceivedNothing[] = "Received 0 bytes from socket [%d], shutting down...";
inline constexpr char kReceivedError[] = "Received error from socket [%d], shutting down...";
inline constexpr char kShutdownCompleted[] = "Shutdown of socket [%d] completed";
inline constexpr char kReceiveFailed[] = "WSARecv error %d, shutting down socket [%d]";
inline constexpr char kSendFailed[] = "Error %d, shutting down socket [%d]";
inline constexpr char kPortFailed[] = "Failed to assign socket %d to IO completion port";
inline constexpr char kMarkedTwice[] = "(%d:%d)Mark() on socket failure. Double event, previous event was %d";

inline constexpr char kSocketCallFailed[] = "Error while calling socket(): %d\n";
inline constexpr char kCloseCallFailed[] = "Error while closing socket(): %d\n";
inline constexpr char kDualStackFailed[] = "Error while setting IPV6_V6 only to false\n";
inline constexpr char kConnectByNameFailed[] = "WSAConnectByName() failed with error: %d\n";
inline constexpr char kConnectContextFailed[] =
    "setsockopt for SO_UPDATE_CONNECT_CONTEXT failed with error: %d\n";

} // namespace kf::socket
