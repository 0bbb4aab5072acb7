#include "tests/support/winsock_session_win.h"

#include <gtest/gtest.h>

#include "KFramework/platform/windows_win.h"

namespace kf::test
{

winsock_session::winsock_session()
{
    WSADATA data;
    EXPECT_EQ(::WSAStartup(MAKEWORD(2, 2), &data), 0);
}

winsock_session::~winsock_session()
{
    ::WSACleanup();
}

} // namespace kf::test
