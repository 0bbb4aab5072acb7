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

KFRAMEWORK_API SOCKET CreateSocket(int family, int kind);
KFRAMEWORK_API bool ConnectSocket(SOCKET socket, std::string host, int port);
KFRAMEWORK_API int ListenSocket(SOCKET socket);
KFRAMEWORK_API SOCKET AcceptSocket(SOCKET listener, void* address, int* addressLength);
KFRAMEWORK_API int SelectSocket(int ignored, fd_set* read, fd_set* write, fd_set* except, timeval* timeout);
KFRAMEWORK_API int ShutdownSocket(SOCKET socket);
KFRAMEWORK_API int CloseSocket(SOCKET socket);
KFRAMEWORK_API bool SetLingerStatus(SOCKET socket, int value);
KFRAMEWORK_API bool SetNagleStatus(SOCKET socket, bool value);
KFRAMEWORK_API bool SetBlockStatus(SOCKET socket, bool blocking);
KFRAMEWORK_API bool FillSocketHostAndPort(void* address, int* addressLength, char* host, int* port, char* scope);
KFRAMEWORK_API std::string escapeHostString(const std::string& host);
KFRAMEWORK_API int CreateLoopbackPipes(SOCKET pair[2]);
KFRAMEWORK_API SOCKET CreateMulticastRcvSocket(char* group, char* port, int receiveBufferSize);
KFRAMEWORK_API SOCKET CreateMulticastSendSocket(char* group, char* port, int hops, addrinfo** destination);
KFRAMEWORK_API bool SendbroadcastSocket(SOCKET socket, int port, char* data, int length);
KFRAMEWORK_API bool BindBroadcastSocket(SOCKET socket, int port);

// --- frames ------------------------------------------------------------------

KFRAMEWORK_API void EncodeSocketMessage(const int& command, const char* data, unsigned int parameter, char** frame,
                                        size_t* payloadLength, size_t* frameLength);
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
    bool AddMessage(const unsigned int& command, const char* text, unsigned int parameter, bool quiet, bool force);
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
    void GetBuffersUsage(unsigned long long extraIncoming, unsigned long long extraOutgoing, double& incomingPercent,
                         double& outgoingPercent);
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
