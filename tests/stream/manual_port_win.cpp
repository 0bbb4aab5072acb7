#include "tests/stream/manual_port_win.h"

#include "tests/support/deadline.h"

namespace kf::test
{

manual_port::manual_port() : port_(::CreateIoCompletionPort(INVALID_HANDLE_VALUE, nullptr, 0, 0)) {}

manual_port::~manual_port()
{
    ::CloseHandle(port_);
}

std::optional<completion> manual_port::next(DWORD milliseconds)
{
    DWORD bytes = 0;
    ULONG_PTR key = 0;
    OVERLAPPED* record = nullptr;
    const bool good = ::GetQueuedCompletionStatus(port_, &bytes, &key, &record, milliseconds);
    if (record == nullptr)
        return std::nullopt;
    return completion{reinterpret_cast<CKSocketStream*>(key),
                      reinterpret_cast<CKSocketOverlappedStruct*>(record), static_cast<unsigned int>(bytes),
                      good};
}

int manual_port::take_close_records()
{
    int count = 0;
    while (const std::optional<completion> one = next(0))
    {
        EXPECT_EQ(one->record->event, KFramework::KSocket::kSocketIOClose);
        EXPECT_EQ(one->bytes, 0U);
        EXPECT_TRUE(one->good);
        delete one->record;
        ++count;
    }
    return count;
}

void OnPort::SetUp()
{
    socket_ = pair_.release_first();
    stream_ = std::make_unique<CKSocketStream>();
    stream_->BindSocket(socket_);
    stream_->RegisterCompletionPort(port_.get());
    ASSERT_EQ(stream_->completionPort, port_.get());
}

void OnPort::TearDown()
{
    // The peer first: an outstanding send ends only then.
    pair_.close_second();
    stream_->Close();
    EXPECT_TRUE(wait_until(
        [this]
        {
            return HasOverlappedIoCompleted(&stream_->readEvent.overlapped) &&
                   HasOverlappedIoCompleted(&stream_->writeEvent.overlapped);
        }));
    while (const std::optional<completion> one = port_.next(0))
        if (one->record->event == KFramework::KSocket::kSocketIOClose)
            delete one->record;
}

std::string OnPort::fill_pipe()
{
    std::string all;
    const std::string text = incompressible_text(60000, 1);
    for (unsigned int i = 0; all.size() < 64U << 20; ++i)
    {
        EXPECT_TRUE(stream_->AddMessage(i, text.c_str(), 0, false, true));
        all += frame(i, text);
        const std::optional<completion> one = port_.next(100);
        if (!one)
            return all;
        EXPECT_EQ(one->record, &stream_->writeEvent);
        stream_->DecrementSentBytes(one->bytes, true);
        stream_->writeEvent.Unmark();
    }
    ADD_FAILURE() << "the pipe never fills";
    return all;
}

void OnPort::complete_send()
{
    const std::optional<completion> one = port_.next();
    ASSERT_TRUE(one);
    ASSERT_EQ(one->stream, stream_.get());
    ASSERT_EQ(one->record, &stream_->writeEvent);
    ASSERT_EQ(one->record->event, KFramework::KSocket::kSocketIOWrite);
    ASSERT_TRUE(one->good);
    stream_->DecrementSentBytes(one->bytes, true);
    stream_->writeEvent.Unmark();
    if (stream_->HasToWrite())
        stream_->IOCPSend();
}

void OnPort::complete_read()
{
    const std::optional<completion> one = port_.next();
    ASSERT_TRUE(one);
    ASSERT_EQ(one->stream, stream_.get());
    ASSERT_EQ(one->record, &stream_->readEvent);
    ASSERT_EQ(one->record->event, KFramework::KSocket::kSocketIORead);
    ASSERT_TRUE(one->good);
    stream_->IncrementReadBytes(one->bytes, true);
    stream_->readEvent.Unmark();
}

} // namespace kf::test
