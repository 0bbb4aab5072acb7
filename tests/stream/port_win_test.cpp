#include "KFramework/core.h"
#include "KFramework/socket.h"
#include "tests/stream/port_loop_win.h"
#include "tests/support/deadline.h"
#include "tests/support/winsock_session_win.h"

#include <gtest/gtest.h>

namespace
{

using namespace kf::test;

class CompletionPort : public testing::Test
{
protected:
    winsock_session winsock_;
};

TEST_F(CompletionPort, CarriesMessagesBothWays)
{
    std::mutex mutex;
    std::vector<std::string> seen;
    port_loop loop(
        [&](CKSocketStream& stream, const port_loop::message& one)
        {
            if (one.command == 1)
                stream.AddMessage(2, ("echo " + one.text).c_str(), one.parameter + 1, false, false);
            const std::lock_guard lock(mutex);
            seen.push_back(std::to_string(one.command) + "/" + std::to_string(one.parameter) + "/" +
                           one.text);
        });
    socket_pair pair;
    CKSocketStream& client = loop.add(pair.release_first());
    loop.add(pair.release_second());

    EXPECT_TRUE(client.AddMessage(1, "hello", 6, false, false));
    EXPECT_TRUE(wait_until(
        [&]
        {
            const std::lock_guard lock(mutex);
            return seen.size() == 2;
        }));
    EXPECT_EQ(seen, (std::vector<std::string>{"1/6/hello", "2/7/echo hello"}));
    loop.stop();
    EXPECT_EQ(loop.close_records(), 2);
}

} // namespace
