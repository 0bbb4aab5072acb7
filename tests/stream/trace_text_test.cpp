#include "KFramework/socket/trace_text.h"

#include <gtest/gtest.h>

namespace
{

using namespace kf::socket;

TEST(TracePath, JoinsFolderHostAndPort)
{
    EXPECT_EQ(trace_path("C:\\traces\\", "127.0.0.1", 5000), "C:\\traces\\127.0.0.1#5000");
    EXPECT_EQ(trace_path("", "", -1), "#-1");
    EXPECT_EQ(trace_path("f\\", "::1", 80), "f\\::1#80");
}

TEST(TracePath, IsNothingForAHostWithASeparator)
{
    EXPECT_FALSE(trace_path("f\\", "..\\secret", 1));
    EXPECT_FALSE(trace_path("f\\", "a/b", 1));
}

TEST(TraceOpening, IsTheHeaderLineAndAnEmptyLine)
{
    EXPECT_EQ(trace_opening("10.0.0.1", 99), "Starting packets tracing on connection from 10.0.0.1:99\n\n");
}

TEST(TraceBytes, AreTwoUpperCaseDigitsAndABlankEach)
{
    EXPECT_EQ(trace_bytes("\x00\x0a\x7f\x80\xff", 5), "00 0A 7F 80 FF ");
    EXPECT_EQ(trace_bytes("", 0), "");
}

} // namespace
