#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/port_loop_win.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/temporary_folder.h"

#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <io.h>

namespace
{

using namespace kf::test;

int closes = 0;
int(__cdecl* real_fclose)(std::FILE*) = nullptr;

int __cdecl count_fclose(std::FILE* file)
{
    ++closes;
    return real_fclose(file);
}

class SetTrace : public testing::Test
{
protected:
    SetTrace() : close_("fclose", &count_fclose)
    {
        closes = 0;
        real_fclose = close_.original();
        stream_->SetTraceFolder(folder_.text() + "\\");
        stream_->SetSocketHostAndPort("10.1.2.3", 4567);
    }

    static constexpr char kName[] = "10.1.2.3#4567";
    static constexpr char kOpening[] = "Starting packets tracing on connection from 10.1.2.3:4567\r\n\r\n";

    void arrive(const std::string& bytes)
    {
        std::memcpy(stream_->receiveBuffer + stream_->receiveFill, bytes.data(), bytes.size());
        stream_->IncrementReadBytes(static_cast<unsigned int>(bytes.size()), true);
    }

    import_hook<int __cdecl(std::FILE*)> close_;
    temporary_folder folder_;
    std::unique_ptr<CKSocketStream> stream_ = std::make_unique<CKSocketStream>();
};

TEST_F(SetTrace, WritesReceivedBytesAndFlushesAfterEach)
{
    stream_->SetTrace(true);
    EXPECT_TRUE(stream_->traceEnabled);
    ASSERT_NE(stream_->traceFile, nullptr);
    EXPECT_EQ(folder_.read(kName), kOpening);
    arrive(std::string("\x00\xff", 2));
    EXPECT_EQ(folder_.read(kName), kOpening + std::string("00 FF "));
    arrive("Az");
    EXPECT_EQ(folder_.read(kName), kOpening + std::string("00 FF 41 7A "));
}

TEST_F(SetTrace, LeavesOutSentBytes)
{
    stream_->SetTrace(true);
    ASSERT_TRUE(stream_->AddMessage(1, "sent", 0, false, false));
    stream_->DecrementSentBytes(17, true);
    EXPECT_EQ(folder_.read(kName), kOpening);
}

TEST_F(SetTrace, EmptiesAnOlderTrace)
{
    folder_.write(kName, std::string(5000, 'x'));
    stream_->SetTrace(true);
    EXPECT_EQ(folder_.read(kName), kOpening);
}

// KEPT[trace-handle-stays]
TEST_F(SetTrace, ClosesOnceAndKeepsTheHandle)
{
    stream_->SetTrace(true);
    std::FILE* const file = stream_->traceFile;
    arrive("a");
    stream_->SetTrace(false);
    EXPECT_FALSE(stream_->traceEnabled);
    EXPECT_EQ(stream_->traceFile, file);
    EXPECT_EQ(closes, 1);
    arrive("b");
    stream_->SetTrace(false);
    stream_.reset();
    EXPECT_EQ(closes, 1);
    EXPECT_EQ(folder_.read(kName), kOpening + std::string("61 "));
}

TEST_F(SetTrace, IsEndedByTheDestructor)
{
    stream_->SetTrace(true);
    stream_.reset();
    EXPECT_EQ(closes, 1);
}

TEST_F(SetTrace, ClosesTheFirstFileWhenSwitchedOnTwice)
{
    stream_->SetTrace(true);
    arrive("a");
    stream_->SetSocketHostAndPort("other", 1);
    stream_->SetTrace(true);
    EXPECT_EQ(closes, 1);
    arrive("b");
    EXPECT_EQ(folder_.read(kName), kOpening + std::string("61 "));
    EXPECT_EQ(folder_.read("other#1"), "Starting packets tracing on connection from other:1\r\n\r\n62 ");
    stream_.reset();
    EXPECT_EQ(closes, 2);
}

TEST_F(SetTrace, OpensNothingForAHostWithASeparator)
{
    stream_->SetSocketHostAndPort("..\\escaped", 1);
    stream_->SetTrace(true);
    EXPECT_EQ(stream_->traceFile, nullptr);
    EXPECT_TRUE(stream_->traceEnabled);
    arrive("a");
    EXPECT_TRUE(std::filesystem::is_empty(folder_.path()));
    stream_->SetTrace(false);
    EXPECT_EQ(closes, 0);
}

TEST_F(SetTrace, GoesOnSilentlyWhenTheFileCannotBeOpened)
{
    stream_->SetTraceFolder(folder_.text() + "\\missing\\");
    stream_->SetTrace(true);
    EXPECT_EQ(stream_->traceFile, nullptr);
    arrive("a");
    EXPECT_EQ(stream_->receiveFill, 1U);
    stream_.reset();
    EXPECT_EQ(closes, 0);
}

TEST_F(SetTrace, OpensAFolderWhoseNameIsUtf8)
{
    const temporary_folder folder("tr\xC3\xA4"
                                  "ce");
    stream_->SetTraceFolder(folder.text() + "\\");
    stream_->SetTrace(true);
    EXPECT_EQ(folder.read(kName), kOpening);
    stream_.reset();
}

TEST_F(SetTrace, IsNotInheritedByChildren)
{
    stream_->SetTrace(true);
    DWORD flags = HANDLE_FLAG_INHERIT;
    const auto handle = reinterpret_cast<HANDLE>(::_get_osfhandle(::_fileno(stream_->traceFile)));
    ASSERT_TRUE(::GetHandleInformation(handle, &flags));
    EXPECT_EQ(flags & HANDLE_FLAG_INHERIT, 0U);
}

TEST_F(SetTrace, MakesItsFolderBesideTheProgramByDefault)
{
    const std::string folder = KFramework::GetModuleBasePath() + "\\net-traces";
    const std::filesystem::path path = utf8_path(folder);
    std::filesystem::remove_all(path);
    stream_->SetTraceFolder("");
    stream_->SetTrace(true);
    EXPECT_EQ(stream_->traceFolder, folder + "\\");
    EXPECT_TRUE(std::filesystem::exists(path / kName));
    stream_.reset();
    std::filesystem::remove_all(path);
}

TEST_F(SetTrace, MayBeSwitchedWhileAnotherThreadReceives)
{
    std::atomic<bool> stop = false;
    std::thread receiver(
        [&]
        {
            while (!stop)
            {
                stream_->IncrementReadBytes(10, true);
                stream_->ClearBuffers();
            }
        });
    for (int i = 0; i < 50; ++i)
    {
        stream_->SetTrace(true);
        stream_->SetTrace(false);
    }
    stop = true;
    receiver.join();
    EXPECT_EQ(closes, 50);
}

TEST_F(SetTrace, IsSharedWithCopiesAndEndsWithTheLast)
{
    stream_->SetTrace(true);
    auto copy = std::make_unique<CKSocketStream>(*stream_);
    stream_.reset();
    EXPECT_EQ(closes, 0);
    copy->IncrementReadBytes(1, true);
    EXPECT_EQ(folder_.read(kName), kOpening + std::string("00 "));
    copy.reset();
    EXPECT_EQ(closes, 1);
}

} // namespace
