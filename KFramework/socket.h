#pragma once
/// Networking: raw sockets, the frame that carries one message, and streams that exchange frames by polling or over a
/// completion port. The host starts Windows Sockets first. Each section says which threads may call it, where failures
/// show and who ends what it makes. Winsock's own types are the arguments here, so it is included, before <windows.h>.

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

namespace kf::socket
{
struct stream_state;
}

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
/// @param read     null, like the other two, when nobody asks; not all three.
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
/// @param blocking  true lets calls wait.
/// @return  true.
/// @kept    block-status-true: true even when the socket is invalid and nothing changed.
KFRAMEWORK_API bool SetBlockStatus(SOCKET socket, bool blocking);

/// Gives the numeric text of an address, never looking up a name.
///
/// @param address        sockaddr_in or sockaddr_in6, whole. An IPv6 address that holds an IPv4 one is rewritten as
///                       the latter.
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

/// Makes two TCP sockets of this process that are connected to each other over loopback. A stranger who finds the
/// port first is turned away.
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
///          without one, also for a socket that cannot be made. On failure nothing stays open.
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

/// What an operation on a completion port is.
enum kSocketIOEvent : std::uint32_t
{
    kSocketIORead = 0,  ///< a posted receive
    kSocketIOWrite = 1, ///< a posted send
    kSocketIOClose = 2, ///< the stream was shut down or closed
};

/// The record of one operation on a completion port; its address is the OVERLAPPED address that the port gives back.
///
/// A stream owns its read and its write record. Close records are made with new for each post; the host frees them
/// with delete. 40 bytes: overlapped at 0, event at 32, mark at 36.
///
/// @threads  isMarked, Mark and Unmark: any, at once. The rest: by whoever owns the operation.
struct KFRAMEWORK_API CKSocketOverlappedStruct
{
    // Cleared and unmarked; without an argument the event is left unset. Copies take all fields as they stand.
    explicit CKSocketOverlappedStruct(kSocketIOEvent event);
    CKSocketOverlappedStruct();
    CKSocketOverlappedStruct(const CKSocketOverlappedStruct& other);
    CKSocketOverlappedStruct(CKSocketOverlappedStruct&& other) noexcept;
    CKSocketOverlappedStruct& operator=(const CKSocketOverlappedStruct& other);
    CKSocketOverlappedStruct& operator=(CKSocketOverlappedStruct&& other) noexcept;

    /// Clears the overlapped part and sets the event; the mark stays.
    void Reset(kSocketIOEvent event);

    /// Whether an operation with this record is outstanding.
    bool isMarked() const;

    /// Marks the record. When it was marked already, one line is logged at level 1 and nothing else happens.
    ///
    /// @kept  mark-line-path: the line begins "(%d:118)" with the address of a text as its number.
    void Mark();

    /// Takes the mark away.
    void Unmark();

    OVERLAPPED overlapped;
    kSocketIOEvent event;
    std::uint32_t mark; ///< 0 or 1, changed atomically
};

/// One connection: a socket, a receive buffer that collects frames, a send buffer that queues them.
///
/// The host owns the threads. It polls (Read, Write, WaitForCompleteMessage, FlushWrite, NetworkTasks) or runs a
/// completion port (RegisterCompletionPort, SetupReadEvent, IOCPSend); docs/hosting.md tells how, with every duty.
/// Failures are logged through the default logger with the module "CKSocketStream"; Connect prints to standard error.
///
/// Its owner retains a stream once and releases it: the last Release hands it to the garbage collector. It must not
/// end while an operation is outstanding, since the records lie in it.
///
/// @threads  two locks: the read lock (the object's own) over the receive buffer, the write lock over the send
///           buffer. Neither is recursive. Members take them as they need; the accessors take none.
class KFRAMEWORK_API CKSocketStream : public CKObject
{
public:
    /// Buffers and maximums of 65,535 bytes, buffer check on, no socket, not disconnected, heartbeat now.
    CKSocketStream();

    /// Copies share buffers, write mutex, handles, trace file and counters with their source; the last of them frees
    /// what is shared. They exist for containers of streams: use one at a time.
    CKSocketStream(const CKSocketStream& other);
    CKSocketStream& operator=(const CKSocketStream& other);

    /// Ends tracing and frees the buffers.
    ///
    /// @kept  destructor-keeps-socket: the socket stays open; Close ends it.
    ~CKSocketStream() override;

    // Connection.

