#include <KFramework/KFramework.h>

using namespace KFramework;

int main()
{
    WSADATA winsock;
    ::WSAStartup(MAKEWORD(2, 2), &winsock);
    InitializeLibrary(nullptr);
    KLogger::CKLoggerInstance logger;
    KLogger::CreateLogger(&logger, 2, 2 | 4); // severe and information; to the console and to default.log
    SetDefaultLogger(&logger);

    SOCKET ends[2];
    KSocket::CreateLoopbackPipes(ends);
    KSocket::CKSocketStream sender, receiver;
    sender.BindSocket(ends[0]);
    receiver.BindSocket(ends[1]);
    sender.AddMessage(7, "is done", 42, false, false); // command, text, parameter
    sender.FlushWrite();

    unsigned int command = 0, frame = 0;
    char* text = nullptr;
    if (receiver.WaitForCompleteMessage(5) && receiver.GetNextMessage(command, &text, &frame, true))
        KLogger::AddLogEntry(GetDefaultLogger(), 2, "hello", "command %u: frame %u %s", command, frame, text);
    KSocket::CKSocketStream::DestroyMessageContent(text);

    sender.Close();
    receiver.Close();
    RemoveDefaultLogger();
    KLogger::DestroyLogger(&logger);
    ShutdownLibrary();
    ::WSACleanup();
}
