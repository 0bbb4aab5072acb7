/// Windows Sockets and the library for the whole program, as a host starts them once.

#include <gtest/gtest.h>
#include <optional>

#include "KFramework/core.h"
#include "tests/support/winsock_session_win.h"

namespace
{

class winsock_environment : public testing::Environment
{
public:
    void SetUp() override
    {
        session_.emplace();
        KFramework::InitializeLibrary(nullptr);
    }
    void TearDown() override
    {
        KFramework::ShutdownLibrary();
        session_.reset();
    }

private:
    std::optional<kf::test::winsock_session> session_;
};

[[maybe_unused]] const testing::Environment* const environment =
    testing::AddGlobalTestEnvironment(new winsock_environment);

} // namespace