    /// Connects by name or numeric address; a socket still held is closed first. Blocks. The first address found
    /// decides: IPv4, or else a dual-stack IPv6 socket, which is left in blocking mode and is not inherited by child
    /// processes. Failures print one line each to standard error.
    ///
    /// @param host  UTF-8; becomes the peer's numeric address (GetSocketHost).
    /// @param port  1 to 65535.
    /// @return  false, with the stream marked disconnected, when there is no socket or the IPv4 connection fails.
    /// @kept  dual-stack-success: a failed dual-stack connection gives true, is not marked disconnected and holds
    ///        INVALID_SOCKET (see GetSocket); host "Unknown", port 0.
    bool Connect(const char* host, int port);

    /// Adopts a connected socket and sets the last heartbeat to the server time.
    void BindSocket(SOCKET socket);

    /// Forgets the socket without closing it; it is the caller's again.
    void UnbindSocket();

    /// Assigns the socket to a completion port, which stays the host's; the key of its completions is the stream's
    /// address. From then on AddMessage starts sends. On failure one line is logged at level 1 and the stream has no
    /// port (completionPort is null), so that no close record will come.
    void RegisterCompletionPort(void* port);

    /// Posts one receive and marks the read event; the host calls it again after each completion. A failure to post
    /// is logged at level 4 (resets and aborts are not), unmarks and shuts down.
    ///
    /// @kept  double-receive: with a receive outstanding the double event is logged and a second one posted.
    /// @kept  port-growth-counts-twice: with fewer than 4,097 bytes free the buffer must grow, for which capacity +
    ///        fill + 4,097 bytes must be within the maximum; frames up to 61,439 bytes always pass at the default,
    ///        growing at all takes a maximum of 131,071.
    /// @kept  overflow-stays-marked: an overflow is logged at level 1 and shuts down; the read event stays marked.
    void SetupReadEvent();

    /// Posts one send of everything queued, unless one is outstanding or nothing is queued.
    ///
    /// @kept  send-failure-says-receive: a failure's line at level 1 speaks of WSARecv.
    /// @kept  send-shutdown-prints-error: "Shutdown of socket [%d] completed" carries the error number.
    void IOCPSend();

    /// The polled pump: reads and writes once if the socket is ready; never waits.
    ///
    /// @return  true when everything ready went well.
    /// @kept  idle-network-tasks: false also when the socket is writable and nothing is queued. IsDisconnected and the
    ///        host's own marks tell failure from idleness.
    bool NetworkTasks();

    /// True while the last heartbeat is at most limit seconds before now (server time).
    bool CheckHeartBeat(int limit, long long now);
    void UpdateHeartBeat(long long now);

    /// Ends traffic in both directions, keeps the handle, and posts the close record if a port is registered. The
    /// stream has no port afterwards, so that a life has exactly one close record. Takes no lock.
    ///
    /// @kept  shutdown-not-disconnected: the stream is not marked; the host does it with SetDisconnected.
    void Shutdown();

    /// Closes the socket and posts the close record if a port is still registered.
    ///
    /// @kept  close-result: 0 also when closing fails or there is nothing to close.
    int Close();

    /// A disconnected stream refuses messages and polled I/O.
    void SetDisconnected(bool disconnected);
    bool IsDisconnected();

    /// Writes received bytes to a text file from now on (docs/trace-file.md), or stops. The file is folder + host +
    /// "#" + port and is emptied; without SetTraceFolder it lies in "net-traces" beside the program. A file that cannot
    /// be opened, or a host that holds a path separator, gives no trace and no error.
    ///
    /// @kept  trace-handle-stays: switched off, the closed file's handle stays in traceFile; it is not closed again.
    void SetTrace(bool on);

    /// @param folder  UTF-8; exists and ends in a separator.
    void SetTraceFolder(const std::string& folder);

    // Messages.

    /// Queues one message; with a completion port it is sent at once.
    ///
    /// @param text   zero-terminated; null for none.
    /// @param quiet  an overflow only gives false.
    /// @param force  the maximum does not apply.
    /// @return  false when disconnected or when the send buffer would overflow; the latter is logged at level 1 and
    ///          shuts down.
    /// @kept  send-limit-at-growth: the maximum is looked at only when the buffer must grow.
    /// @kept  quiet-overflow: a quiet overflow drops the message, logs nothing and keeps the connection.
    bool AddMessage(const unsigned int& command, const char* text, unsigned int parameter, bool quiet,
                    bool force);

