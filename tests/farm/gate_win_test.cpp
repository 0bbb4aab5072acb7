// The gate that checks passwords, and what happens to the farm's threads when the system gives none.

#include "door_win.h" // before <windows.h>
#include "gate_win.h"

#include "farm_fixture_win.h"
#include "tests/support/deadline.h"
#include "tests/support/import_hook_win.h"
#include "tests/support/winsock_session_win.h"

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <future>
#include <vector>

namespace
{
using farm::secret;
using farm_test::farm_key;
using farm_test::farm_password;

using thread_routine = unsigned int(__stdcall*)(void*);

std::uintptr_t refuse_start(void*, unsigned, thread_routine, void*, unsigned, unsigned*)
{
    errno = EAGAIN;
    return 0;
}

class nobody : public farm::connection_handler
{
public:
    bool on_message(farm::connection&, farm::command, const std::string&, unsigned int) override
    {
        return false;
    }
    void on_closed(farm::connection&) override {}
};

struct answer
{
    int connection;
    bool right;
    bool operator==(const answer&) const = default;
};
} // namespace

TEST(Gate, AnswersInTurnAndNotForWhoeverHasLeftOrComesToAFullHouse)
{
    std::promise<void> all_are_there;
    std::atomic<bool> first_is_checked = false;
    std::atomic<bool> last_is_checked = false;
    std::vector<answer> answers; // read once the last one has come
    farm::gate gate(farm_key(),
                    [&](int connection, bool right)
                    {
                        answers.push_back({connection, right});
                        if (connection == 0)
                        {
                            first_is_checked = true;
                            all_are_there.get_future().wait_for(kf::test::kDeadline);
                        }
                        last_is_checked = connection == 300;
                    });
    ASSERT_TRUE(gate.started());
    ASSERT_TRUE(gate.check(0, secret(std::string(farm_password()))));
    ASSERT_TRUE(kf::test::wait_until([&] { return first_is_checked.load(); }));
    for (int i = 1; i <= 256; ++i)
        EXPECT_TRUE(gate.check(i, secret(std::string("sesame")))) << i;
    EXPECT_FALSE(gate.check(257, secret(std::string(farm_password()))));
    for (int i = 2; i <= 256; ++i)
        gate.withdraw(i);
    EXPECT_TRUE(gate.check(300, secret(std::string(farm_password()))));
    all_are_there.set_value();
    ASSERT_TRUE(kf::test::wait_until([&] { return last_is_checked.load(); }));
    EXPECT_EQ(answers, (std::vector<answer>{{0, true}, {1, false}, {300, true}}));
}

TEST(FarmThreads, AreMissedWhenTheSystemGivesNone)
{
    const kf::test::winsock_session winsock;
    int port = 0;
    nobody handler;
    const SOCKET listener = farm::listen_on_loopback(port);
    ASSERT_NE(listener, INVALID_SOCKET);
    {
        const kf::test::import_hook hook("_beginthreadex", &refuse_start);
        const farm::gate gate(farm_key(), {});
        EXPECT_FALSE(gate.started());
        farm::port_loop loop(2, handler);
        EXPECT_FALSE(loop.started());
        const farm::acceptor door(listener, loop);
        EXPECT_FALSE(door.started());
    }
    EXPECT_TRUE(farm::port_loop(2, handler).started());
}
