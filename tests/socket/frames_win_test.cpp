#include "KFramework/socket.h"

#include <cstring>
#include <gtest/gtest.h>
#include <string>

#include "tests/socket/frame_bytes.h"

using namespace KFramework::KSocket;
using kf::test::frame_with;

namespace
{

std::string encode(int command, const char* text, unsigned int parameter)
{
    char* frame = nullptr;
    std::size_t payload_bytes = 0;
    std::size_t frame_bytes = 0;
    EncodeSocketMessage(command, text, parameter, &frame, &payload_bytes, &frame_bytes);
    EXPECT_EQ(frame_bytes, payload_bytes + 13);
    const std::string bytes(frame, frame_bytes);
    DestroyEncodedSocketMessage(frame);
    return bytes;
}

} // namespace

TEST(EncodeSocketMessage, WritesParameterBeforeCommand)
{
    EXPECT_EQ(encode(-2, "hello", 0x11223344), frame_with(1, 0x11223344, 0xFFFFFFFE, "hello"));
}

TEST(DestroyEncodedSocketMessage, IgnoresNull)
{
    DestroyEncodedSocketMessage(nullptr);
}
