#pragma once
// Winsock's own types are the arguments here, so this header includes it, before <windows.h>.

// clang-format off
#include <winsock2.h>
#include <ws2tcpip.h>
#include <windows.h>
// clang-format on

#include "KFramework/export.h"
#include "KFramework/object.h"

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <memory>
#include <string>

namespace KFramework::KSocket
{
// --- primitives --------------------------------------------------------------
//
// Thin functions over raw socket handles; the host starts Windows Sockets before it calls them. They hold no state:
// any thread may call any of them, and what one socket bears at once is the platform's rule. INVALID_SOCKET means
// no socket. Failures show in the result; where a text is printed it goes to standard error, and only
// SendbroadcastSocket writes to the default logger instead. Sockets belong to the caller, who ends them with
// CloseSocket.

/// Makes a socket of protocol 0.
///
/// @param family  AF_INET or AF_INET6.
/// @param kind    1 or 2 for datagrams; any other number for a byte stream.
/// @return  the socket, inheritable by children; INVALID_SOCKET on failure.
/// @kept    datagram-kinds: 1 and 2 are the same kind; 1 is not a stream, as the platform's own number would be.
KFRAMEWORK_API SOCKET CreateSocket(int family, int kind);

/// Connects to an IPv4 address.
///
/// @param host  dotted literal, such as "127.0.0.1".
/// @param port  0 to 65535.
/// @return  true when connected; false also while a non-blocking socket is still connecting.
/// @kept    connect-literal: names are not looked up; a name makes the connection fail.
KFRAMEWORK_API bool ConnectSocket(SOCKET socket, std::string host, int port);

/// Listens with the platform's longest backlog.
///
/// @return  0 when listening, 1 when not.
/// @kept    listen-result: 0 is success, unlike the bool functions beside it.
KFRAMEWORK_API int ListenSocket(SOCKET socket);

/// Accepts a connection; waits for one when the listener blocks.
///
/// @param address        receives the peer's address; may be null together with addressLength.
/// @param addressLength  in: room in bytes; out: bytes written.
/// @return  the connected socket, which child processes do not inherit; INVALID_SOCKET on failure.
KFRAMEWORK_API SOCKET AcceptSocket(SOCKET listener, void* address, int* addressLength);

/// Waits until a socket of the three sets is ready.
///
/// @param timeout  null waits without end.
/// @return  number of ready sockets, 0 when the time is over, SOCKET_ERROR on failure. The sets then hold the ready
///          ones only.
/// @kept    select-count: the first argument is ignored; 4096 is passed in its place.
KFRAMEWORK_API int SelectSocket(int ignored, fd_set* read, fd_set* write, fd_set* except, timeval* timeout);

/// Ends both directions of a connection; the socket stays open.
///
/// @return  0, also for INVALID_SOCKET; SOCKET_ERROR on failure.
/// @kept    invalid-socket: INVALID_SOCKET is success here and failure in CloseSocket; neither prints.
KFRAMEWORK_API int ShutdownSocket(SOCKET socket);

/// Closes a socket.
///
/// @return  0 when closed; -1 for INVALID_SOCKET, and on failure, which prints "Close socket return: <error>".
KFRAMEWORK_API int CloseSocket(SOCKET socket);

/// Sets what happens to unsent data at closing.
///
/// @param value  the platform's record in one number: low 16 bits on or off, high 16 bits the seconds to linger.
/// @return  true when set.
/// @kept    linger-raw: the number is passed as it stands, so 1 is on with 0 seconds and closing resets the
///          connection.
///
///   0x00050001  =>  on, 5 seconds
KFRAMEWORK_API bool SetLingerStatus(SOCKET socket, int value);

/// Sets the no-delay option.
///
/// @param value  true sends small pieces at once; false lets them wait for the last ones' answer.
/// @return  true when set.
/// @kept    nagle-no-delay: true switches the delay off, whatever the name suggests.
KFRAMEWORK_API bool SetNagleStatus(SOCKET socket, bool value);

/// Chooses between waiting and answering "would block".
///
/// @return  true.
/// @kept    block-status-true: true even when the socket is invalid and nothing changed.
KFRAMEWORK_API bool SetBlockStatus(SOCKET socket, bool blocking);

/// Gives the numeric text of an address, never looking up a name.
///
/// @param address        IPv4 or IPv6. An IPv6 address that holds an IPv4 one is rewritten as the latter.
/// @param addressLength  bytes in address; becomes 16 when address is rewritten.
/// @param host           1025 bytes writable; receives the text without a zone, "Unknown" on failure.
/// @param port           receives 0 to 65535; 0 on failure.
/// @param scope          1025 bytes writable, or null; receives the zone, "" when there is none and on failure.
/// @return  false when the address has no text.
/// @kept    host-unmapped: the caller's address is rewritten, also when there is no text for it.
///
///   ::ffff:10.0.0.7  =>  "10.0.0.7"
///   fe80::1%12       =>  "fe80::1", scope "12"
KFRAMEWORK_API bool FillSocketHostAndPort(void* address, int* addressLength, char* host, int* port,
                                          char* scope);

/// Doubles every "%", so that a host with a zone can stand inside a format.
///
///   "fe80::1%12"  =>  "fe80::1%%12"
KFRAMEWORK_API std::string escapeHostString(const std::string& host);

/// Makes two TCP sockets of this process that are connected to each other over loopback.
///
/// A stranger who finds the port first is turned away.
///
/// @param pair  receives two non-blocking sockets that children do not inherit; INVALID_SOCKET twice on failure.
/// @return  0, or -1 on failure, when nothing stays open.
/// @owns    both are the caller's: CloseSocket.
KFRAMEWORK_API int CreateLoopbackPipes(SOCKET pair[2]);

/// Makes a UDP socket that has joined a multicast group.
///
/// @param group              numeric IPv4 or IPv6 group; no name is looked up.
/// @param port               number or service name.
/// @param receiveBufferSize  bytes that the system is asked to buffer.
/// @return  the socket, which children do not inherit; INVALID_SOCKET on failure, which prints "getaddrinfo: <why>"
///          and a line end, or one of "setsockopt", "bind() failed", "getsockopt", "setsockopt() failed" and
///          "Neither IPv4 or IPv6".
/// @kept    multicast-no-line-end: but for the first, the texts end without a line end.
/// @kept    multicast-first-code: when the port cannot be resolved, the text printed is that of the group's look-up.
/// @kept    multicast-handle-test: a socket that cannot be made is reported as "setsockopt", as the step after it.
/// @kept    multicast-receiver-leak: a socket that was made stays open when a later step fails.
KFRAMEWORK_API SOCKET CreateMulticastRcvSocket(char* group, char* port, int receiveBufferSize);

/// Makes a UDP socket for sending to a multicast group through the default interface.
///
/// @param group        numeric IPv4 or IPv6 group; no name is looked up.
/// @param port         number or service name.
/// @param hops         routers the packets may pass, 0 to 255; with 0 they stay on this machine.
/// @param destination  receives the list whose first address is to be sent to; null on failure.
/// @return  the socket, which children do not inherit; INVALID_SOCKET on failure, which prints "getaddrinfo: <why>"
///          or "interface setsockopt() sending interface error", each with a line end, or "setsockopt() failed"
///          without one.
/// @owns    socket and list are the caller's: CloseSocket and freeaddrinfo.
/// @kept    multicast-destination: the list stays allocated on success.
KFRAMEWORK_API SOCKET CreateMulticastSendSocket(char* group, char* port, int hops, addrinfo** destination);

/// Sends one packet to 255.255.255.255.
///
/// @param socket  a UDP socket that BindBroadcastSocket has prepared.
/// @param port    0 to 65535.
/// @param length  bytes readable at data.
/// @return  true when handed to the system. A failure is logged at level 1, module "KFramework": "Unable to send
///          broadcast packet. Socket error!".
KFRAMEWORK_API bool SendbroadcastSocket(SOCKET socket, int port, char* data, int length);

/// Shares a port with other receivers of broadcasts, on every interface, and allows sending them.
///
/// @param port  0 to 65535; 0 lets the system choose.
/// @return  true when bound; false for INVALID_SOCKET and on failure.
/// @kept    broadcast-option-byte: both options are set through a value of one byte, not through an int.
KFRAMEWORK_API bool BindBroadcastSocket(SOCKET socket, int port);

// --- frames ------------------------------------------------------------------

/// Builds the frame of one message: 13 bytes of header, then the text, compressed when that pays.
/// CKSocketStream::GetNextMessage reads frames; docs/wire-format.md has every byte.
///
/// @param command        meaning is the caller's.
/// @param data           zero-terminated text shorter than 2 GiB, or null for none.
/// @param parameter      travels untouched; its meaning is the caller's.
/// @param frame          receives the frame.
/// @param payloadLength  receives the bytes behind the header; not null.
/// @param frameLength    receives the bytes of the whole frame; may be null.
/// @owns    frame: DestroyEncodedSocketMessage.
/// @threads any.
/// @kept    parameter-before-command: on the wire the parameter stands at byte 5 and the command at byte 9, though
///          the call names the command first.
/// @kept    text-by-strlen: the text ends at its first zero byte; parameter is never a length.
/// @kept    raw-up-to-ten: 10 bytes are sent as they are, however well they would compress; 11 are tried.
/// @kept    compressed-threshold: compressed bytes are kept while they are fewer than the text's length + 4, so that
///          a compressed payload may be up to 7 bytes longer than the text.
/// @kept    unknown-type-raw: a reader hands out the payload of any type but 2 as it is.
/// @kept    empty-any-type: a frame without payload is an empty message, whatever its type.
/// @kept    negative-length: from 2^31 on a payload length is negative to GetNextMessage, which then never takes the
///          frame; completeness is tested with the unsigned length. The receive limit ends such a connection.
///
///   no text            =>  13 bytes, type 0
///   "aaaaaaaaaa"       =>  23 bytes, type 1
///   "aaaaaaaaaaa"      =>  28 bytes, type 2
///   "abcdefghijk"      =>  24 bytes, type 1
KFRAMEWORK_API void EncodeSocketMessage(const int& command, const char* data, unsigned int parameter,
                                        char** frame, size_t* payloadLength, size_t* frameLength);

/// Frees a frame; null is ignored.
///
/// @param frame  from EncodeSocketMessage.
KFRAMEWORK_API void DestroyEncodedSocketMessage(char* frame);

// --- streams -----------------------------------------------------------------

enum kSocketIOEvent : std::uint32_t
{
    kSocketIORead = 0,
    kSocketIOWrite = 1,
    kSocketIOClose = 2,
};

struct KFRAMEWORK_API CKSocketOverlappedStruct
{
    explicit CKSocketOverlappedStruct(kSocketIOEvent event);
    CKSocketOverlappedStruct();
    CKSocketOverlappedStruct(const CKSocketOverlappedStruct& other);
    CKSocketOverlappedStruct(CKSocketOverlappedStruct&& other) noexcept;
    CKSocketOverlappedStruct& operator=(const CKSocketOverlappedStruct& other);
    CKSocketOverlappedStruct& operator=(CKSocketOverlappedStruct&& other) noexcept;

