/// Every test of this program runs between InitializeLibrary and ShutdownLibrary, as a host does.

#include "KFramework/core.h"

#include <gtest/gtest.h>

namespace
{

class initialized_library : public testing::Environment
{
public:
    void SetUp() override { KFramework::InitializeLibrary("stream_test"); }
    void TearDown() override { KFramework::ShutdownLibrary(); }
};

const testing::Environment* const registered = testing::AddGlobalTestEnvironment(new initialized_library);

} // namespace