    /// Takes one message out of the receive buffer.
    ///
    /// @param command    the command code, also of a frame that is not complete yet; else 0.
    /// @param content    null, or receives the text, freed with DestroyMessageContent; null for an empty message.
    /// @param parameter  null, or receives the parameter as command does.
    /// @param lock       false when the caller holds LockRead.
    /// @return  false when disconnected, when no frame is complete, and for a damaged one, which is consumed: loop
    ///          on HasCompleteMessageAvailable while the stream is not disconnected, not on this.
    bool GetNextMessage(unsigned int& command, char** content, unsigned int* parameter, bool lock);

    /// Frees what GetNextMessage handed out; null is ignored.
    static void DestroyMessageContent(char* content);

    /// Whether a whole frame waits in the receive buffer.
    bool HasCompleteMessageAvailable();

    /// The command of the frame at the front of the receive buffer, which may be incomplete. Takes no lock.
    ///
    /// @return  false, with command untouched, while fewer than 13 bytes are there.
    bool ExtractCommand(unsigned int* command);

    /// Reads until a whole frame is there.
    ///
    /// @param timeoutSeconds  0: waits without end.
    /// @return  false on time-out and when the connection fails.
    /// @kept  timeout-bounds-each-wait: every wait for bytes starts afresh.
    bool WaitForCompleteMessage(int timeoutSeconds);

    // Buffers.

    /// Receives up to 4,096 bytes; waits for some on a blocking socket, with the read lock held.
    ///
    /// @return  bytes received; 0 at the end, on errors, overflow and when disconnected; -1 when it would block.
    /// @kept  polled-growth-step: the buffer grows by 4,097 bytes, so a maximum of 69,632 lets it grow once.
    /// @kept  received-error-number: "Received error from socket [%d]" carries the error number.
    int Read();

    /// Sends from the front of the send buffer; may wait on a blocking socket, with the write lock held.
    ///
    /// @return  bytes sent; 0 on errors and when disconnected; -1 when it would block.
    /// @kept  idle-write: -1 also when nothing is queued.
    int Write();

    /// Writes until nothing is queued, the socket would block or the connection fails.
    void FlushWrite();

    /// Whether bytes are queued and the stream is not disconnected.
    bool HasToWrite();

    /// Empties both buffers; capacities stay. What a send has already posted still goes out.
    void ClearBuffers();

    // Bytes; they take effect when a buffer must grow next, and not at all while the check is off.
    void SetMaxIncomingBufferSize(unsigned long long size);
    void SetMaxOutgoingBufferSize(unsigned long long size);
    void SetBufferCheck(bool check);

    /// How full the buffers are, extra bytes included, in percent of their maximums; may exceed 100.
    void GetBuffersUsage(unsigned long long extraIncoming, unsigned long long extraOutgoing,
                         double& incomingPercent, double& outgoingPercent);

    /// Counters that the stream adds to atomically; streams may share them. They stay the caller's; null for none.
    void RegisterCounters(unsigned long long* sent, unsigned long long* received);

    /// Counts bytes that a receive has put behind the fill; more than the buffer has room for are not counted.
    ///
    /// @param lock  false when the caller holds LockRead.
    void IncrementReadBytes(unsigned int count, bool lock);

    /// Removes bytes that a send has taken from the front of the send buffer.
    ///
    /// @param lock  false when the caller holds LockWrite.
    /// @kept  oversized-decrement-keeps-lock: a count above the fill empties the buffer and leaves the lock taken for
    ///        the call held.
    void DecrementSentBytes(unsigned int count, bool lock);

    void LockRead();
    void UnlockRead();
    void LockWrite();
    void UnlockWrite();

    void SetData(void* data); ///< the host's own; null at first
    void* GetData();

    /// @param host  becomes part of the trace file's name; null for none.
    void SetSocketHostAndPort(const char* host, int port);
    const char* GetSocketHost(); ///< the stream's own text, until the host changes
    int GetSocketPort();         ///< 0 until it is known
    SOCKET GetSocket();          ///< INVALID_SOCKET for none

    // Fields, in the order that hosts rely on. Sizes, fills and capacities are bytes.
    char* sendBuffer;                   // guarded by the write lock
    char* receiveBuffer;                // guarded by the read lock
    unsigned long long receiveFill;     // guarded by the read lock
    unsigned long long sendFill;        // guarded by the write lock
    unsigned long long receiveCapacity; // guarded by the read lock
    unsigned long long sendCapacity;    // guarded by the write lock
    long long lastHeartbeat;            // seconds of server time
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
    // Hidden.
    std::shared_ptr<kf::socket::stream_state> hidden;
    char* receiveBlock;
};
} // namespace KFramework::KSocket