    void Reset(kSocketIOEvent event);
    bool isMarked() const;
    void Mark();
    void Unmark();

    OVERLAPPED overlapped;
    kSocketIOEvent event;
    std::uint32_t mark;
};

class KFRAMEWORK_API CKSocketStream : public CKObject
{
public:
    CKSocketStream();
    CKSocketStream(const CKSocketStream& other);
    CKSocketStream& operator=(const CKSocketStream& other);
    ~CKSocketStream() override;

    // Connection.
    bool Connect(const char* host, int port);
    void BindSocket(SOCKET socket);
    void UnbindSocket();
    void RegisterCompletionPort(void* port);
    void SetupReadEvent();
    void IOCPSend();
    bool NetworkTasks();
    bool CheckHeartBeat(int limit, long long now);
    void UpdateHeartBeat(long long now);
    void Shutdown();
    int Close();
    void SetDisconnected(bool disconnected);
    bool IsDisconnected();
    void SetTrace(bool on);
    void SetTraceFolder(const std::string& folder);

    // Messages.
    bool AddMessage(const unsigned int& command, const char* text, unsigned int parameter, bool quiet,
                    bool force);
    bool GetNextMessage(unsigned int& command, char** content, unsigned int* parameter, bool lock);
    static void DestroyMessageContent(char* content);
    bool HasCompleteMessageAvailable();
    bool ExtractCommand(unsigned int* command);
    bool WaitForCompleteMessage(int timeoutSeconds);

