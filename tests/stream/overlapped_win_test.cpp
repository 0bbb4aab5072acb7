#include "KFramework/socket.h"
#include "tests/support/captured_log_win.h"

#include <cstring>
#include <gtest/gtest.h>
#include <regex>

namespace
{

using namespace kf::test;
using namespace KFramework::KSocket;

TEST(OverlappedRecord, StartsClearedAndUnmarked)
{
    const OVERLAPPED cleared{};
    const CKSocketOverlappedStruct named(kSocketIOClose);
    EXPECT_EQ(named.event, kSocketIOClose);
    EXPECT_FALSE(named.isMarked());
    EXPECT_EQ(std::memcmp(&named.overlapped, &cleared, sizeof cleared), 0);
    const CKSocketOverlappedStruct unnamed;
    EXPECT_FALSE(unnamed.isMarked());
    EXPECT_EQ(std::memcmp(&unnamed.overlapped, &cleared, sizeof cleared), 0);
}

TEST(OverlappedRecord, IsCopiedAsItStands)
{
    CKSocketOverlappedStruct source(kSocketIOWrite);
    source.overlapped.Internal = 7;
    source.Mark();
    const CKSocketOverlappedStruct copy(source);
    CKSocketOverlappedStruct assigned(kSocketIORead);
    assigned = source;
    const CKSocketOverlappedStruct moved(std::move(source));
    CKSocketOverlappedStruct move_assigned;
    move_assigned = CKSocketOverlappedStruct(copy);
    for (const CKSocketOverlappedStruct* const one :
         {&copy, static_cast<const CKSocketOverlappedStruct*>(&assigned), &moved,
          static_cast<const CKSocketOverlappedStruct*>(&move_assigned)})
    {
        EXPECT_EQ(one->overlapped.Internal, 7U);
        EXPECT_EQ(one->event, kSocketIOWrite);
        EXPECT_TRUE(one->isMarked());
    }
}

TEST(Reset, ClearsTheSystemsPartAndKeepsTheMark)
{
    CKSocketOverlappedStruct record(kSocketIORead);
    record.Mark();
    record.overlapped.Internal = STATUS_PENDING;
    record.Reset(kSocketIOWrite);
    EXPECT_EQ(record.overlapped.Internal, 0U);
    EXPECT_EQ(record.event, kSocketIOWrite);
    EXPECT_TRUE(record.isMarked());
}

// KEPT[mark-line-path]
TEST(Mark, LogsASecondMarkAndStaysMarked)
{
    const captured_log log;
    CKSocketOverlappedStruct record(kSocketIOWrite);
    record.Mark();
    EXPECT_TRUE(log.lines().empty());
    record.Mark();
    EXPECT_TRUE(record.isMarked());
    ASSERT_EQ(log.lines().size(), 1U);
    EXPECT_TRUE(std::regex_match(
        log.lines()[0], std::regex(R"(SEVR \[CKSocketOverlappedStruct\] \(-?[0-9]+:118\)Mark\(\) on socket )"
                                   R"(failure\. Double event, previous event was 1)")))
        << log.lines()[0];
    record.Unmark();
    EXPECT_FALSE(record.isMarked());
    record.Mark();
    EXPECT_EQ(log.lines().size(), 1U);
}

} // namespace
