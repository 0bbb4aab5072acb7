#include "farm_peer_win.h"

#include "farm_fixture_win.h"
#include "tests/support/deadline.h"

#include <gtest/gtest.h>

namespace farm_test
{
peer::peer(const std::string& port)
{
    stream_.Connect("127.0.0.1", std::stoi(port));
    EXPECT_NE(stream_.GetSocket(), INVALID_SOCKET);
}

void peer::join(const std::string& name)
{
    send(farm::command::hello, "name=" + name + "\npassword=" + farm_password() + "\n");
    EXPECT_TRUE(receive(farm::command::job)) << name;
}

void peer::send(farm::command what, const std::string& message, unsigned int parameter)
{
    EXPECT_TRUE(
        stream_.AddMessage(static_cast<unsigned int>(what), message.c_str(), parameter, false, false));
    stream_.FlushWrite();
}

bool peer::receive(farm::command expected)
{
    while (stream_.WaitForCompleteMessage(static_cast<int>(kf::test::kDeadline.count())))
    {
        unsigned int what = 0;
        char* content = nullptr;
        stream_.GetNextMessage(what, &content, &ticket, true);
        text = content != nullptr ? content : "";
        stream_.DestroyMessageContent(content);
        if (what == static_cast<unsigned int>(expected))
            return true;
    }
    return false;
}

void peer::beat()
{
    stream_.AddMessage(static_cast<unsigned int>(farm::command::heartbeat), "", 0, false, false);
    stream_.FlushWrite();
}
} // namespace farm_test