    // Buffers.
    int Read();
    int Write();
    void FlushWrite();
    bool HasToWrite();
    void ClearBuffers();
    void SetMaxIncomingBufferSize(unsigned long long size);
    void SetMaxOutgoingBufferSize(unsigned long long size);
    void SetBufferCheck(bool check);
    void GetBuffersUsage(unsigned long long extraIncoming, unsigned long long extraOutgoing,
                         double& incomingPercent, double& outgoingPercent);
    void RegisterCounters(unsigned long long* sent, unsigned long long* received);
    void IncrementReadBytes(unsigned int count, bool lock);
    void DecrementSentBytes(unsigned int count, bool lock);

    void LockRead();
    void UnlockRead();
    void LockWrite();
    void UnlockWrite();

    void SetData(void* data);
    void* GetData();
    void SetSocketHostAndPort(const char* host, int port);
    const char* GetSocketHost();
    int GetSocketPort();
    SOCKET GetSocket();

    // Fields, in the order that hosts rely on.
    char* sendBuffer;
    char* receiveBuffer;
    unsigned long long receiveFill;
    unsigned long long sendFill;
    unsigned long long receiveCapacity;
    unsigned long long sendCapacity;
    long long lastHeartbeat;
    unsigned long long maximumReceiveSize;
    unsigned long long maximumSendSize;
    bool bufferCheck;
    void* userData;
    unsigned long long* sentBytesCounter;
    unsigned long long* receivedBytesCounter;
    void* completionPort;
    boost::mutex* writeMutex;
    SOCKET socket;
    bool disconnected;
    bool traceEnabled;
    std::FILE* traceFile;
    std::string traceFolder;
    CKSocketOverlappedStruct readEvent;
    CKSocketOverlappedStruct writeEvent;
    std::string host;
    int port;
};
} // namespace KFramework::KSocket
